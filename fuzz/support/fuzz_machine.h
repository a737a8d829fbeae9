#pragma once
// Folders for a fuzz run. Targets whose inputs are files write them into one
// folder made at start and reused for every input; it lies in memory
// (/dev/shm) where the host has that, so an input costs no disk writes.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

#include "platform/machine/machine_platform.h"

namespace fuzzsupport {

// A fresh, empty folder, in memory when the host allows.
inline std::filesystem::path scratchFolder() {
  std::error_code ec;
  std::filesystem::path base = "/dev/shm";
  if (!std::filesystem::is_directory(base, ec) || access(base.c_str(), W_OK) != 0)
    base = std::filesystem::temp_directory_path();
  std::string pattern = (base / "cvdiag-fuzz-XXXXXX").string();
  if (!mkdtemp(pattern.data())) std::abort();
  // Gone again when the run ends normally (a crash leaves it for a look).
  static std::string made;
  made = pattern;
  std::atexit([] {
    std::error_code ignored;
    std::filesystem::remove_all(made, ignored);
  });
  return std::filesystem::path(pattern);
}

// Replaces the file's content with the input's bytes.
inline void writeInput(const std::filesystem::path& file, const std::uint8_t* data, std::size_t size) {
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  if (!out) std::abort();
}

// A machine folder with the given machine.json, installed as the platform of
// the process.
inline std::filesystem::path installMachine(const std::string& machineJson) {
  const std::filesystem::path folder = scratchFolder();
  std::ofstream(folder / "machine.json") << machineJson;
  auto loaded = platform::machine::loadMachine(folder);
  auto* machine = std::get_if<std::shared_ptr<const platform::machine::Machine>>(&loaded);
  if (!machine) std::abort();
  platform::install(platform::machine::makeMachinePlatform(*machine, {}));
  return folder;
}

}  // namespace fuzzsupport
