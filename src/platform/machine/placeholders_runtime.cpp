// Placeholders until the machine-folder implementations of these families
// land; each moves to its own file with its implementation.
#include "platform/machine/Factories.h"

namespace platform::machine {

std::shared_ptr<TaskLauncher> makeMachineTaskLauncher(MachineRef) { return nullptr; }
std::shared_ptr<LogSink> makeMachineLog(MachineRef) { return nullptr; }

}  // namespace platform::machine
