#pragma once
// The command line split into classified elements, and the working store of
// a parse: elements before `firstUnused` have been used, the rest not yet.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "argument_parser/input_origin.h"
#include "argument_parser/name.h"

namespace ArgumentParser {

struct ParsedArgument {
  Name name;
  std::optional<std::string> value;  // present: `nameWithValue`
  bool operator==(const ParsedArgument&) const = default;
};

// Classification of one word at position `position` (plain function, no
// state): the elements it yields. Throws ParserError::invalidOption.
struct SplitElement;
std::vector<SplitElement> classifyArgument(const std::string& word, int position);

struct SplitElement {
  enum class Kind { option, value, terminator };
  Kind kind = Kind::value;
  ParsedArgument option;  // `option`
  std::string value;      // `value`
  Index index;

  bool isOption() const { return kind == Kind::option; }
  bool isValue() const { return kind == Kind::value; }
  bool isTerminator() const { return kind == Kind::terminator; }
  bool operator==(const SplitElement&) const = default;
};

class SplitArguments {
 public:
  using Element = SplitElement;

  // Classifies every argument; behind a terminator everything is a value.
  // Throws ParserError::invalidOption.
  explicit SplitArguments(std::vector<std::string> arguments);

  const std::vector<Element>& elements() const { return elements_; }
  std::size_t firstUnused() const { return firstUnused_; }
  const std::vector<std::string>& originalInput() const { return originalInput_; }

  bool isEmpty() const { return firstUnused_ >= elements_.size(); }
  std::size_t count() const { return elements_.size() - firstUnused_; }
  bool containsNonTerminatorArguments() const;

  std::optional<std::pair<InputOrigin, Element>> peekNext() const;
  std::optional<std::pair<InputOrigin, Element>> popNext();
  // Behind `origin`: the first complete element if it is a value.
  std::optional<std::pair<Index, std::string>> popNextElementIfValue(const InputOrigin& origin);
  // Behind `origin`: the first value, skipping options and terminators.
  std::optional<std::pair<Index, std::string>> popNextValue(const InputOrigin& origin);
  // Behind `origin`: the first complete element whatever it is, as its text.
  std::optional<std::pair<Index, std::string>> popNextElementAsValue(const InputOrigin& origin);
  // The element at `firstUnused` if it is a value.
  std::optional<std::pair<Index, std::string>> popNextElementIfValue();
  // The first unused value.
  std::optional<std::pair<Index, std::string>> popNextValue();

  std::optional<std::string> originalInput(const InputOrigin::Element& origin) const;
  bool contains(const Name& name) const;
  bool contains(const std::vector<Name>& names) const;

  // Marks as used.
  void remove(std::size_t position);
  void removeSubrange(std::size_t from, std::size_t to);
  void remove(const Index& index);
  void removeAll(const InputOrigin& origin);

  // The leftovers in report form: origin and text.
  std::vector<std::pair<InputOrigin, std::string>> coalescedExtraElements() const;

 private:
  std::optional<std::size_t> positionAfter(const InputOrigin& origin) const;
  std::vector<Element> elements_;
  std::size_t firstUnused_ = 0;
  std::vector<std::string> originalInput_;
};

}  // namespace ArgumentParser
