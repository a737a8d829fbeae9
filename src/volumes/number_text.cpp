#include "volumes/number_text.h"

#include "platform/formatters.h"

namespace NSNumberCVDiag {

std::string fileSizeString(std::int64_t value) { return platform::byteCountFileStyle(value); }

std::string descriptionWithLocal(std::int64_t value, const std::optional<std::string>&) {
  // Every locale the tool runs in writes plain digits with a sign.
  const auto cut = static_cast<std::int32_t>(static_cast<std::uint32_t>(value));
  return platform::localeNumberDescription(static_cast<std::int64_t>(cut));
}

}  // namespace NSNumberCVDiag
