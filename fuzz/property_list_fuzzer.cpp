// libFuzzer entry: every input goes through the guarded property-list reader;
// what it accepts must also write back and read again as the same value.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "platform/machine/property_list_codec.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace platform;
  auto value = machine::decodePropertyList(std::span(data, size));
  if (!value) return 0;
  for (auto format : {PropertyListFormat::Binary, PropertyListFormat::XML}) {
    auto bytes = machine::encodePropertyList(*value, format);
    if (!bytes) continue;  // e.g. a date the writer can't hold
    auto again = machine::decodePropertyList(bytes->bytes());
    if (!again) std::abort();
  }
  return 0;
}
