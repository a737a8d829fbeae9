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

// The references of one state of the registry, with the GUIDs they hold and
// their members by compared name.
struct VolumeReferenceResolver::Known {
  std::shared_ptr<const RegistrySnapshot> registry;
  VolumeReferenceSet set;
  std::set<platform::UUID> guids;
  std::unordered_map<std::string, std::vector<SettingsVolumeReference>> byName;
};

VolumeReferenceResolver::VolumeReferenceResolver(const CVDiskManager& manager, VolumeContext volumes)
    : manager_(manager), volumes_(std::move(volumes)) {}

std::shared_ptr<const VolumeReferenceResolver::Known> VolumeReferenceResolver::known() const {
  auto registry = manager_.snapshot();
  {
    std::lock_guard lock(mutex_);
    if (last_ && last_->registry == registry) return last_;
  }
  auto known = std::make_shared<Known>();
  const auto& names = registry->volumeNames();
  std::size_t position = 0;
  for (const auto& entry : registry->entries()) {
    auto reference = SettingsVolumeReference::make(platform::UUID::fromString(entry.first), names[position++]);
    if (!reference || !known->set.insert(*reference)) continue;
    known->guids.insert(reference->guid());
    known->byName[reference->comparedName()].push_back(*reference);
  }
  known->registry = std::move(registry);
  std::lock_guard lock(mutex_);
  last_ = known;
  return known;
}

VolumeReferenceSet VolumeReferenceResolver::knownVolumeReferences() const { return known()->set; }

std::pair<CVDiskVolumeRef, Resolution> VolumeReferenceResolver::resolve(const SettingsVolumeReference& reference) const {
  auto volume = manager_.volumeForGUID(reference.guid(), volumes_);
  if (volume && namesAreEquivalent(volume->name(), reference.name()))
    return {volume, Resolution::knownVolumeMatchesIdentity};
  if (!known()->guids.contains(reference.guid())) return {volume, Resolution::unknownVolumeGUID};
  // Anew: the registry may have changed since the test above.
  auto current = known();
  if (auto named = current->byName.find(reference.comparedName()); named != current->byName.end()) {
    for (const auto& member : named->second) {
      if (auto found = manager_.volumeForGUID(member.guid(), volumes_)) return {found, Resolution::knownVolumeMatchesName};
    }
  }
  return {nullptr, Resolution::unresolvable};
}
