#pragma once
// NSFileManager and the search paths: existence, subpaths, reading file contents.

#include "platform/Value.h"

namespace platform {

class FileManager {
 public:
  virtual ~FileManager() = default;
};

}  // namespace platform
