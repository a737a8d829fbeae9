// Process entry: parses the command line, then sets up the platform (a
// machine folder or this host) and runs the command. Help, usage errors and
// the completion scripts need no machine, so a broken folder cannot change
// them; only a run that reads the machine fails on it.
#include <cstdio>
#include <optional>
#include <variant>

#include "argument_parser/main.h"
#include "app/bundle_info.h"
#include "app/cv_diag.h"
#include "platform/machine/machine_platform.h"
#include "registry/cv_disk_manager.h"

namespace {

// Installs the platform; on failure prints its one line and gives status 1.
std::optional<int> installPlatform() {
  auto made = platform::machine::makePlatformFromEnvironment(cvdiagInfoDictionary());
  if (auto* error = std::get_if<std::string>(&made)) {
    std::fprintf(stderr, "CVDiag: %s\n", error->c_str());
    return 1;
  }
  platform::install(std::move(std::get<platform::Platform>(made)));
  return std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
  const int status = ArgumentParser::main<CVDiag>(argc, argv, installPlatform);
  // The registry's callbacks and saves end before the process's objects do.
  CVDiskManager::finishSharedInstance();
  return status;
}
