#pragma once
// One walk of the attached media: every IOMedia object of the I/O registry
// that gives a disk, with the facts of its description that the enumerations
// and the relations of volumes look up. Walking is the costly part of those
// (a session, a disk and a description per media object); a VolumeContext
// keeps a walk while the disks stay as they were. Volumes are always made
// fresh from the walk's disks, so their own cached facts start unset.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/disk_arbitration.h"
#include "platform/value.h"

class MediaWalk {
 public:
  struct Entry {
    platform::DADiskRef disk;
    std::optional<std::string> bsdName;
    std::optional<platform::UUID> volumeUUID;
    // The BSD name of the whole disk holding it; absent for a whole disk.
    std::optional<std::string> parentName;
  };

  // A new walk of the disks as they are now.
  static std::shared_ptr<const MediaWalk> make();

  // One entry per distinct volume (equal hashes count once, the first in
  // registry order stays), in registry order.
  const std::vector<Entry>& entries() const { return entries_; }
  // The same entries in ascending disk order; equal keys keep registry order.
  const std::vector<const Entry*>& inDiskOrder() const { return inDiskOrder_; }
  // The first entry in disk order with the volume UUID.
  const Entry* firstWithVolumeUUID(const platform::UUID& uuid) const;

 private:
  MediaWalk() = default;

  std::vector<Entry> entries_;
  std::vector<const Entry*> inDiskOrder_;
};
