#pragma once
// Text as a sequence of user-perceived characters (extended grapheme
// clusters), the unit in which names, widths and edit distances are counted:
// the framework's names for what text/text.h counts.

#include <string>
#include <string_view>
#include <vector>

namespace ArgumentParser {

// The characters of `text`, each as its UTF-8 bytes. Invalid UTF-8 bytes
// stand as one character each.
std::vector<std::string> characters(std::string_view text);
// The same as views into `text`, which must outlive them.
std::vector<std::string_view> characterViews(std::string_view text);
// The number of characters of `text`.
std::size_t characterCount(std::string_view text);
// Whether the first character of `text` is `character` exactly (a dash that a
// combining mark follows is no dash); looks no further than that character.
bool startsWithCharacter(std::string_view text, std::string_view character);
// Whether `text` is one character; looks no further than its second.
bool isSingleCharacter(std::string_view text);
// Whether the character's first code point is an upper- or lower-case letter.
bool isUppercase(std::string_view character);
bool isLowercase(std::string_view character);
// The character with every code point lower- or upper-cased.
std::string lowercased(std::string_view text);
std::string uppercased(std::string_view text);

}  // namespace ArgumentParser
