// Registration and lookup: a live volume to its GUID, a GUID to a live
// volume, and a GUID to the facts its bookmark remembers.
#include "registry/cv_disk_manager.h"

#include <random>

#include "logging/log.h"
#include "volumes/cv_disk_volume.h"

using platform::UUID;

namespace {

// A random version-4 UUID.
UUID randomUUID() {
  thread_local std::mt19937_64 engine{std::random_device{}()};
  std::array<std::uint8_t, 16> bytes{};
  for (std::size_t i = 0; i < bytes.size(); i += 8) {
    auto word = engine();
    for (std::size_t j = 0; j < 8; ++j) bytes[i + j] = static_cast<std::uint8_t>(word >> (8 * j));
  }
  bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);
  bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
  return UUID(bytes);
}

bool isSystemSide(const CVDiskVolume& volume) {
  auto role = volume.volumeRole();
  return role == VolumeRole::system || role == VolumeRole::mountedSystemSnapshot;
}

CVDiskVolumeRef selfRef(const CVDiskVolume& volume) {
  return std::const_pointer_cast<CVDiskVolume>(volume.shared_from_this());
}

}  // namespace

CVDiskVolumeRef CVDiskManager::registrationVolumeFor(const CVDiskVolume& volume) {
  if (isSystemSide(volume)) {
    if (auto data = volume.dataVolume()) return data;
  }
  return selfRef(volume);
}

std::optional<UUID> CVDiskManager::GUIDForVolume(const CVDiskVolume& volume, bool shouldRegister) {
  if (observedVolumeName(volume).empty()) return std::nullopt;
  if (!volume.volumeUUID()) return std::nullopt;
  auto registration = registrationVolumeFor(volume);
  // An unreadable bookmark has no volume UUID, and so matches a volume
  // without one.
  const auto current = snapshot();
  if (const auto* key = current->firstGUIDCarrying(registration->volumeUUIDString())) return UUID::fromString(*key);
  if (!shouldRegister) return std::nullopt;
  return registerVolume(*registration, randomUUID());
}

std::optional<std::string> CVDiskManager::GUIDStringForVolume(const CVDiskVolume& volume) {
  auto guid = GUIDForVolume(volume, true);
  if (!guid) return std::nullopt;
  return guid->uuidString();
}

std::optional<UUID> CVDiskManager::registerVolume(const CVDiskVolume& volume, const UUID& guid) {
  const std::string guidString = guid.uuidString();
  auto volumeUUIDString = volume.volumeUUIDString();
  if (!volumeUUIDString) return std::nullopt;
  const std::string name = observedVolumeName(volume);
  auto bookmark = VolumeBookmark::initWithVolume(volume);
  if (!bookmark) {
    knownVolumesLog().error("registerVolume - Failed to create bookmark while registering " + name + "...");
    return std::nullopt;
  }
  if (snapshot()->entries().contains(guidString)) {
    knownVolumesLog().debug("registerVolume - updating existing volume\u2019s observation identity " + name +
                            ", uuid: " + *volumeUUIDString);
    if (auto bsdName = volume.bsdName()) unobserveDisk(*bsdName);
  } else {
    knownVolumesLog().debug("registerVolume - adding new volume " + name + ", uuid: " + *volumeUUIDString +
                            " to known-volume registry, guid: " + guidString);
  }
  auto updated = map();
  updated.insert_or_assign(guidString, bookmark->bookmark());
  setMap(std::move(updated));
  observeDisk(volume, guid);
  return guid;
}

CVDiskVolumeRef CVDiskManager::presentationVolume(const CVDiskVolume& volume) {
  auto role = volume.volumeRole();
  if (role != VolumeRole::data && role != VolumeRole::system && role != VolumeRole::mountedSystemSnapshot) {
    return selfRef(volume);
  }
  auto system = volume.systemVolume();
  if (system) {
    if (auto snapshot = system->mountedSnapshotVolume()) return snapshot;
  }
  return system;
}

CVDiskVolumeRef CVDiskManager::volumeForGUID(const UUID& guid, const VolumeContext& volumes) const {
  auto bookmark = bookmarkForGUIDString(guid.uuidString());
  if (!bookmark) return nullptr;
  auto volumeUUIDString = bookmark->volumeUUIDString();
  if (!volumeUUIDString) return nullptr;
  auto volumeUUID = UUID::fromString(*volumeUUIDString);
  if (!volumeUUID) return nullptr;
  auto found = CVDiskVolume::initWithVolumeUUID(*volumeUUID, volumes);
  if (!found) return nullptr;
  return presentationVolume(*found);
}

CVDiskVolumeRef CVDiskManager::volumeForGUIDString(std::string_view guidString,
                                                   const VolumeContext& volumes) const {
  auto guid = UUID::fromString(guidString);
  if (!guid) return nullptr;
  return volumeForGUID(*guid, volumes);
}

MountedVolumeResult CVDiskManager::mountedVolumeForGUIDString(std::string_view guidString,
                                                              const VolumeContext& volumes) const {
  auto guid = UUID::fromString(guidString);
  if (!guid) return VolumeAccessError::localVolumeNotAvailable;
  if (auto volume = volumeForGUID(*guid, volumes)) {
    auto presented = presentationVolume(*volume);
    if (presented && presented->isReady()) {
      CVDiskVolumeRef registrationSide = volume;
      if (isSystemSide(*volume)) {
        if (auto data = volume->dataVolume()) registrationSide = data;
      }
      if (registrationSide->isReady()) return presented;
    }
  }
  auto bookmark = bookmarkForGUIDString(guidString);
  if (!bookmark) return VolumeAccessError::localVolumeNotAvailable;
  if (bookmark->volumeIsEjectable().value_or(false)) return VolumeAccessError::automountableVolumeNotMounted;
  if (const auto remembered = bookmark->volumeUUIDString()) {
    for (const auto& disk : CVDiskVolume::localDisks(volumes)) {
      if (disk->volumeUUIDString() == remembered) return VolumeAccessError::localVolumeAttachedButNotMounted;
    }
  }
  return VolumeAccessError::localVolumeNotAvailable;
}

std::optional<VolumeBookmark> CVDiskManager::bookmarkForGUIDString(std::string_view guidString) const {
  return snapshot()->bookmark(guidString);
}

std::optional<std::string> CVDiskManager::volumeName(std::string_view guidString) const {
  auto bookmark = bookmarkForGUIDString(guidString);
  return bookmark ? bookmark->volumeName() : std::nullopt;
}

std::optional<std::string> CVDiskManager::volumeLocalizedName(std::string_view guidString) const {
  auto bookmark = bookmarkForGUIDString(guidString);
  if (!bookmark) return std::nullopt;
  auto localized = bookmark->volumeLocalizedName();
  if (localized && localized->empty()) return bookmark->volumeName();
  return localized;
}

std::optional<std::string> CVDiskManager::volumeUUIDString(std::string_view guidString) const {
  auto bookmark = bookmarkForGUIDString(guidString);
  return bookmark ? bookmark->volumeUUIDString() : std::nullopt;
}
