// Placeholders until the machine-folder implementations of these families
// land; each moves to its own file with its implementation.
#include "platform/machine/Factories.h"

namespace platform::machine {

std::shared_ptr<DiskArbitration> makeMachineDiskArbitration(MachineRef) { return nullptr; }
std::shared_ptr<IOKit> makeMachineIOKit(MachineRef) { return nullptr; }
std::shared_ptr<FileManager> makeMachineFileManager(MachineRef) { return nullptr; }
std::shared_ptr<URLResources> makeMachineURLResources(MachineRef) { return nullptr; }
std::shared_ptr<System> makeMachineSystem(MachineRef) { return nullptr; }
std::shared_ptr<Workspace> makeMachineWorkspace(MachineRef) { return nullptr; }

}  // namespace platform::machine
