#pragma once
// Where a parsed value came from: positions in the command line, or the
// declared default.

#include <compare>
#include <optional>
#include <set>
#include <string>

namespace ArgumentParser {

// A position in the original input, from 0.
struct InputIndex {
  int rawValue = 0;
  auto operator<=>(const InputIndex&) const = default;
};

// The whole word, or one letter of a group of short options. `complete`
// orders before every `sub`.
struct SubIndex {
  bool isComplete = true;
  int sub = 0;  // only for a `sub` index
  static SubIndex complete() { return {true, 0}; }
  static SubIndex makeSub(int k) { return {false, k}; }
  bool operator==(const SubIndex& other) const {
    return isComplete == other.isComplete && (isComplete || sub == other.sub);
  }
  std::strong_ordering operator<=>(const SubIndex& other) const {
    if (isComplete != other.isComplete) return isComplete ? std::strong_ordering::less : std::strong_ordering::greater;
    return isComplete ? std::strong_ordering::equal : sub <=> other.sub;
  }
};

struct Index {
  InputIndex inputIndex;
  SubIndex subIndex;
  bool operator==(const Index&) const = default;
  std::strong_ordering operator<=>(const Index& other) const {
    if (auto c = inputIndex <=> other.inputIndex; c != 0) return c;
    return subIndex <=> other.subIndex;
  }
};

struct InputOrigin {
  // `argumentIndex(index)` or `defaultValue`; argument indices order first.
  struct Element {
    std::optional<Index> argumentIndex;  // absent: the default value
    static Element defaultValue() { return {}; }
    static Element at(Index index) { return {index}; }
    bool isDefaultValue() const { return !argumentIndex; }
    bool operator==(const Element&) const = default;
    std::strong_ordering operator<=>(const Element& other) const {
      if (argumentIndex && other.argumentIndex) return *argumentIndex <=> *other.argumentIndex;
      if (argumentIndex) return std::strong_ordering::less;
      if (other.argumentIndex) return std::strong_ordering::greater;
      return std::strong_ordering::equal;
    }
  };

  std::set<Element> elements;

  InputOrigin() = default;
  InputOrigin(Element element) { elements.insert(element); }
  InputOrigin(Index index) { elements.insert(Element::at(index)); }
  static InputOrigin defaultValue() { return InputOrigin(Element::defaultValue()); }

  bool isEmpty() const { return elements.empty(); }
  void formUnion(const InputOrigin& other) { elements.insert(other.elements.begin(), other.elements.end()); }
  InputOrigin unioned(const InputOrigin& other) const {
    InputOrigin result = *this;
    result.formUnion(other);
    return result;
  }
  bool operator==(const InputOrigin&) const = default;
};

}  // namespace ArgumentParser
