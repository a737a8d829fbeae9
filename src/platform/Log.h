#pragma once
// The unified log: entries with a subsystem, a category and a level.

#include "platform/Value.h"

namespace platform {

class LogSink {
 public:
  virtual ~LogSink() = default;
};

}  // namespace platform
