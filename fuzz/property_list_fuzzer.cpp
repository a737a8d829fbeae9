// libFuzzer entry: every input goes through the property-list reader, both
// forms (the first eight bytes choose); it must refuse or read, never crash,
// and what it reads must write in both forms.
#include <cstdint>
#include <cstdlib>
#include <span>

#include "platform/machine/property_list_codec.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace platform;
  auto value = machine::decodePropertyList(std::span(data, size));
  if (!value) return 0;
  if (!machine::encodePropertyList(*value, PropertyListFormat::Binary)) std::abort();
  (void)machine::encodePropertyList(*value, PropertyListFormat::XML);
  return 0;
}
