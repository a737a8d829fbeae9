#pragma once
// The platform over a machine folder, or over this host.

#include <filesystem>
#include <optional>
#include <string>
#include <variant>

#include "platform/platform.h"
#include "platform/machine/machine.h"

namespace platform::machine {

// Builds every interface over one loaded machine. `infoDictionary` is what
// the executable embeds (CFBundleShortVersionString, …).
Platform makeMachinePlatform(std::shared_ptr<const Machine> machine, Dictionary infoDictionary);

// The folder named by CVDIAG_MACHINE, or this host when it is unset. The
// error is one line that names the file and the problem.
std::variant<Platform, std::string> makePlatformFromEnvironment(Dictionary infoDictionary);

}  // namespace platform::machine
