#include "platform/machine/machine_platform.h"

#include <cstdlib>

#include "platform/machine/factories.h"

namespace platform::machine {

Platform makeMachinePlatform(std::shared_ptr<const Machine> machine, Dictionary infoDictionary) {
  Platform p;
  p.diskArbitration = makeMachineDiskArbitration(machine);
  p.ioKit = makeMachineIOKit(machine);
  p.fileManager = makeMachineFileManager(machine);
  p.urlResources = makeMachineURLResources(machine);
  p.system = makeMachineSystem(machine);
  p.workspace = makeMachineWorkspace(machine);
  p.userDefaults = makeMachineUserDefaults(machine);
  p.bookmarks = makeMachineBookmarks(machine, p.urlResources);
  p.propertyLists = makeMachinePropertyLists(machine);
  p.bundle = makeMachineBundle(machine, std::move(infoDictionary));
  p.tasks = makeMachineTaskLauncher(machine);
  p.log = makeMachineLog(machine);
  return p;
}

std::variant<Platform, std::string> makePlatformFromEnvironment(Dictionary infoDictionary) {
  const char* folder = std::getenv("CVDIAG_MACHINE");
  if (folder == nullptr) return makeMachinePlatform(hostMachine(), std::move(infoDictionary));
  // A run reads each media object when it first asks for it.
  auto loaded = loadMachine(folder, MachineReading::onDemand);
  if (auto* error = std::get_if<std::string>(&loaded)) return *error;
  return makeMachinePlatform(std::get<std::shared_ptr<const Machine>>(loaded),
                             std::move(infoDictionary));
}

}  // namespace platform::machine
