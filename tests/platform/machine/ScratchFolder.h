#pragma once
// A machine folder made afresh for one test and removed after it.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "platform/machine/Machine.h"

namespace cvdiag_test {

class ScratchFolder {
 public:
  ScratchFolder() {
    std::string pattern = (std::filesystem::path(testing::TempDir()) / "cvdiag-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
  }
  ~ScratchFolder() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

  // A machine over this folder with the given home and bundle identifier.
  std::shared_ptr<platform::machine::Machine> machine(
      std::string home = "/Users/ada", std::optional<std::string> bundleIdentifier = std::nullopt) const {
    auto m = std::make_shared<platform::machine::Machine>();
    m->folder = path_;
    m->home = std::move(home);
    m->bundleIdentifier = std::move(bundleIdentifier);
    return m;
  }

  // Writes a file at a Mac path, making its folders.
  void write(const std::string& macPath, std::string_view content) const {
    auto host = path_ / macPath.substr(1);
    std::filesystem::create_directories(host.parent_path());
    std::ofstream(host, std::ios::binary).write(content.data(), static_cast<std::streamsize>(content.size()));
  }

  std::string read(const std::string& macPath) const {
    std::ifstream in(path_ / macPath.substr(1), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }

 private:
  std::filesystem::path path_;
};

}  // namespace cvdiag_test
