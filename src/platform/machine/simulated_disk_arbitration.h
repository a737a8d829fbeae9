#pragma once
// The Disk Arbitration of a machine folder, seen from tests: besides the
// platform operations it lets a test make disks appear, disappear and change,
// and shows which unmount requests were made. Reach it from a platform built
// over a machine folder with
//   std::dynamic_pointer_cast<SimulatedDiskArbitration>(platform.diskArbitration).

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/disk_arbitration.h"

namespace platform::machine {

// One DADiskUnmount call.
struct UnmountRequest {
  std::optional<std::string> bsdName;  // of the disk handed in
  std::uint32_t options = 0;
  friend bool operator==(const UnmountRequest&, const UnmountRequest&) = default;
};

class SimulatedDiskArbitration : public DiskArbitration {
 public:
  // Each event goes to every registered callback of its kind on every session
  // whose match admits the disk, through the session's executor, exactly as a
  // delivery from the platform. Each gives the number of deliveries queued;
  // an unknown BSD name gives 0. The disk is named by its BSD name with or
  // without "/dev/".
  virtual std::size_t simulateDiskAppeared(std::string_view bsdName) = 0;
  virtual std::size_t simulateDiskDisappeared(std::string_view bsdName) = 0;
  virtual std::size_t simulateDiskPeek(std::string_view bsdName) = 0;
  virtual std::size_t simulateMountApproval(std::string_view bsdName) = 0;
  virtual std::size_t simulateUnmountApproval(std::string_view bsdName) = 0;
  virtual std::size_t simulateEjectApproval(std::string_view bsdName) = 0;

  // Replaces the disk's description from now on (DADiskCopyDescription gives
  // `description`) and tells the description-changed callbacks the keys
  // whose values differ, in ascending order; a watch list narrows them, and a
  // callback that watches none of them is not called. The match is tested on
  // the new description. A new DAVolumeName text renames the volume: from
  // then on its NSURLVolumeNameKey and NSURLVolumeLocalizedNameKey resource
  // values, where the machine records them, give the new name. The mount
  // point stays where it is.
  virtual std::size_t simulateDescriptionChanged(std::string_view bsdName,
                                                 Dictionary description) = 0;
  // A rename as the Finder makes it: the description change of DAVolumeName
  // to `name`, with the resource values following.
  virtual std::size_t simulateVolumeRenamed(std::string_view bsdName, std::string name) = 0;

  // Every DADiskUnmount call so far, in call order.
  virtual std::vector<UnmountRequest> unmountRequests() const = 0;
  // What the approval callbacks answered so far, in delivery order.
  virtual std::vector<std::optional<DADissenter>> approvalAnswers() const = 0;
};

}  // namespace platform::machine
