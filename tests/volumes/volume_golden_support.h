#pragma once
// A machine folder under tests/machines copied to a temporary folder (runs
// write its log); texts are compared whole with the golden files beside it,
// or written there with CVDIAG_UPDATE_GOLDENS=1, to be checked by hand.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "platform/platform.h"
#include "platform/machine/machine_platform.h"

namespace volumetest {

class CopiedMachine {
 public:
  explicit CopiedMachine(const std::string& name)
      : source_(std::filesystem::path(CVDIAG_TEST_MACHINES) / name) {
    std::string pattern = (std::filesystem::temp_directory_path() / "cvdiag-golden-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
    folder_ = pattern;
    std::filesystem::copy(source_, folder_,
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::copy_symlinks);
  }
  ~CopiedMachine() {
    std::error_code ec;
    std::filesystem::remove_all(folder_, ec);
  }
  CopiedMachine(const CopiedMachine&) = delete;
  CopiedMachine& operator=(const CopiedMachine&) = delete;

  const std::filesystem::path& folder() const { return folder_; }
  const std::filesystem::path& source() const { return source_; }

  void install() const {
    auto loaded = platform::machine::loadMachine(folder_);
    if (auto* error = std::get_if<std::string>(&loaded)) throw std::runtime_error(*error);
    platform::install(platform::machine::makeMachinePlatform(
        std::get<std::shared_ptr<const platform::machine::Machine>>(loaded), {}));
  }

  void expectGolden(const std::string& relative, const std::string& actual) const {
    auto path = source_ / "expected" / relative;
    const char* update = std::getenv("CVDIAG_UPDATE_GOLDENS");
    if (update && std::string(update) == "1") {
      std::filesystem::create_directories(path.parent_path());
      std::ofstream(path, std::ios::binary) << actual;
      return;
    }
    std::ifstream in(path, std::ios::binary);
    ASSERT_TRUE(in) << "missing golden file " << path;
    std::string expected((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_EQ(actual, expected) << "golden file " << path;
  }

 private:
  std::filesystem::path source_;
  std::filesystem::path folder_;
};

}  // namespace volumetest
