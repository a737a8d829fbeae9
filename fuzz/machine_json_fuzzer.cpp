// libFuzzer entry: every input is a machine.json. Loading gives a machine or
// one error line, never a crash. Read whole and read on demand (as CVDiag
// reads a folder) agree: what the whole read takes loads on demand to the
// same machine, every media object included; a media object that does not
// read on demand fails with one line.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/machine/machine.h"
#include "platform/system_unreadable.h"
#include "support/fuzz_machine.h"

namespace {

using platform::machine::Machine;
using platform::machine::MachineReading;
using platform::machine::MediaObject;

std::filesystem::path folder;

void checkOneLine(const std::string& error) {
  if (error.empty() || error.find('\n') != std::string::npos) std::abort();
}

bool sameObject(const MediaObject& a, const MediaObject& b) {
  if ((a.da == nullptr) != (b.da == nullptr) || (a.da && *a.da != *b.da)) return false;
  if (a.io != b.io || a.ioParents != b.ioParents) return false;
  if (a.whole.kind != b.whole.kind || a.whole.bsdName != b.whole.bsdName) return false;
  if (a.volume.has_value() != b.volume.has_value()) return false;
  return !a.volume || (a.volume->resources == b.volume->resources && a.volume->resourceError == b.volume->resourceError &&
                       a.volume->fileCount == b.volume->fileCount && a.volume->device == b.volume->device &&
                       a.volume->realDevice == b.volume->realDevice);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  folder = fuzzsupport::scratchFolder();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzzsupport::writeInput(folder / "machine.json", data, size);
  auto whole = platform::machine::loadMachine(folder);
  auto lazy = platform::machine::loadMachine(folder, MachineReading::onDemand);
  if (auto* error = std::get_if<std::string>(&whole)) checkOneLine(*error);
  if (auto* error = std::get_if<std::string>(&lazy)) {
    checkOneLine(*error);
    if (!std::holds_alternative<std::string>(whole)) std::abort();  // the whole read took it
    return 0;
  }
  const auto& onDemand = *std::get<std::shared_ptr<const Machine>>(lazy);
  const auto* read = std::get_if<std::shared_ptr<const Machine>>(&whole);
  if (read && ((*read)->media.size() != onDemand.media.size() || (*read)->home != onDemand.home ||
               (*read)->mediaByBSDName != onDemand.mediaByBSDName ||
               (*read)->mediaByMountPath != onDemand.mediaByMountPath))
    std::abort();
  for (std::size_t i = 0; i < onDemand.media.size(); ++i) {
    try {
      const MediaObject& object = onDemand.media[i];
      if (read && !sameObject(object, (*read)->media[i])) std::abort();
      if (object.bsdName() != onDemand.media.bsdName(i) || object.mountPath() != onDemand.media.mountPath(i))
        std::abort();
    } catch (const platform::SystemUnreadable& e) {
      checkOneLine(e.what());
      if (read) std::abort();  // the whole read took it
    }
  }
  return 0;
}
