#pragma once
// The system's file-system calls: statfs, stat, getattrlist.

#include "platform/Value.h"

namespace platform {

class System {
 public:
  virtual ~System() = default;
};

}  // namespace platform
