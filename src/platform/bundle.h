#pragma once
// NSBundle mainBundle: the running program's bundle identifier and the
// information dictionary embedded in its executable.

#include <optional>
#include <string>

#include "platform/value.h"

namespace platform {

class Bundle {
 public:
  virtual ~Bundle() = default;
  // A string inside an application; nothing for the bare tool.
  virtual std::optional<std::string> bundleIdentifier() const = 0;
  // The information dictionary (CFBundleShortVersionString, CurrentProjectVersion,
  // SourceVersion, LSMinimumSystemVersion); nothing when the executable has none.
  virtual std::optional<Dictionary> infoDictionary() const = 0;
};

}  // namespace platform
