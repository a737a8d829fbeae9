// Placeholders until the machine-folder implementations of these families
// land; each moves to its own file with its implementation.
#include "platform/machine/Factories.h"

namespace platform::machine {

std::shared_ptr<Bookmarks> makeMachineBookmarks(MachineRef, std::shared_ptr<URLResources>) {
  return nullptr;
}

}  // namespace platform::machine
