// Process entry: sets up the platform (a machine folder or this host), then
// hands the command line to the command.
#include <cstdio>
#include <variant>

#include "argument_parser/main.h"
#include "app/cv_diag.h"
#include "bundle_info.inc"
#include "platform/machine/machine_platform.h"
#include "registry/cv_disk_manager.h"

int main(int argc, char** argv) {
  platform::Dictionary info{
      {"CFBundleShortVersionString", CVDIAG_SHORT_VERSION},
      {"CurrentProjectVersion", CVDIAG_PROJECT_VERSION},
      {"SourceVersion", CVDIAG_SOURCE_VERSION},
      {"LSMinimumSystemVersion", CVDIAG_MINIMUM_SYSTEM_VERSION},
  };
  auto made = platform::machine::makePlatformFromEnvironment(std::move(info));
  if (auto* error = std::get_if<std::string>(&made)) {
    std::fprintf(stderr, "CVDiag: %s\n", error->c_str());
    return 1;
  }
  platform::install(std::move(std::get<platform::Platform>(made)));
  int status = ArgumentParser::main<CVDiag>(argc, argv);
  // The registry's callbacks and saves end before the process's objects do.
  CVDiskManager::finishSharedInstance();
  return status;
}
