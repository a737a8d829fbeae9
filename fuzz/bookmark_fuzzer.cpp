// libFuzzer entry: every input is a registry value's bookmark blob. Reading
// its remembered facts gives values or nothing, never a crash.
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "registry/volume_bookmark.h"
#include "support/fuzz_machine.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzzsupport::installMachine(R"({"home": "/Users/ada"})");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto bookmark = VolumeBookmark::initWithData(platform::Bytes(std::vector<std::uint8_t>(data, data + size)));
  if (!bookmark) return 0;
  (void)bookmark->volumeName();
  (void)bookmark->volumeLocalizedName();
  (void)bookmark->volumeUUIDString();
  (void)bookmark->volumeIsEjectable();
  (void)bookmark->volumeRealUUIDString();
  (void)bookmark->volumeMediaUUIDString();
  (void)bookmark->volumeGroupUUIDString();
  (void)bookmark->description();
  return 0;
}
