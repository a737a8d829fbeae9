#pragma once
// The name of a named argument (`--name`, `-c`, `-name`) and the
// set of name elements from which a declaration's names are made.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace ArgumentParser {

struct Name {
  enum class Kind { long_, short_, longWithSingleDash };

  Kind kind = Kind::long_;
  // The bare name: a word for the long forms, one character for `short_`.
  std::string text;
  // Only meaningful for `short_`: the value may be joined to the letter (`-ofile`).
  bool allowingJoined = false;

  static Name makeLong(std::string name);
  static Name makeShort(std::string character, bool allowingJoined = false);
  static Name makeShort(char character, bool allowingJoined = false);
  static Name makeLongWithSingleDash(std::string name);

  // "--name", "-c" or "-name".
  std::string synopsisString() const;
  // The bare name without dashes.
  const std::string& valueString() const { return text; }
  bool isShort() const { return kind == Kind::short_; }

  // Equal by kind and payload; the two short forms compare both fields.
  bool operator==(const Name& other) const = default;
  // Names are ordered by their synopsis strings.
  bool operator<(const Name& other) const { return synopsisString() < other.synopsisString(); }
};

struct NameHash {
  std::size_t operator()(const Name& name) const;
};

// The preferred name of a list: the first that is not short, else the first.
std::optional<Name> preferredName(const std::vector<Name>& names);

// Identifier to long name: `allDiagnostics` gives "all-diagnostics",
// `JSONReader` gives "json-reader", `knownUUIDs` gives "known-uui-ds".
std::string convertedToSnakeCase(std::string_view identifier, char separator = '-');

struct NameSpecification {
  struct Element {
    enum class Representation { long_, short_, customLong, customShort };
    Representation representation = Representation::long_;
    std::string custom;          // the name of customLong or the character of customShort
    bool withSingleDash = false;  // customLong only
    bool allowingJoined = false;  // customShort only

    bool operator==(const Element&) const = default;

    static Element long_() { return {}; }
    static Element short_() { return {Representation::short_, {}, false, false}; }
    static Element customLong(std::string name, bool withSingleDash = false) {
      return {Representation::customLong, std::move(name), withSingleDash, false};
    }
    static Element customShort(std::string character, bool allowingJoined = false) {
      return {Representation::customShort, std::move(character), false, allowingJoined};
    }
    static Element customShort(char character, bool allowingJoined = false) {
      return customShort(std::string(1, character), allowingJoined);
    }
  };

  NameSpecification() : NameSpecification(std::vector<Element>{Element::long_()}) {}
  // Repeated elements are dropped, the first of each kept.
  NameSpecification(std::initializer_list<Element> elements);
  explicit NameSpecification(std::vector<Element> elements);
  NameSpecification(Element element) : NameSpecification(std::vector<Element>{std::move(element)}) {}

  static NameSpecification long_() { return {Element::long_()}; }
  static NameSpecification short_() { return {Element::short_()}; }
  static NameSpecification shortAndLong() { return {Element::short_(), Element::long_()}; }
  static NameSpecification customLong(std::string name, bool withSingleDash = false) {
    return {Element::customLong(std::move(name), withSingleDash)};
  }
  static NameSpecification customShort(char c, bool allowingJoined = false) {
    return {Element::customShort(c, allowingJoined)};
  }
  static NameSpecification none() { return NameSpecification(std::vector<Element>{}); }

  const std::vector<Element>& elements() const { return elements_; }
  bool operator==(const NameSpecification&) const = default;

  // One name per element, in element order, for the property `keyName`.
  std::vector<Name> makeNames(std::string_view keyName) const;

 private:
  std::vector<Element> elements_;
};

enum class FlagInversion { prefixedNo, prefixedEnableDisable };
enum class FlagExclusivity { exclusive, chooseFirst, chooseLast };

// The enabling and the inverted names of an inverted flag pair.
struct InvertedNames {
  std::vector<Name> enabling;
  std::vector<Name> inverted;
};
InvertedNames makeInvertedNames(const NameSpecification& nameSpec, std::string_view keyName,
                                FlagInversion inversion);

}  // namespace ArgumentParser
