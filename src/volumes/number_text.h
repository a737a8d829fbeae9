#pragma once
// The tool's category on the platform's boxed number: a byte count in the
// file style, and the locale text of the number cut to 32 bits.

#include <cstdint>
#include <optional>
#include <string>

namespace NSNumberCVDiag {

// The value as a byte count in the file style (1000 bytes to the kilobyte):
// "Zero KB", "1 byte", "512 bytes", "5 GB", "494.38 GB".
std::string fileSizeString(std::int64_t value);

// The value cut to a signed 32-bit integer, in the text of `locale` (which
// may be absent): 5000000000 gives "705032704". The name is the category's
// own spelling.
std::string descriptionWithLocal(std::int64_t value,
                                 const std::optional<std::string>& locale = std::nullopt);

}  // namespace NSNumberCVDiag
