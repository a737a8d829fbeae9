#include "text/text.h"

#include <utf8proc.h>

#include <cstdlib>
#include <memory>

namespace text {
namespace {

constexpr std::string_view kReplacementCharacter = "\uFFFD";

const utf8proc_uint8_t* unsignedBytes(std::string_view bytes) {
  return reinterpret_cast<const utf8proc_uint8_t*>(bytes.data());
}

std::string encoded(char32_t codePoint) {
  utf8proc_uint8_t buffer[4];
  auto length = utf8proc_encode_char(static_cast<utf8proc_int32_t>(codePoint), buffer);
  return std::string(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(length));
}

// Calls `visit(at, codePoint)` for every code point of `bytes` in order, and
// `visit(at, std::nullopt)` for every invalid byte; a visit that returns
// false ends the walk.
template <class Visit>
void forEachCodePoint(std::string_view bytes, Visit visit) {
  for (std::size_t at = 0; at < bytes.size();) {
    auto codePoint = decodeAt(bytes, at);
    if (!visit(at, codePoint)) return;
    at += codePoint ? codePoint->byteLength : 1;
  }
}

// Calls `visit(at)` at the first byte of every character of `text`; a visit
// that returns false ends the walk. A new character starts wherever the
// grapheme rules break, and at and after every invalid byte.
template <class Visit>
void forEachCharacterStart(std::string_view text, Visit visit) {
  utf8proc_int32_t state = 0;
  std::optional<char32_t> previous;
  forEachCodePoint(text, [&](std::size_t at, std::optional<CodePoint> codePoint) {
    bool starts = !previous || !codePoint ||
                  utf8proc_grapheme_break_stateful(static_cast<utf8proc_int32_t>(*previous),
                                                   static_cast<utf8proc_int32_t>(codePoint->value), &state);
    if (!codePoint) state = 0;
    previous = codePoint ? std::optional<char32_t>(codePoint->value) : std::nullopt;
    return !starts || visit(at);
  });
}

template <class Map>
std::string mappingCodePoints(std::string_view text, Map map) {
  std::string result;
  result.reserve(text.size());
  forEachCodePoint(text, [&](std::size_t at, std::optional<CodePoint> codePoint) {
    if (codePoint)
      result += encoded(static_cast<char32_t>(map(static_cast<utf8proc_int32_t>(codePoint->value))));
    else
      result += text[at];
    return true;
  });
  return result;
}

}  // namespace

std::optional<CodePoint> decodeAt(std::string_view bytes, std::size_t at) {
  auto first = static_cast<unsigned char>(bytes[at]);
  if (first < 0x80) return CodePoint{first, 1};
  utf8proc_int32_t value = 0;
  auto used = utf8proc_iterate(unsignedBytes(bytes) + at, static_cast<utf8proc_ssize_t>(bytes.size() - at), &value);
  if (used <= 0) return std::nullopt;
  return CodePoint{static_cast<char32_t>(value), static_cast<std::size_t>(used)};
}

bool isValidUTF8(std::string_view bytes) {
  bool valid = true;
  forEachCodePoint(bytes, [&valid](std::size_t, std::optional<CodePoint> codePoint) {
    valid = codePoint.has_value();
    return valid;
  });
  return valid;
}

std::string replacingInvalidUTF8(std::string_view bytes) {
  std::string result;
  result.reserve(bytes.size());
  forEachCodePoint(bytes, [&](std::size_t at, std::optional<CodePoint> codePoint) {
    result += codePoint ? bytes.substr(at, codePoint->byteLength) : kReplacementCharacter;
    return true;
  });
  return result;
}

std::vector<std::string_view> characters(std::string_view text) {
  std::vector<std::size_t> starts;
  forEachCharacterStart(text, [&starts](std::size_t at) {
    starts.push_back(at);
    return true;
  });
  std::vector<std::string_view> result;
  result.reserve(starts.size());
  for (std::size_t i = 0; i < starts.size(); ++i) {
    std::size_t end = i + 1 < starts.size() ? starts[i + 1] : text.size();
    result.push_back(text.substr(starts[i], end - starts[i]));
  }
  return result;
}

std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  forEachCharacterStart(text, [&count](std::size_t) {
    ++count;
    return true;
  });
  return count;
}

std::string_view droppingFirstCharacters(std::string_view text, std::size_t count) {
  std::size_t seen = 0;
  std::string_view rest;
  forEachCharacterStart(text, [&](std::size_t at) {
    if (seen++ < count) return true;
    rest = text.substr(at);
    return false;
  });
  return rest;
}

std::size_t utf16Length(std::string_view text) {
  std::size_t units = 0;
  forEachCodePoint(text, [&units](std::size_t, std::optional<CodePoint> codePoint) {
    units += codePoint && codePoint->value > 0xFFFF ? 2 : 1;
    return true;
  });
  return units;
}

std::string paddedToUTF16Length(std::string_view text, std::size_t length, char pad) {
  std::string result;
  std::size_t units = 0;
  forEachCodePoint(text, [&](std::size_t at, std::optional<CodePoint> codePoint) {
    if (units == length) return false;
    std::size_t width = codePoint && codePoint->value > 0xFFFF ? 2 : 1;
    // An invalid byte, and a code point cut between its surrogates, read as
    // U+FFFD.
    bool whole = codePoint && units + width <= length;
    result += whole ? text.substr(at, codePoint->byteLength) : kReplacementCharacter;
    units += whole ? width : 1;
    return true;
  });
  result.append(length - units, pad);
  return result;
}

bool isUppercaseLetter(char32_t codePoint) { return utf8proc_isupper(static_cast<utf8proc_int32_t>(codePoint)); }
bool isLowercaseLetter(char32_t codePoint) { return utf8proc_islower(static_cast<utf8proc_int32_t>(codePoint)); }

std::string lowercased(std::string_view text) { return mappingCodePoints(text, utf8proc_tolower); }
std::string uppercased(std::string_view text) { return mappingCodePoints(text, utf8proc_toupper); }

std::string canonicalDecomposition(std::string_view text) {
  // Plain ASCII is its own decomposition; most names are.
  if (isASCII(text)) return std::string(text);
  utf8proc_uint8_t* mapped = nullptr;
  // Never with UTF8PROC_CHARBOUND: together with DECOMPOSE it reads beyond
  // the input.
  auto length = utf8proc_map(unsignedBytes(text), static_cast<utf8proc_ssize_t>(text.size()), &mapped,
                             static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE));
  if (length < 0) return std::string(text);
  std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owned(mapped, &std::free);
  return std::string(reinterpret_cast<const char*>(mapped), static_cast<std::size_t>(length));
}

// ---- UTF-16 big-endian and code points, for the binary property-list form ----

namespace {

// Calls `each` with every code point of well-formed UTF-8 text; false at the
// first malformed sequence.
template <typename Each>
bool forEachValidCodePoint(std::string_view text, Each each) {
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
  forEachValidCodePoint(utf8, [&](std::uint32_t cp) {
    if (cp < 0x10000) {
      put(cp);
    } else {
      put(0xD800 + ((cp - 0x10000) >> 10));
      put(0xDC00 + ((cp - 0x10000) & 0x3FF));
    }
  });
  return units;
}

}  // namespace text
