#pragma once
// URL resource values (NSURL resourceValuesForKeys:error:) and file dates.

#include "platform/Value.h"

namespace platform {

class URLResources {
 public:
  virtual ~URLResources() = default;
};

}  // namespace platform
