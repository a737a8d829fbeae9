#pragma once
// Disk Arbitration: sessions, disk references, descriptions, whole disks, callbacks, unmounting.

#include "platform/Value.h"

namespace platform {

class DiskArbitration {
 public:
  virtual ~DiskArbitration() = default;
};

}  // namespace platform
