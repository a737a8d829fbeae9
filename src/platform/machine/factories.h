#pragma once
// One factory per interface family over a loaded machine. Each lives in the
// implementation file of its family.

#include <memory>

#include "platform/platform.h"
#include "platform/machine/machine.h"

namespace platform::machine {

using MachineRef = std::shared_ptr<const Machine>;

std::shared_ptr<DiskArbitration> makeMachineDiskArbitration(MachineRef machine);
std::shared_ptr<IOKit> makeMachineIOKit(MachineRef machine);
std::shared_ptr<FileManager> makeMachineFileManager(MachineRef machine);
std::shared_ptr<URLResources> makeMachineURLResources(MachineRef machine);
std::shared_ptr<System> makeMachineSystem(MachineRef machine);
std::shared_ptr<Workspace> makeMachineWorkspace(MachineRef machine);
std::shared_ptr<UserDefaultsStore> makeMachineUserDefaults(MachineRef machine);
std::shared_ptr<Bookmarks> makeMachineBookmarks(MachineRef machine,
                                                std::shared_ptr<URLResources> resources);
std::shared_ptr<PropertyListSerialization> makeMachinePropertyLists(MachineRef machine);
std::shared_ptr<Bundle> makeMachineBundle(MachineRef machine, Dictionary infoDictionary);
std::shared_ptr<TaskLauncher> makeMachineTaskLauncher(MachineRef machine);
std::shared_ptr<LogSink> makeMachineLog(MachineRef machine);

}  // namespace platform::machine
