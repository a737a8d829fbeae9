#include "argument_parser/characters.h"

#include "text/text.h"

namespace ArgumentParser {

std::vector<std::string> characters(std::string_view text) {
  auto views = text::characters(text);
  return std::vector<std::string>(views.begin(), views.end());
}

std::vector<std::string_view> characterViews(std::string_view text) { return text::characters(text); }

std::size_t characterCount(std::string_view text) { return text::characterCount(text); }

bool startsWithCharacter(std::string_view text, std::string_view character) {
  return !character.empty() && text.starts_with(character) &&
         text::droppingFirstCharacters(text, 1).size() == text.size() - character.size();
}

bool isSingleCharacter(std::string_view text) {
  return !text.empty() && text::droppingFirstCharacters(text, 1).empty();
}

bool isUppercase(std::string_view character) {
  auto first = character.empty() ? std::nullopt : text::decodeAt(character, 0);
  return first && text::isUppercaseLetter(first->value);
}

bool isLowercase(std::string_view character) {
  auto first = character.empty() ? std::nullopt : text::decodeAt(character, 0);
  return first && text::isLowercaseLetter(first->value);
}

std::string lowercased(std::string_view text) { return text::lowercased(text); }
std::string uppercased(std::string_view text) { return text::uppercased(text); }

}  // namespace ArgumentParser
