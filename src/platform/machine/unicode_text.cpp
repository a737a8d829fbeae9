#include "platform/machine/unicode_text.h"

#include <utf8proc.h>

namespace platform::machine {

namespace {

// Calls `each` with every code point of well-formed UTF-8 text; false at the
// first malformed sequence.
template <typename Each>
bool forEachCodePoint(std::string_view text, Each each) {
  const auto* p = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  std::size_t i = 0;
  while (i < text.size()) {
    // ASCII needs no decoding, and most property-list text is ASCII.
    if (static_cast<unsigned char>(text[i]) < 0x80) {
      each(static_cast<std::uint32_t>(static_cast<unsigned char>(text[i])));
      ++i;
      continue;
    }
    utf8proc_int32_t cp = 0;
    const utf8proc_ssize_t used = utf8proc_iterate(p + i, static_cast<utf8proc_ssize_t>(text.size() - i), &cp);
    if (used <= 0 || cp < 0) return false;
    each(static_cast<std::uint32_t>(cp));
    i += static_cast<std::size_t>(used);
  }
  return true;
}

}  // namespace

bool isValidUTF8(std::string_view text) {
  return forEachCodePoint(text, [](std::uint32_t) {});
}

bool isASCII(std::string_view text) {
  for (char c : text)
    if (static_cast<unsigned char>(c) >= 0x80) return false;
  return true;
}

bool appendCodePoint(std::string& out, std::uint32_t codePoint) {
  if (!utf8proc_codepoint_valid(static_cast<utf8proc_int32_t>(codePoint))) return false;
  utf8proc_uint8_t buffer[4];
  const auto n = utf8proc_encode_char(static_cast<utf8proc_int32_t>(codePoint), buffer);
  out.append(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(n));
  return true;
}

std::optional<std::string> utf8FromUTF16BE(std::span<const std::uint8_t> bytes) {
  std::string out;
  out.reserve(bytes.size() / 2);
  const std::size_t units = bytes.size() / 2;
  for (std::size_t i = 0; i < units; ++i) {
    std::uint32_t unit = (std::uint32_t{bytes[2 * i]} << 8) | bytes[2 * i + 1];
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      if (i + 1 >= units) return std::nullopt;
      const std::uint32_t low = (std::uint32_t{bytes[2 * i + 2]} << 8) | bytes[2 * i + 3];
      if (low < 0xDC00 || low > 0xDFFF) return std::nullopt;
      unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
      ++i;
    } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
      return std::nullopt;
    }
    appendCodePoint(out, unit);
  }
  return out;
}

std::size_t appendUTF16BE(std::string& out, std::string_view utf8) {
  std::size_t units = 0;
  auto put = [&](std::uint32_t unit) {
    out.push_back(static_cast<char>(unit >> 8));
    out.push_back(static_cast<char>(unit & 0xFF));
    ++units;
  };
  forEachCodePoint(utf8, [&](std::uint32_t cp) {
    if (cp < 0x10000) {
      put(cp);
    } else {
      put(0xD800 + ((cp - 0x10000) >> 10));
      put(0xDC00 + ((cp - 0x10000) & 0x3FF));
    }
  });
  return units;
}

}  // namespace platform::machine
