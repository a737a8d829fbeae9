#include "settings/resolution.h"

#include <map>
#include <mutex>
#include <set>
#include <unordered_map>
#include <vector>

#include "platform/platform.h"
#include "platform/url_resources.h"
#include "registry/cv_disk_manager.h"
#include "volumes/cv_disk_volume.h"

std::string_view rawValue(Resolution resolution) {
  switch (resolution) {
    case Resolution::knownVolumeMatchesIdentity: return "GUID and Name map directly to volume";
    case Resolution::knownVolumeMatchesName: return "Name matches another known volume that is available";
    case Resolution::unknownVolumeGUID: return "GUID is not in registry";
    case Resolution::unresolvable: return "No volume found by GUID or Name";
  }
  return "";
}

std::string_view caseName(Resolution resolution) {
  switch (resolution) {
    case Resolution::knownVolumeMatchesIdentity: return "knownVolumeMatchesIdentity";
    case Resolution::knownVolumeMatchesName: return "knownVolumeMatchesName";
    case Resolution::unknownVolumeGUID: return "unknownVolumeGUID";
    case Resolution::unresolvable: return "unresolvable";
  }
  return "";
}

std::optional<Resolution> resolutionFromRawValue(std::string_view raw) {
  for (auto resolution : {Resolution::knownVolumeMatchesIdentity, Resolution::knownVolumeMatchesName,
                          Resolution::unknownVolumeGUID, Resolution::unresolvable}) {
    if (rawValue(resolution) == raw) return resolution;
  }
  return std::nullopt;
}

bool operator==(const VolumeReferenceResolvable& a, const VolumeReferenceResolvable& b) {
  if (!(a.reference == b.reference)) return false;
  if (!a.volume || !b.volume) return !a.volume && !b.volume;
  return a.volume->isEqual(*b.volume);
}

std::uint64_t VolumeReferenceResolvable::hash() const {
  std::uint64_t hash = SettingsVolumeReferenceHash{}(reference);
  hash = hash * 1099511628211ull + (volume ? 1 : 0);
  if (volume) hash = hash * 1099511628211ull + volume->hash();
  return hash;
}

std::string VolumeReferenceResolvable::description() const {
  std::string mediaUUID;
  if (volume) {
    if (auto uuid = volume->volumeMediaUUID()) mediaUUID = uuid->uuidString();
  }
  return reference.description() + ", resolution: " + std::string(caseName(resolution)) + "\n\t" +
         (volume ? volume->description() : std::string()) + "\n\tMedia UUID: " + mediaUUID;
}

namespace {

// The references of one state of the registry, with the GUIDs they hold and
// their members by compared name.
struct KnownReferences {
  std::shared_ptr<const RegistrySnapshot> registry;
  VolumeReferenceSet set;
  std::set<platform::UUID> guids;
  std::unordered_map<std::string, std::vector<SettingsVolumeReference>> byName;
};

// Made from each read of the registry; the set of the last state read is
// kept, so reads of an unchanged registry share it.
std::shared_ptr<const KnownReferences> knownReferences(const CVDiskManager& manager) {
  static std::mutex mutex;
  static std::shared_ptr<const KnownReferences> last;
  auto registry = manager.snapshot();
  {
    std::lock_guard lock(mutex);
    if (last && last->registry == registry) return last;
  }
  auto known = std::make_shared<KnownReferences>();
  const auto& names = registry->volumeNames();
  std::size_t position = 0;
  for (const auto& entry : registry->entries()) {
    auto reference = SettingsVolumeReference::make(platform::UUID::fromString(entry.first), names[position++]);
    if (!reference || !known->set.insert(*reference)) continue;
    known->guids.insert(reference->guid());
    known->byName[reference->comparedName()].push_back(*reference);
  }
  known->registry = std::move(registry);
  std::lock_guard lock(mutex);
  last = known;
  return known;
}

}  // namespace

VolumeReferenceSet knownVolumeReferences(const CVDiskManager& manager) { return knownReferences(manager)->set; }

std::pair<CVDiskVolumeRef, Resolution> resolve(const SettingsVolumeReference& reference, const CVDiskManager& manager) {
  auto volume = manager.volumeForGUID(reference.guid());
  if (volume && namesAreEquivalent(volume->name(), reference.name()))
    return {volume, Resolution::knownVolumeMatchesIdentity};
  if (!knownReferences(manager)->guids.contains(reference.guid())) return {volume, Resolution::unknownVolumeGUID};
  // Anew: the registry may have changed since the test above.
  auto known = knownReferences(manager);
  if (auto named = known->byName.find(reference.comparedName()); named != known->byName.end()) {
    for (const auto& member : named->second) {
      if (auto found = manager.volumeForGUID(member.guid())) return {found, Resolution::knownVolumeMatchesName};
    }
  }
  return {nullptr, Resolution::unresolvable};
}

std::pair<CVDiskVolumeRef, Resolution> resolve(const SettingsVolumeReference& reference) {
  return resolve(reference, CVDiskManager::sharedInstance());
}
