#pragma once
// NSTask with NSPipe and NSFileHandle: launching a program and reading its output.

#include "platform/Value.h"

namespace platform {

class TaskLauncher {
 public:
  virtual ~TaskLauncher() = default;
};

}  // namespace platform
