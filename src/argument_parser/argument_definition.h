#pragma once
// The flat description of a command's arguments that parsing, messages,
// help, completion scripts and the dump all read: one ArgumentDefinition per
// declared argument or flag value, collected in declaration order in an
// ArgumentSet.

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "argument_parser/completion_kind.h"
#include "argument_parser/input_key.h"
#include "argument_parser/input_origin.h"
#include "argument_parser/name.h"

namespace ArgumentParser {

class ParsedValues;

// In order of decreasing visibility.
enum class ArgumentVisibility { default_, hidden, private_ };

// What a declaration says about itself; a plain string is its abstract.
struct ArgumentHelp {
  std::string abstract;
  std::string discussion;
  std::optional<std::string> valueName;
  ArgumentVisibility visibility = ArgumentVisibility::default_;

  ArgumentHelp() = default;
  ArgumentHelp(const char* abstract) : abstract(abstract) {}
  ArgumentHelp(std::string abstract, std::string discussion = {}, std::optional<std::string> valueName = {},
               ArgumentVisibility visibility = ArgumentVisibility::default_)
      : abstract(std::move(abstract)),
        discussion(std::move(discussion)),
        valueName(std::move(valueName)),
        visibility(visibility) {}
  static ArgumentHelp hidden(std::string abstract = {}) {
    return ArgumentHelp(std::move(abstract), {}, {}, ArgumentVisibility::hidden);
  }
  static ArgumentHelp private_(std::string abstract = {}) {
    return ArgumentHelp(std::move(abstract), {}, {}, ArgumentVisibility::private_);
  }
};

enum class ParsingStrategy {
  default_,           // a value attached, or the next input if it is a value
  scanningForValue,   // the next value, skipping labels
  unconditional,      // the next input whatever it looks like
  upToNextOption,     // array options: values up to the next label
  allRemainingInput,  // everything that is left
  postTerminator,     // array arguments: what stands behind `--`
  allUnrecognized,    // array arguments: what nothing else took
};

// The strategies offered to each declaration kind.
enum class SingleValueParsingStrategy { next, scanningForValue, unconditional };
enum class ArrayParsingStrategy { singleValue, unconditionalSingleValue, upToNextOption, remaining };
enum class ArgumentArrayParsingStrategy { remaining, unconditionalRemaining, postTerminator, allUnrecognized };

ParsingStrategy parsingStrategy(SingleValueParsingStrategy strategy);
ParsingStrategy parsingStrategy(ArrayParsingStrategy strategy);
ParsingStrategy parsingStrategy(ArgumentArrayParsingStrategy strategy);

struct ArgumentDefinition {
  struct Kind {
    enum class Tag { named, positional, default_ };
    Tag tag = Tag::default_;
    std::vector<Name> names;  // `named` only

    static Kind named(std::vector<Name> names) { return {Tag::named, std::move(names)}; }
    static Kind positional() { return {Tag::positional, {}}; }
    static Kind default_() { return {Tag::default_, {}}; }
  };

  struct Help {
    enum Option : unsigned { isOptional = 1u << 0, isRepeating = 1u << 1 };
    unsigned options = 0;
    std::optional<std::string> defaultValue;  // text for help
    std::vector<InputKey> keys;
    std::vector<std::string> allValueStrings;
    bool isComposite = false;  // one of several definitions sharing a property, printed as one line
    std::string abstract;
    std::string discussion;
    std::string valueName;
    ArgumentVisibility visibility = ArgumentVisibility::default_;
    std::string parentTitle;  // section title of the enclosing option group
  };

  // The update functions may throw (ParserError).
  using NullaryUpdate = std::function<void(const InputOrigin&, const std::optional<Name>&, ParsedValues&)>;
  using UnaryUpdate =
      std::function<void(const InputOrigin&, const std::optional<Name>&, const std::string&, ParsedValues&)>;
  struct Update {
    enum class Tag { nullary, unary };
    Tag tag = Tag::nullary;
    NullaryUpdate nullary;
    UnaryUpdate unary;
    static Update makeNullary(NullaryUpdate f) { return {Tag::nullary, std::move(f), {}}; }
    static Update makeUnary(UnaryUpdate f) { return {Tag::unary, {}, std::move(f)}; }
  };
  using Initial = std::function<void(const InputOrigin&, ParsedValues&)>;

  Kind kind;
  Help help;
  CompletionKind completion;
  ParsingStrategy parsingStrategy = ParsingStrategy::default_;
  Update update;
  Initial initial;

  // Reading helpers.
  bool isNamed() const { return kind.tag == Kind::Tag::named; }
  bool isPositional() const { return kind.tag == Kind::Tag::positional; }
  bool isDefaultKind() const { return kind.tag == Kind::Tag::default_; }
  bool isNullary() const { return update.tag == Update::Tag::nullary; }
  bool isUnary() const { return update.tag == Update::Tag::unary; }
  bool isOptional() const { return (help.options & Help::isOptional) != 0; }
  bool isRepeating() const { return (help.options & Help::isRepeating) != 0; }
  const std::vector<Name>& names() const { return kind.names; }
  std::optional<Name> preferredName() const { return ArgumentParser::preferredName(kind.names); }
  // `help.valueName` if non-empty, else the preferred name's bare name, else
  // the first key's name converted to a long name, else "value".
  std::string valueName() const;
};

class ArgumentSet {
 public:
  ArgumentSet() = default;
  explicit ArgumentSet(ArgumentDefinition definition) { append(std::move(definition)); }
  explicit ArgumentSet(std::vector<ArgumentDefinition> definitions) {
    for (auto& d : definitions) append(std::move(d));
  }

  // Appends the definition and records each of its names that is not taken
  // yet; a short name is entered with `allowingJoined` false.
  void append(ArgumentDefinition definition);
  void append(const ArgumentSet& other) {
    for (const auto& d : other.content_) append(d);
  }

  const std::vector<ArgumentDefinition>& content() const { return content_; }
  std::size_t size() const { return content_.size(); }
  bool empty() const { return content_.empty(); }
  const ArgumentDefinition& operator[](std::size_t i) const { return content_[i]; }
  auto begin() const { return content_.begin(); }
  auto end() const { return content_.end(); }

  // The index of the definition that bears the name (short names are looked
  // up without `allowingJoined`).
  std::optional<std::size_t> position(const Name& name) const;
  const ArgumentDefinition* first(const Name& name) const;
  // The first definition that has the key among its keys.
  const ArgumentDefinition* first(const InputKey& key) const;

 private:
  std::vector<ArgumentDefinition> content_;
  std::unordered_map<Name, std::size_t, NameHash> namePositions_;
};

}  // namespace ArgumentParser
