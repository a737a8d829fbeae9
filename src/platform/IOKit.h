#pragma once
// The I/O registry: IOMedia matching and registry properties, with the recursive parent search.

#include "platform/Value.h"

namespace platform {

class IOKit {
 public:
  virtual ~IOKit() = default;
};

}  // namespace platform
