#pragma once
// NSPropertyListSerialization: property lists from and to bytes, guarded against hostile input.

#include "platform/Value.h"

namespace platform {

class PropertyListSerialization {
 public:
  virtual ~PropertyListSerialization() = default;
};

}  // namespace platform
