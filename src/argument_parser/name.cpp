#include <algorithm>
#include <functional>

#include "argument_parser/characters.h"
#include "argument_parser/errors.h"
#include "argument_parser/name.h"

namespace ArgumentParser {

Name Name::makeLong(std::string name) { return {Kind::long_, std::move(name), false}; }
Name Name::makeShort(std::string character, bool allowingJoined) {
  return {Kind::short_, std::move(character), allowingJoined};
}
Name Name::makeShort(char character, bool allowingJoined) {
  return makeShort(std::string(1, character), allowingJoined);
}
Name Name::makeLongWithSingleDash(std::string name) { return {Kind::longWithSingleDash, std::move(name), false}; }

std::string Name::synopsisString() const {
  switch (kind) {
    case Kind::long_:
      return "--" + text;
    case Kind::short_:
    case Kind::longWithSingleDash:
      return "-" + text;
  }
  return text;
}

std::size_t NameHash::operator()(const Name& name) const {
  return std::hash<std::string>()(name.text) ^ (static_cast<std::size_t>(name.kind) << 1) ^
         (name.allowingJoined ? 0x9e3779b9u : 0u);
}

std::optional<Name> preferredName(const std::vector<Name>& names) {
  for (const auto& name : names)
    if (!name.isShort()) return name;
  if (!names.empty()) return names.front();
  return std::nullopt;
}

std::string convertedToSnakeCase(std::string_view identifier, char separator) {
  auto chars = characters(identifier);
  std::string result;
  bool separate = true;
  const std::string separatorText(1, separator);
  for (std::size_t i = 0; i < chars.size(); ++i) {
    const auto& c = chars[i];
    if (isUppercase(c)) {
      if (separate && !result.empty()) result += separator;
      separate = i + 2 < chars.size() && isUppercase(chars[i + 1]) && isLowercase(chars[i + 2]);
    } else {
      separate = c != separatorText;
    }
    result += lowercased(c);
  }
  return result;
}

NameSpecification::NameSpecification(std::initializer_list<Element> elements)
    : NameSpecification(std::vector<Element>(elements)) {}

NameSpecification::NameSpecification(std::vector<Element> elements) {
  for (auto& e : elements)
    if (std::find(elements_.begin(), elements_.end(), e) == elements_.end()) elements_.push_back(std::move(e));
}

namespace {

Name makeName(const NameSpecification::Element& element, std::string_view keyName) {
  using R = NameSpecification::Element::Representation;
  switch (element.representation) {
    case R::long_:
      return Name::makeLong(convertedToSnakeCase(keyName));
    case R::short_: {
      auto chars = characters(keyName);
      if (chars.empty())
        fatalError("Key '" + std::string(keyName) + "' has not characters to form short option name.");
      return Name::makeShort(chars.front(), false);
    }
    case R::customLong:
      return element.withSingleDash ? Name::makeLongWithSingleDash(element.custom) : Name::makeLong(element.custom);
    case R::customShort:
      return Name::makeShort(element.custom, element.allowingJoined);
  }
  return Name::makeLong(std::string(keyName));
}

// The first character uppercased.
std::string capitalized(std::string_view text) {
  auto chars = characters(text);
  if (chars.empty()) return {};
  std::string result = uppercased(chars.front());
  for (std::size_t i = 1; i < chars.size(); ++i) result += chars[i];
  return result;
}

std::string prefixedCustomName(const std::string& prefix, const std::string& name) {
  if (name.find('-') != std::string::npos) return prefix + "-" + name;
  if (name.find('_') != std::string::npos) return prefix + "_" + name;
  auto chars = characters(name);
  if (!chars.empty() && isLowercase(chars.front()) &&
      std::any_of(chars.begin() + 1, chars.end(), [](const std::string& c) { return isUppercase(c); }))
    return prefix + capitalized(name);
  return prefix + "-" + name;
}

std::vector<Name> prefixedNames(const NameSpecification& nameSpec, std::string_view keyName,
                                const std::string& prefix) {
  using R = NameSpecification::Element::Representation;
  std::vector<Name> names;
  for (const auto& element : nameSpec.elements()) {
    switch (element.representation) {
      case R::long_:
        names.push_back(Name::makeLong(convertedToSnakeCase(prefix + capitalized(keyName))));
        break;
      case R::customLong: {
        auto n = prefixedCustomName(prefix, element.custom);
        names.push_back(element.withSingleDash ? Name::makeLongWithSingleDash(n) : Name::makeLong(n));
        break;
      }
      case R::short_:
      case R::customShort:
        break;  // short names take part only in the enabling name
    }
  }
  return names;
}

}  // namespace

std::vector<Name> NameSpecification::makeNames(std::string_view keyName) const {
  std::vector<Name> names;
  for (const auto& e : elements_) names.push_back(makeName(e, keyName));
  return names;
}

InvertedNames makeInvertedNames(const NameSpecification& nameSpec, std::string_view keyName,
                                FlagInversion inversion) {
  switch (inversion) {
    case FlagInversion::prefixedNo:
      return {nameSpec.makeNames(keyName), prefixedNames(nameSpec, keyName, "no")};
    case FlagInversion::prefixedEnableDisable: {
      // The enabling names: short names as declared, long names prefixed.
      std::vector<Name> enabling;
      using R = NameSpecification::Element::Representation;
      auto prefixed = prefixedNames(nameSpec, keyName, "enable");
      std::size_t next = 0;
      for (const auto& element : nameSpec.elements()) {
        if (element.representation == R::short_ || element.representation == R::customShort)
          enabling.push_back(makeName(element, keyName));
        else
          enabling.push_back(prefixed[next++]);
      }
      return {enabling, prefixedNames(nameSpec, keyName, "disable")};
    }
  }
  return {};
}

}  // namespace ArgumentParser
