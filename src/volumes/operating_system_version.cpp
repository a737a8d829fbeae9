#include "volumes/operating_system_version.h"

#include <charconv>
#include <optional>
#include <vector>

OperatingSystemVersionError::OperatingSystemVersionError()
    : std::runtime_error(localizedError) {}

namespace {

// A decimal integer with an optional sign and nothing else, as the
// platform's radix-10 integer parser takes it.
std::optional<std::int64_t> parseInteger(std::string_view piece) {
  std::string_view digits = piece;
  bool negative = false;
  if (!digits.empty() && (digits.front() == '+' || digits.front() == '-')) {
    negative = digits.front() == '-';
    digits.remove_prefix(1);
  }
  if (digits.empty()) return std::nullopt;
  for (char c : digits) {
    if (c < '0' || c > '9') return std::nullopt;
  }
  // Parse with the sign so that the most negative value still fits.
  std::string text = (negative ? "-" : "") + std::string(digits);
  std::int64_t value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::int64_t requireInteger(std::string_view piece) {
  auto value = parseInteger(piece);
  if (!value) throw OperatingSystemVersionError();
  return *value;
}

}  // namespace

OperatingSystemVersion OperatingSystemVersion::fromString(std::string_view text) {
  std::vector<std::string_view> pieces;
  std::size_t start = 0;
  while (start <= text.size()) {
    std::size_t dot = text.find('.', start);
    if (dot == std::string_view::npos) dot = text.size();
    if (dot > start) pieces.push_back(text.substr(start, dot - start));
    start = dot + 1;
  }
  if (pieces.size() < 2) throw OperatingSystemVersionError();
  OperatingSystemVersion version;
  version.majorVersion = requireInteger(pieces[0]);
  version.minorVersion = requireInteger(pieces[1]);
  version.patchVersion = pieces.size() == 2 ? 0 : requireInteger(pieces[2]);
  return version;
}

std::string OperatingSystemVersion::text() const {
  std::string out = std::to_string(majorVersion) + "." + std::to_string(minorVersion);
  if (patchVersion >= 1) out += "." + std::to_string(patchVersion);
  return out;
}
