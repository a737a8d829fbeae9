// libFuzzer entry: every input is a machine.json. Loading gives a machine or
// one error line, never a crash; a machine that loads answers its queries.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

#include "platform/machine/machine.h"

namespace {
const std::filesystem::path& folder() {
  static const std::filesystem::path path = [] {
    std::string pattern = (std::filesystem::temp_directory_path() / "cvdiag-fuzz-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::abort();
    return std::filesystem::path(pattern);
  }();
  return path;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  {
    std::ofstream file(folder() / "machine.json", std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }
  auto loaded = platform::machine::loadMachine(folder());
  if (auto* error = std::get_if<std::string>(&loaded)) {
    // The error is one line.
    if (error->empty() || error->find('\n') != std::string::npos) std::abort();
  }
  return 0;
}
