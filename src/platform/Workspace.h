#pragma once
// NSWorkspace iconForFile:.

#include "platform/Value.h"

namespace platform {

class Workspace {
 public:
  virtual ~Workspace() = default;
};

}  // namespace platform
