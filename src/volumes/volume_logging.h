#pragma once
// The volume code's logger: group "volume", category "CVDisk".

#include <string>

namespace volume_logging {
void fault(const std::string& message);
void error(const std::string& message);
}  // namespace volume_logging
