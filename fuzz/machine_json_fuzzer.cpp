// libFuzzer entry: every input is a machine.json. Loading gives a machine or
// one error line, never a crash; a machine that loads answers its queries.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/machine/machine.h"
#include "support/fuzz_machine.h"

namespace {
std::filesystem::path folder;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  folder = fuzzsupport::scratchFolder();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzzsupport::writeInput(folder / "machine.json", data, size);
  auto loaded = platform::machine::loadMachine(folder);
  if (auto* error = std::get_if<std::string>(&loaded)) {
    // The error is one line.
    if (error->empty() || error->find('\n') != std::string::npos) std::abort();
  }
  return 0;
}
