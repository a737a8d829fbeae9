// Mounting a known volume from its GUID through `diskutil mount`, and
// unmounting a target volume through Disk Arbitration. A system and a data
// volume of one group are brought up and taken down as a pair.
#include <algorithm>

#include "logging/log.h"
#include "platform/formatters.h"
#include "platform/platform.h"
#include "registry/cv_disk_manager.h"
#include "tools/task_shell.h"
#include "volumes/cv_disk_volume.h"

using platform::current;

namespace {

constexpr const char* kDiskutilPath = "/usr/sbin/diskutil";

bool isSystemRole(VolumeRole role) {
  return role == VolumeRole::system || role == VolumeRole::mountedSystemSnapshot;
}

}  // namespace

// ---- Mounting ------------------------------------------------------------------

CVDiskVolumeRef CVDiskManager::mountVolumeForGUIDString(std::string_view guidString) {
  const auto& log = knownVolumesLog();
  auto bookmark = bookmarkForGUIDString(guidString);
  if (!bookmark) return nullptr;

  bool isStale = false;
  auto url = current().bookmarks->resolvingBookmarkData(bookmark->bookmark(), isStale);
  if (!url) {
    log.error("Failed to deserialize CVDiskVolume bookmark data due to exception " + url.error().localizedDescription +
              ", isStale: " + (isStale ? "true" : "false"));
    return nullptr;
  }
  log.debug("mountVolumeForGUID url resolved to " + platform::urlDescription(*url));

  CVDiskVolumeRef volume;
  if (auto uuidString = bookmark->volumeUUIDString())
    if (auto uuid = platform::UUID::fromString(*uuidString)) volume = CVDiskVolume::initWithVolumeUUID(*uuid);
  if (!volume) {
    log.error("Failed to deserialize volumeUUID fromCVDiskVolume bookmark data\n" + bookmark->description());
    return nullptr;
  }

  // A volume outside a group is given as it is, mounted or not.
  if (!volume->volumeGroupUUID()) return presentationVolume(*volume);

  // The data volume first, then what the pair is presented as.
  CVDiskVolumeRef data = volume;
  if (isSystemRole(volume->volumeRole()))
    if (auto member = volume->dataVolume()) data = member;
  if (!data->isReady() && !mountVolume(data)) return nullptr;
  auto presented = presentationVolume(*volume);
  if (presented && !presented->isReady() && !mountVolume(presented)) return nullptr;

  // Asked anew, on a fresh object: the first one keeps what it saw before
  // the mounts.
  return presentationVolume(*CVDiskVolume::initWithDADisk(volume->daDisk()));
}

void CVDiskManager::mountVolumeForGUIDString(std::string guidString,
                                             std::function<void(CVDiskVolumeRef)> completion) {
  platform::DispatchQueue::global(platform::QualityOfService::Background)
      .async([this, guidString = std::move(guidString), completion = std::move(completion)] {
        auto volume = mountVolumeForGUIDString(guidString);
        if (completion) completion(std::move(volume));
      });
}

CVDiskVolumeRef CVDiskManager::mountVolume(const CVDiskVolumeRef& volume) {
  if (volume->isReady()) return volume;
  TaskLines lines;
  // Without a BSD name there is no command to run: a failed mount.
  if (auto bsdName = volume->bsdName()) lines = NSTask::shellWithLaunchPath(kDiskutilPath, {"mount", *bsdName});
  if (lines && std::any_of(lines->begin(), lines->end(),
                           [](const std::string& line) { return line.find("mounted") != std::string::npos; }))
    return volume;
  const auto& log = knownVolumesLog();
  log.error("Failed to mount volume " + volume->description());
  log.error("Output: \n" + platform::swiftArrayDescription(lines.value_or(std::vector<std::string>{})));
  return nullptr;
}

// ---- Unmounting ----------------------------------------------------------------

void CVDiskManager::unmountWithVolume(const CVDiskVolume& volume) {
  const auto& log = knownVolumesLog();
  auto& da = *current().diskArbitration;
  // A session of its own, apart from the observing one; the requests go on
  // in Disk Arbitration after it is detached.
  auto session = da.DASessionCreate();
  if (!session) {
    log.error("Unable to create DASession");
    return;
  }
  platform::DispatchQueue queue = platform::DispatchQueue::global(platform::QualityOfService::Default);
  da.DASessionSetDispatchQueue(session, [queue](std::function<void()> block) { queue.async(std::move(block)); });

  // No callback: nothing comes back. A disk that can't be made is skipped.
  auto unmount = [&](const CVDiskVolume& target, const std::string& what, std::uint32_t options) {
    auto bsdName = target.bsdName();
    if (!bsdName) return;
    auto disk = da.DADiskCreateFromBSDName(session, *bsdName);
    if (!disk) return;
    log.debug("unmounting target " + what + " " + target.name() + ", device: " + *bsdName);
    da.DADiskUnmount(disk, options, {});
  };
  if (volume.volumeGroupUUID()) {
    // Only the single volume is forced; the members of a pair are not.
    if (auto system = volume.systemVolume()) unmount(*system, "system volume", platform::kDADiskUnmountOptionDefault);
    if (auto data = volume.dataVolume()) unmount(*data, "data volume", platform::kDADiskUnmountOptionDefault);
  } else {
    unmount(volume, "volume", platform::kDADiskUnmountOptionForce);
  }
  da.DASessionSetDispatchQueue(session, {});
}
