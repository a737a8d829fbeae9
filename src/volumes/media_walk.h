#pragma once
// One walk of the attached media: every IOMedia object of the I/O registry
// that gives a disk, with the facts of its description that the enumerations
// and the relations of volumes look up. Walking is the costly part of those
// (a session, a disk and a description per media object), and a model of a
// thousand volumes asks for it once per volume, so a walk is kept while Disk
// Arbitration's disk state generation stays the same: the same media with the
// same descriptions give the same answers. Volumes are always made fresh from
// the walk's disks, so their own cached facts start unset as before.

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

  // The walk of the disks as they are now: the last one while nothing has
  // changed, else a new one.
  static std::shared_ptr<const MediaWalk> current();

  // One entry per distinct volume (equal hashes count once, the first in
  // registry order stays), in registry order.
  const std::vector<Entry>& entries() const { return entries_; }
  // The same entries in ascending disk order; equal keys keep registry order.
  const std::vector<const Entry*>& inDiskOrder() const { return inDiskOrder_; }
  // The first entry in disk order with the volume UUID.
  const Entry* firstWithVolumeUUID(const platform::UUID& uuid) const;

 private:
  MediaWalk() = default;
  static std::shared_ptr<const MediaWalk> walk();

  std::vector<Entry> entries_;
  std::vector<const Entry*> inDiskOrder_;
};
