#include <utf8proc.h>

#include "argument_parser/characters.h"

namespace ArgumentParser {
namespace {

struct Decoded {
  utf8proc_int32_t codePoint;
  std::size_t length;  // bytes; 1 for an invalid byte
  bool valid;
};

Decoded decodeAt(std::string_view text, std::size_t at) {
  utf8proc_int32_t cp = 0;
  auto n = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data() + at),
                            static_cast<utf8proc_ssize_t>(text.size() - at), &cp);
  if (n <= 0) return {-1, 1, false};
  return {cp, static_cast<std::size_t>(n), true};
}

std::string encode(utf8proc_int32_t cp) {
  utf8proc_uint8_t buffer[4];
  auto n = utf8proc_encode_char(cp, buffer);
  return std::string(reinterpret_cast<char*>(buffer), static_cast<std::size_t>(n));
}

template <class F>
std::string mapCodePoints(std::string_view text, F f) {
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    auto d = decodeAt(text, at);
    if (d.valid)
      result += encode(f(d.codePoint));
    else
      result += text[at];
    at += d.length;
  }
  return result;
}

// Calls `f(piece, startsNew)` for every code point (or invalid byte) of the
// text in order; `startsNew` tells whether it begins a new character.
template <class F>
void forEachPiece(std::string_view text, F f) {
  utf8proc_int32_t state = 0;
  utf8proc_int32_t previous = -1;
  for (std::size_t at = 0; at < text.size();) {
    auto d = decodeAt(text, at);
    bool startsNew = at == 0 || !d.valid || previous < 0 ||
                     utf8proc_grapheme_break_stateful(previous, d.codePoint, &state);
    if (startsNew && !d.valid) state = 0;
    f(text.substr(at, d.length), startsNew);
    previous = d.valid ? d.codePoint : -1;
    at += d.length;
  }
}

}  // namespace

std::vector<std::string> characters(std::string_view text) {
  std::vector<std::string> result;
  forEachPiece(text, [&result](std::string_view piece, bool startsNew) {
    if (startsNew)
      result.emplace_back(piece);
    else
      result.back() += piece;
  });
  return result;
}

std::vector<std::string_view> characterViews(std::string_view text) {
  std::vector<std::string_view> result;
  forEachPiece(text, [&result](std::string_view piece, bool startsNew) {
    if (startsNew)
      result.push_back(piece);
    else  // the pieces of one character follow each other in the text
      result.back() = std::string_view(result.back().data(), result.back().size() + piece.size());
  });
  return result;
}

std::size_t characterCount(std::string_view text) {
  std::size_t count = 0;
  forEachPiece(text, [&count](std::string_view, bool startsNew) { count += startsNew ? 1 : 0; });
  return count;
}

bool isUppercase(std::string_view character) {
  if (character.empty()) return false;
  auto d = decodeAt(character, 0);
  return d.valid && utf8proc_isupper(d.codePoint);
}

bool isLowercase(std::string_view character) {
  if (character.empty()) return false;
  auto d = decodeAt(character, 0);
  return d.valid && utf8proc_islower(d.codePoint);
}

std::string lowercased(std::string_view text) { return mapCodePoints(text, utf8proc_tolower); }
std::string uppercased(std::string_view text) { return mapCodePoints(text, utf8proc_toupper); }

}  // namespace ArgumentParser
