// libFuzzer entry: every input is the property list of one settings document.
// Reading the settings gives references or the report's own failure words,
// never a crash, and the document's package is always found.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "settings/settings_manager.h"
#include "support/fuzz_machine.h"

namespace {
std::filesystem::path document;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  const auto folder = fuzzsupport::installMachine(R"({"home": "/Users/ada"})");
  const auto package = folder / "Users/ada/Library/Application Support/Corvane!/Fuzz.cvsp";
  std::filesystem::create_directories(package);
  document = package / "Session Settings.cvss";
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzzsupport::writeInput(document, data, size);
  auto manager = SettingsManager::create();
  std::ostringstream messages;
  if (manager->settingsPackages(messages).size() != 1) std::abort();
  for (const auto& reference : manager->settingsReferences(messages)) (void)manager->documentName(reference);
  (void)manager->volumeReferences(messages);
  return 0;
}
