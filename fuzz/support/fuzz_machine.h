#pragma once
// A machine folder for a fuzz run: made once in a fresh temporary folder with
// the given machine.json, and installed as the platform of the process.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

#include "platform/machine/machine_platform.h"

namespace fuzzsupport {

inline std::filesystem::path installMachine(const std::string& machineJson) {
  std::string pattern = (std::filesystem::temp_directory_path() / "cvdiag-fuzz-XXXXXX").string();
  if (!mkdtemp(pattern.data())) std::abort();
  const std::filesystem::path folder(pattern);
  std::ofstream(folder / "machine.json") << machineJson;
  auto loaded = platform::machine::loadMachine(folder);
  auto* machine = std::get_if<std::shared_ptr<const platform::machine::Machine>>(&loaded);
  if (!machine) std::abort();
  platform::install(platform::machine::makeMachinePlatform(*machine, {}));
  return folder;
}

}  // namespace fuzzsupport
