#pragma once
// Text as the tool counts it. Text is held as UTF-8 bytes, and four units
// are counted in it, each named in the functions that use it: bytes, code
// points, UTF-16 code units (the length of the system's strings, by which
// report columns are padded) and characters (extended grapheme clusters,
// what a reader sees as one letter, by which the command line is measured).
//
// Bytes that are not UTF-8 (a file name or a program's output can hold any)
// are never refused: each such byte stands for one U+FFFD REPLACEMENT
// CHARACTER, as the system's strings read it, unless a function says
// otherwise.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace text {

// One code point decoded from UTF-8, and the number of bytes it takes.
struct CodePoint {
  char32_t value;
  std::size_t byteLength;
};

// The code point whose encoding starts at byte `at` (which must lie inside
// `bytes`), or nothing when the bytes there are no well-formed UTF-8: a
// stray or cut sequence, an overlong form, a surrogate, a value beyond
// U+10FFFF.
std::optional<CodePoint> decodeAt(std::string_view bytes, std::size_t at);

// Whether all of `bytes` is well-formed UTF-8.
bool isValidUTF8(std::string_view bytes);

// The bytes with every byte that is not UTF-8 replaced by U+FFFD.
std::string replacingInvalidUTF8(std::string_view bytes);

// The characters of `text` as views into it, which must outlive them. An
// invalid byte is a character of its own.
std::vector<std::string_view> characters(std::string_view text);

// The number of characters of `text`.
std::size_t characterCount(std::string_view text);

// The bytes of `text` after its first `count` characters; empty when it has
// no more.
std::string_view droppingFirstCharacters(std::string_view text, std::size_t count);

// The number of UTF-16 code units of `text`: two for a code point beyond
// U+FFFF, one for any other and for an invalid byte.
std::size_t utf16Length(std::string_view text);

// `text` cut or padded with `pad` to exactly `length` UTF-16 code units, as
// the system's string padding starting at the pad's first character does.
// The cut falls after the last unit that fits, inside a character if need
// be (a base letter then stands without its accent); a code point whose
// second surrogate falls outside leaves its first one alone, which reads as
// U+FFFD. Invalid bytes come out as U+FFFD.
std::string paddedToUTF16Length(std::string_view text, std::size_t length, char pad);

// Whether the code point is an upper- or lower-case letter.
bool isUppercaseLetter(char32_t codePoint);
bool isLowercaseLetter(char32_t codePoint);

// `text` with every code point mapped to its single lower- or upper-case
// code point; invalid bytes are kept as they are.
std::string lowercased(std::string_view text);
std::string uppercased(std::string_view text);

// The canonical decomposition (NFD) of `text`, the form in which two
// canonically equivalent texts are equal byte for byte. Text that is not
// UTF-8 comes back unchanged.
std::string canonicalDecomposition(std::string_view text);

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

}  // namespace text
