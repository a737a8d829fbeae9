#pragma once
// NSBundle mainBundle: the bundle identifier and the information dictionary.

#include "platform/Value.h"

namespace platform {

class Bundle {
 public:
  virtual ~Bundle() = default;
};

}  // namespace platform
