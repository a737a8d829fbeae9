// libFuzzer entry: every input is what `diskutil … -plist` printed. Whatever
// reads as a property list also prints in the report's dictionary text.
#include <cstdint>
#include <span>

#include "platform/formatters.h"
#include "platform/machine/property_list_codec.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto value = platform::machine::decodePropertyList(std::span(data, size));
  if (value) (void)platform::foundationDescription(*value);
  return 0;
}
