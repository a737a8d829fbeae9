#pragma once
// URL bookmarks: making a blob from a URL and its resource values, resolving it, reading its values.

#include "platform/Value.h"

namespace platform {

class Bookmarks {
 public:
  virtual ~Bookmarks() = default;
};

}  // namespace platform
