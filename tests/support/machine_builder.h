#pragma once
// Writes a machine folder into a fresh temporary directory for one test:
// machine.json from a JSON value or from raw text, and files, programs,
// folders and symbolic links at Mac paths; or starts from a copy of a folder
// under tests/machines, whose texts are then compared with its golden files.
// Then loads it, builds the platform over it, or installs that platform for
// the code under test. The folder is removed when the builder goes.
//
//   MachineBuilder m;
//   m.json({{"home", "/Users/ada"}}).file("/Users/ada/a.txt", "hello");
//   platform::Platform p = m.install();

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <variant>

#include <nlohmann/json.hpp>

#include "platform/platform.h"
#include "platform/machine/machine.h"

namespace testsupport {

// Compares a whole text with the golden file at `path`, or writes it there
// when CVDIAG_UPDATE_GOLDENS=1 (to be checked by hand).
void expectGoldenFile(const std::filesystem::path& path, const std::string& actual);

class MachineBuilder {
 public:
  // A new empty folder whose machine.json is "{}".
  MachineBuilder();
  // A copy of tests/machines/<name>.
  explicit MachineBuilder(std::string_view machineName);
  ~MachineBuilder();
  MachineBuilder(const MachineBuilder&) = delete;
  MachineBuilder& operator=(const MachineBuilder&) = delete;

  // Replaces machine.json with this document, or with this exact text.
  MachineBuilder& json(const nlohmann::json& document);
  MachineBuilder& jsonText(std::string_view text);

  // Writes a file at a Mac path ("/Volumes/Data/a.txt"), making its folders.
  MachineBuilder& file(std::string_view macPath, std::string_view content = {});
  // Makes a folder, and the folders above it.
  MachineBuilder& directory(std::string_view macPath);
  // Makes a symbolic link at a Mac path whose target text is `target`.
  MachineBuilder& symlink(std::string_view macPath, std::string_view target);
  // Writes an executable script at a Mac path: "#!<interpreter>", then `body`.
  MachineBuilder& script(std::string_view macPath, std::string_view body,
                         std::string_view interpreter = "/bin/sh");

  // The content of the file at a Mac path; empty when there is none.
  std::string text(std::string_view macPath) const;
  // Compares a text whole with expected/<relative> of the copied folder, or
  // writes it there when CVDIAG_UPDATE_GOLDENS=1 (to be checked by hand).
  void expectGolden(std::string_view relative, const std::string& actual) const;

  // The host folder that stands for the Mac's "/".
  const std::filesystem::path& folder() const { return folder_; }
  // The folder under tests/machines this one was copied from.
  const std::filesystem::path& source() const { return source_; }
  // Where a Mac path lives on the host.
  std::filesystem::path hostPath(std::string_view macPath) const;

  // loadMachine on the folder: the machine or the one-line error.
  std::variant<std::shared_ptr<const platform::machine::Machine>, std::string> tryLoad() const;
  // The machine; throws std::runtime_error with the loader's line when it fails.
  std::shared_ptr<const platform::machine::Machine> load() const;
  // Every interface over the loaded machine.
  platform::Platform platform(platform::Dictionary infoDictionary = {}) const;
  // Installs that platform as platform::current() and returns it.
  platform::Platform install(platform::Dictionary infoDictionary = {}) const;
  // Installs that platform with its log replaced by `log`.
  platform::Platform install(std::shared_ptr<platform::LogSink> log) const;

 private:
  std::filesystem::path folder_;
  std::filesystem::path source_;  // the copied folder under tests/machines
};

}  // namespace testsupport
