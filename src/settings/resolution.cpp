#include "settings/resolution.h"

#include <map>
#include <mutex>

#include "platform/platform.h"
#include "platform/url_resources.h"
#include "registry/cv_disk_manager.h"
#include "volumes/cv_disk_volume.h"

namespace {

// The volume name a bookmark blob remembers, asked for that key alone.
// Answers are kept by blob: copies of the registry share their blobs, so a
// registry walked once per reference reads each bookmark once.
std::optional<std::string> bookmarkVolumeName(const platform::Bytes& blob) {
  static std::mutex mutex;
  static std::map<const std::uint8_t*, std::pair<platform::Bytes, std::optional<std::string>>> answers;
  {
    std::lock_guard lock(mutex);
    // The kept copy holds the blob alive, so its address can't be reused.
    if (auto it = answers.find(blob.data()); it != answers.end() && it->second.first.size() == blob.size())
      return it->second.second;
  }
  std::optional<std::string> name;
  if (auto values = platform::current().bookmarks->resourceValues({std::string(platform::NSURLVolumeNameKey)}, blob)) {
    if (const auto* value = platform::lookup(*values, platform::NSURLVolumeNameKey); value && value->string())
      name = *value->string();
  }
  std::lock_guard lock(mutex);
  if (blob.size() > 0) answers.insert_or_assign(blob.data(), std::make_pair(blob, name));
  return name;
}

}  // namespace

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

VolumeReferenceSet knownVolumeReferences(const CVDiskManager& manager) {
  VolumeReferenceSet known;
  for (const auto& [key, blob] : manager.map()) {
    if (auto reference = SettingsVolumeReference::make(platform::UUID::fromString(key), bookmarkVolumeName(blob)))
      known.insert(*reference);
  }
  return known;
}

std::pair<CVDiskVolumeRef, Resolution> resolve(const SettingsVolumeReference& reference, const CVDiskManager& manager) {
  auto volume = manager.volumeForGUID(reference.guid());
  if (volume && namesAreEquivalent(volume->name(), reference.name()))
    return {volume, Resolution::knownVolumeMatchesIdentity};

  bool guidIsKnown = false;
  for (const auto& known : knownVolumeReferences(manager)) {
    if (known.guid() == reference.guid()) {
      guidIsKnown = true;
      break;
    }
  }
  if (!guidIsKnown) return {volume, Resolution::unknownVolumeGUID};

  for (const auto& known : knownVolumeReferences(manager)) {
    if (known.comparedName() != reference.comparedName()) continue;
    if (auto found = manager.volumeForGUID(known.guid())) return {found, Resolution::knownVolumeMatchesName};
  }
  return {nullptr, Resolution::unresolvable};
}

std::pair<CVDiskVolumeRef, Resolution> resolve(const SettingsVolumeReference& reference) {
  return resolve(reference, CVDiskManager::sharedInstance());
}
