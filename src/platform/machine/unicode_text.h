#pragma once
// The UTF-8 and UTF-16 conversions the property-list codec needs, in one
// place: text values are UTF-8 inside the tool, ASCII or UTF-16 big-endian in
// the binary form, and UTF-8 with character references in the XML form.

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace platform::machine {

// Whether `text` is well-formed UTF-8 (U+0000 included; no surrogates).
bool isValidUTF8(std::string_view text);

// Whether every byte of `text` is below 0x80.
bool isASCII(std::string_view text);

// Appends the UTF-8 form of a code point; false for a surrogate or a value
// above U+10FFFF.
bool appendCodePoint(std::string& out, std::uint32_t codePoint);

// The UTF-8 text of the UTF-16 code units stored big-endian in `bytes`;
// nothing when a surrogate is unpaired.
std::optional<std::string> utf8FromUTF16BE(std::span<const std::uint8_t> bytes);

// Appends the UTF-16 big-endian form of well-formed UTF-8 text and gives the
// number of code units written.
std::size_t appendUTF16BE(std::string& out, std::string_view utf8);

}  // namespace platform::machine
