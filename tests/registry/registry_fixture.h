#pragma once
// The catalogue machine (a boot group, a backup disk, a stick, an unmounted
// recovery volume) with a registry domain written for one test.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "platform/platform.h"
#include "registry/cv_disk_manager.h"
#include "volumes/volume_golden_support.h"

namespace registrytest {

inline const std::string kDomainPath = "/Users/ada/Library/Preferences/com.tamarlin.Corvane.plist";
inline const std::string kBackupUUID = "6C1D3C57-9E54-4A6B-8D37-2C0E1F7B5A10";     // disk4s2, mounted
inline const std::string kRecoveryUUID = "3E2D3C4B-5A69-4788-97A6-B5C4D3E2F103";   // disk3s3, not mounted
inline const std::string kDataUUID = "5E2D3C4B-5A69-4788-97A6-B5C4D3E2F105";       // disk3s5, the boot group's

// A bookmark blob made by the platform, holding exactly the given values.
inline platform::Bytes blob(const platform::Dictionary& values) {
  std::vector<std::string> keys;
  for (const auto& [key, value] : values) keys.push_back(key);
  return *platform::current().bookmarks->bookmarkData(platform::URL::fileURLWithPath("/Volumes/X", true), 0x400,
                                                      keys, values);
}
inline platform::Bytes blob(const std::string& name, const std::string& uuid, bool ejectable = false) {
  return blob({{"NSURLVolumeNameKey", name}, {"NSURLVolumeUUIDStringKey", uuid},
               {"NSURLVolumeIsEjectableKey", ejectable}});
}

inline std::string readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

// The dump's hash column changes from run to run.
inline std::string withoutHashes(const std::string& text) {
  return std::regex_replace(text, std::regex(" [0-9A-F]+ ([0-9]+ bytes)\n"), " <hash> $1\n");
}

class RegistryMachine : public ::testing::Test {
 protected:
  void SetUp() override { machine.install(); }

  // Writes Corvane's domain with this registry beside one other key.
  void writeRegistry(const CVDiskVolumeMap& entries) {
    platform::Dictionary stored;
    for (const auto& [guid, data] : entries) stored.emplace(guid, data);
    auto domain = platform::current().userDefaults->initWithSuiteName("com.tamarlin.Corvane");
    ASSERT_TRUE(domain->setObject(std::string("kept"), "SUOtherKey"));
    ASSERT_TRUE(domain->setObject(stored, "CVDiskKnownVolumes"));
  }
  std::filesystem::path host(const std::string& macPath) const { return machine.folder() / macPath.substr(1); }
  // Compared whole; CVDIAG_UPDATE_GOLDENS=1 writes the file, to be checked by hand.
  void expectGolden(const std::string& name, const std::string& actual) const {
    auto path = std::filesystem::path(CVDIAG_SOURCE_DIR) / "tests/registry/expected" / name;
    if (const char* update = std::getenv("CVDIAG_UPDATE_GOLDENS"); update && std::string(update) == "1") {
      std::ofstream(path, std::ios::binary) << actual;
    }
    EXPECT_EQ(actual, readFile(path));
  }

  volumetest::CopiedMachine machine{"volumes_catalogue"};
};

}  // namespace registrytest
