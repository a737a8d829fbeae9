#pragma once
// NSUserDefaults: the standard domain and suites, as property-list files.

#include "platform/Value.h"

namespace platform {

class UserDefaultsStore {
 public:
  virtual ~UserDefaultsStore() = default;
};

}  // namespace platform
