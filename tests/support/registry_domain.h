#pragma once
// Corvane's preferences domain as a test writes it through the installed
// platform: bookmark blobs that hold chosen values, and the registry under
// "CVDiskKnownVolumes" beside one other key ("SUOtherKey" = "kept").
#include <map>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace testsupport {

inline const std::string kCorvaneDomainPath = "/Users/ada/Library/Preferences/com.tamarlin.Corvane.plist";

// A bookmark blob of "/Volumes/X" holding exactly these resource values.
inline platform::Bytes bookmarkBlob(const platform::Dictionary& values) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : values) keys.push_back(key);
  return *platform::current().bookmarks->bookmarkData(platform::URL::fileURLWithPath("/Volumes/X", true), 0x400,
                                                      keys, values);
}

// Replaces the registry (GUID key to blob) and sets the other key; false when a write is refused.
inline bool writeRegistryDomain(const std::map<std::string, platform::Bytes>& entries) {
  auto domain = platform::current().userDefaults->initWithSuiteName("com.tamarlin.Corvane");
  return domain->setObject(std::string("kept"), "SUOtherKey") &&
         domain->setObject(platform::Dictionary(entries.begin(), entries.end()), "CVDiskKnownVolumes");
}

}  // namespace testsupport
