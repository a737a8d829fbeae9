// How a volume finds its role and its relatives in an APFS container: the
// whole disk, the other slices, and the members of its volume group.
#include <algorithm>

#include "platform/disk_arbitration.h"
#include "platform/platform.h"
#include "volumes/cv_disk_volume.h"

using platform::current;

namespace {

// Two absent names count as equal; an absent and a present one do not.
bool sameName(const std::optional<std::string>& a, const std::optional<std::string>& b) {
  return a == b;
}

constexpr std::string_view kEmptyGroupUUID = "00000000-0000-0000-0000-000000000000";

}  // namespace

VolumeRole CVDiskVolume::volumeRole() const {
  if (auto name = bsdName(); name && isMountedSnapshotBSDName(*name)) {
    return VolumeRole::mountedSystemSnapshot;
  }
  // "Role" is an array of strings: an array holding anything else is no
  // "Role" at all, and so is an empty one.
  auto role = ioProperty("Role");
  if (!role || !role->array() || role->array()->empty()) return VolumeRole::generic;
  const auto& words = *role->array();
  if (!std::all_of(words.begin(), words.end(), [](const auto& word) { return word.string(); })) {
    return VolumeRole::generic;
  }
  return volumeRoleFromRoleWord(*words.front().string());
}

std::optional<platform::UUID> CVDiskVolume::volumeGroupUUID() const {
  auto value = ioProperty("VolGroupUUID");
  if (!value || !value->string() || *value->string() == kEmptyGroupUUID) return std::nullopt;
  return platform::UUID::fromString(*value->string());
}

CVDiskVolumeRef CVDiskVolume::parent() const {
  return parent_.get([&]() -> CVDiskVolumeRef {
    if (daFlag(platform::kDADiskDescriptionMediaWholeKey)) return nullptr;
    auto whole = current().diskArbitration->DADiskCopyWholeDisk(daDisk_);
    return whole ? initWithDADisk(std::move(whole), context_) : nullptr;
  });
}

void CVDiskVolume::setParent(CVDiskVolumeRef parent) { parent_.set(std::move(parent)); }

const std::optional<CVDiskVolumeSet>& CVDiskVolume::children() const {
  return children_.get([&]() -> std::optional<CVDiskVolumeSet> {
    if (!daFlag(platform::kDADiskDescriptionMediaWholeKey)) return std::nullopt;
    const auto ownName = bsdName();
    CVDiskVolumeSet found;
    const auto walk = context_.mediaWalk();
    for (const auto* entry : walk->inDiskOrder()) {
      // A volume without a parent has no parent name, which equals an absent
      // name of this disk.
      if (sameName(entry->parentName, ownName)) found.insert(initWithDADisk(entry->disk, context_));
    }
    if (found.empty()) return std::nullopt;
    return found;
  });
}

const std::optional<CVDiskVolumeSet>& CVDiskVolume::siblings() const {
  return siblings_.get([&]() -> std::optional<CVDiskVolumeSet> {
    if (daFlag(platform::kDADiskDescriptionMediaWholeKey)) return std::nullopt;
    auto whole = parent();
    if (!whole || !whole->children()) return std::nullopt;
    const auto ownName = bsdName();
    CVDiskVolumeSet others;
    for (const auto& slice : *whole->children()) {
      if (!sameName(slice->bsdName(), ownName)) others.insert(slice);
    }
    if (others.empty()) return std::nullopt;
    return others;
  });
}

CVDiskVolumeRef CVDiskVolume::siblingWithRole(VolumeRole role) const {
  const auto& others = siblings();
  if (!others) return nullptr;
  for (const auto& sibling : *others) {
    if (sibling->volumeRole() == role) return sibling;
  }
  return nullptr;
}

CVDiskVolumeRef CVDiskVolume::groupMemberWithRole(VolumeRole role) const {
  if (volumeRole() == role) return std::const_pointer_cast<CVDiskVolume>(shared_from_this());
  const auto& others = siblings();
  if (!others) return nullptr;
  const auto group = volumeGroupUUID();
  for (const auto& sibling : *others) {
    if (sibling->volumeGroupUUID() == group && sibling->volumeRole() == role) return sibling;
  }
  return nullptr;
}

CVDiskVolumeRef CVDiskVolume::prebootVolume() const { return siblingWithRole(VolumeRole::preboot); }

CVDiskVolumeRef CVDiskVolume::recoveryVolume() const { return siblingWithRole(VolumeRole::recovery); }

CVDiskVolumeRef CVDiskVolume::virtualMemoryVolume() const {
  return siblingWithRole(VolumeRole::virtualMemory);
}

CVDiskVolumeRef CVDiskVolume::systemVolume() const { return groupMemberWithRole(VolumeRole::system); }

CVDiskVolumeRef CVDiskVolume::dataVolume() const { return groupMemberWithRole(VolumeRole::data); }

bool CVDiskVolume::isBootableAPFSContainer() const {
  return prebootVolume() != nullptr && recoveryVolume() != nullptr;
}

CVDiskVolumeRef CVDiskVolume::mountedSnapshotVolume() const {
  auto system = systemVolume();
  if (!system) return nullptr;
  auto systemName = system->bsdName();
  if (!systemName) return nullptr;
  auto mountedFrom = ioProperty("VolGroupMntFromName");
  if (!mountedFrom || !mountedFrom->string()) return nullptr;
  if (*mountedFrom->string() != "/dev/" + *systemName + "s1") return nullptr;
  return initWithBsdName(*mountedFrom->string(), context_);
}
