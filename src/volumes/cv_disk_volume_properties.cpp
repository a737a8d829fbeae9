// Format, capacity, capability, mount state, use, media and device facts of
// a volume. None is cached: each read asks the platform again.
#include <string>

#include "platform/disk_arbitration.h"
#include "platform/file_manager.h"
#include "platform/platform.h"
#include "platform/system.h"
#include "platform/url_resources.h"
#include "volumes/cv_disk_volume.h"
#include "volumes/volume_format.h"

using platform::current;

// ---- Format ---------------------------------------------------------------------

bool CVDiskVolume::isAPFSFileSystem() const {
  return daString(platform::kDADiskDescriptionVolumeKindKey) == "apfs";
}

bool CVDiskVolume::isHFSFileSystem() const {
  return daString(platform::kDADiskDescriptionVolumeKindKey) == "hfs";
}

bool CVDiskVolume::isForeignFileSystem() const { return !isAPFSFileSystem() && !isHFSFileSystem(); }

std::optional<std::string> CVDiskVolume::volumeFormatDescription() const {
  if (isReady()) {
    auto value = mountResource(platform::NSURLVolumeLocalizedFormatDescriptionKey);
    if (!value || !value->string()) return std::nullopt;
    return *value->string();
  }
  if (auto type = daString(platform::kDADiskDescriptionVolumeTypeKey)) return type;
  auto kind = daString(platform::kDADiskDescriptionVolumeKindKey);
  if (!kind) return std::nullopt;
  return formatDescriptionFromVolumeKind(*kind);
}

std::optional<std::string> CVDiskVolume::volumePersonality() const {
  auto format = volumeFormatDescription();
  if (!format) return std::nullopt;
  return personalityForFormatDescription(*format);
}

// ---- Capacity and counts --------------------------------------------------------

std::optional<std::int64_t> CVDiskVolume::volumeTotalCapacity() const {
  if (auto value = mountResource(platform::NSURLVolumeTotalCapacityKey); value && value->isNumber()) {
    return value->asInt64();
  }
  return daNumber(platform::kDADiskDescriptionMediaSizeKey);
}

std::optional<std::int64_t> CVDiskVolume::volumeAvailableCapacity() const {
  auto value = mountResource(platform::NSURLVolumeAvailableCapacityKey);
  if (!value || !value->isNumber()) return std::nullopt;
  return value->asInt64();
}

std::optional<std::int64_t> CVDiskVolume::volumeUsedCapacity() const {
  if (!isReady()) return std::nullopt;
  auto url = path();
  if (!url) return std::nullopt;
  auto info = current().system->statfs(url->path());
  if (!info) return std::nullopt;
  // Free blocks, not the blocks available to a normal user; wraps like the
  // platform's unsigned arithmetic.
  std::uint64_t used = info->f_blocks * info->f_bsize - info->f_bfree * info->f_bsize;
  return static_cast<std::int64_t>(used);
}

namespace {

std::optional<std::int64_t> volumeCount(const std::optional<platform::URL>& mount,
                                        std::uint32_t attribute) {
  if (!mount) return std::nullopt;
  platform::AttrList list;
  list.bitmapcount = 5;
  list.volattr = attribute;
  auto value = current().system->getattrlist(mount->path(), list, 0);
  if (!value) return std::nullopt;
  return *value;
}

}  // namespace

std::optional<std::int64_t> CVDiskVolume::volumeFileCount() const {
  return volumeCount(mountURL(), platform::ATTR_VOL_FILECOUNT);
}

std::optional<std::int64_t> CVDiskVolume::volumeDirectoryCount() const {
  return volumeCount(mountURL(), platform::ATTR_VOL_DIRCOUNT);
}

// ---- Capabilities ---------------------------------------------------------------

bool CVDiskVolume::volumeSupportsSparseFiles() const {
  return mountResourceFlag(platform::NSURLVolumeSupportsSparseFilesKey);
}

bool CVDiskVolume::volumeIsJournaling() const {
  return mountResourceFlag(platform::NSURLVolumeIsJournalingKey);
}

bool CVDiskVolume::volumeSupportsExtendedSecurity() const {
  return mountResourceFlag(platform::NSURLVolumeSupportsExtendedSecurityKey);
}

bool CVDiskVolume::volumeIsCaseSensitive() const {
  return mountResourceFlag(platform::NSURLVolumeSupportsCaseSensitiveNamesKey);
}

bool CVDiskVolume::volumeHasExtendedSecurity() const { return volumeSupportsExtendedSecurity(); }

// ---- Mount state ----------------------------------------------------------------

bool CVDiskVolume::volumePermissionsAreEnabled() const {
  if (!isReady()) return false;
  auto url = path();
  if (!url) return false;
  auto info = current().system->statfs(url->path());
  if (!info) return false;
  return (info->f_flags & platform::MNT_IGNORE_OWNERSHIP) == 0;
}

bool CVDiskVolume::isWritable() const {
  auto url = path();
  if (!url) return true;
  auto info = current().system->statfs(url->path());
  return !(info && (info->f_flags & platform::MNT_RDONLY) != 0);
}

// ---- Use ------------------------------------------------------------------------

bool CVDiskVolume::isRemovable() const {
  return daFlag(platform::kDADiskDescriptionMediaRemovableKey);
}

bool CVDiskVolume::isUnMountable() const {
  return daFlag(platform::kDADiskDescriptionMediaEjectableKey) || isRemovable() ||
         !deviceIsInternal() || isSoftRAIDVolume();
}

bool CVDiskVolume::isBootVolume() const {
  auto url = mountURL();
  return url && *url == platform::URL::fileURLWithPath("/", true);
}

bool CVDiskVolume::isTimeMachineVolume() const {
  auto url = mountURL();
  if (!url) return false;
  return current().fileManager->fileExistsAtPath(
      url->appendingPathComponent("Backups.backupdb", false).path());
}

// ---- Media ----------------------------------------------------------------------

bool CVDiskVolume::isEncrypted() const {
  auto coreStorage = ioBoolean("CoreStorage");
  auto encrypted = coreStorage.value_or(false) ? ioBoolean("CoreStorage Encrypted")
                                               : ioBoolean("Encrypted");
  return encrypted.value_or(false);
}

bool CVDiskVolume::isSoftRAIDVolume() const { return ioBoolean("SoftRAID Volume ID").has_value(); }

bool CVDiskVolume::isRAIDVolume() const { return ioBoolean("RAID").has_value(); }

// ---- Device ---------------------------------------------------------------------

bool CVDiskVolume::deviceIsInternal() const {
  return daFlag(platform::kDADiskDescriptionDeviceInternalKey);
}

bool CVDiskVolume::deviceIsExternal() const { return !deviceIsInternal(); }

std::optional<std::string> CVDiskVolume::deviceProtocol() const {
  auto protocol = daString(platform::kDADiskDescriptionDeviceProtocolKey);
  if (protocol == "Virtual Interface") return daString(platform::kDADiskDescriptionDeviceModelKey);
  return protocol;
}
