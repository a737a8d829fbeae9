// "Corvane Diagnostics version: <short> (<build>-<source>), macOS <os>" and the
// empty line behind it.
#include <string>

#include "app/sections.h"
#include "platform/platform.h"

namespace {

// One value of the executable's information dictionary, read afresh; empty
// when the dictionary, the key or a text value is missing.
std::string infoValue(const char* key) {
  const auto& bundle = platform::current().bundle;
  if (!bundle) return {};
  auto info = bundle->infoDictionary();
  if (!info) return {};
  const auto* value = platform::lookup(*info, key);
  if (!value || !value->string()) return {};
  return *value->string();
}

}  // namespace

void versionLine(ReportContext& context) {
  std::string shortVersion = infoValue("CFBundleShortVersionString");
  std::string build = infoValue("CurrentProjectVersion");
  std::string source = infoValue("SourceVersion");
  std::string os = rootOperatingSystemText(context.volumes()).value_or("");
  context.print("Corvane Diagnostics version: " + shortVersion + " (" + build + "-" + source + "), macOS " + os + "\n");
}
