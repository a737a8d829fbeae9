#pragma once
// The four declaration kinds: Flag, Option, Argument and OptionGroup. Each
// member starts in the definition state (it describes the argument) and holds
// its value once the command has been decoded; reading it before that is a
// programming fault.

#include <algorithm>
#include <any>
#include <concepts>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "argument_parser/argument_decoder.h"
#include "argument_parser/argument_definition.h"
#include "argument_parser/errors.h"
#include "argument_parser/expressible_by_argument.h"
#include "argument_parser/parsable_command.h"

namespace ArgumentParser {

// Stops the program: a property was read before parsing.
[[noreturn]] void unparsedPropertyFault();

// The value after parsing; the definition state before.
template <class V>
class ParsedProperty {
 public:
  const V& value() const {
    if (!value_) unparsedPropertyFault();
    return *value_;
  }
  operator const V&() const { return value(); }
  const V& operator*() const { return value(); }
  const V* operator->() const { return &value(); }
  bool isParsed() const { return value_.has_value(); }
  void setValue(V value) { value_ = std::move(value); }

 protected:
  // "Flag(*definition*)" before parsing, "Flag(<value>)" after.
  std::string describe(const char* kind) const;
  std::optional<V> value_;
};

// --- decoding helpers -------------------------------------------------------

[[noreturn]] void throwWrongType(const InputKey& key, const std::any& value);

template <class V>
V decodeRequired(ArgumentDecoder& decoder, const InputKey& key) {
  const auto* element = decoder.element(key);
  if (!element || !element->value.has_value()) throw ParserError::noValue(key);
  if (const auto* v = std::any_cast<V>(&element->value)) return *v;
  throwWrongType(key, element->value);
}

template <class V>
std::optional<V> decodeOptional(ArgumentDecoder& decoder, const InputKey& key) {
  const auto* element = decoder.element(key);
  if (!element || !element->value.has_value()) return std::nullopt;
  if (const auto* v = std::any_cast<V>(&element->value)) return *v;
  throwWrongType(key, element->value);
}

// Stores a flag's value under the exclusivity rule of its group.
void setExclusive(std::any value, const std::function<bool(const std::any&)>& isSameValue, const InputKey& key,
                  const InputOrigin& origin, FlagExclusivity exclusivity, ParsedValues& values);

// --- Flag -------------------------------------------------------------------

struct FlagSettings {
  NameSpecification name = NameSpecification::long_();
  std::optional<FlagInversion> inversion{};  // absent: a plain flag
  FlagExclusivity exclusivity = FlagExclusivity::chooseLast;
  ArgumentHelp help{};
};

ArgumentSet boolFlagDefinitions(const InputKey& key, const FlagSettings& settings, std::optional<bool> initial);
ArgumentSet countingFlagDefinitions(const InputKey& key, const FlagSettings& settings);

// The cases of an enumerable flag: specialise EnumerableFlagTraits<E> with
//   static std::vector<E> allCases();  static std::string name(E);
// and optionally
//   static NameSpecification nameSpecification(E);  static ArgumentHelp help(E);
template <class E>
struct EnumerableFlagTraits;

template <class E>
concept EnumerableFlag = requires(E e) {
  { EnumerableFlagTraits<E>::allCases() } -> std::convertible_to<std::vector<E>>;
  { EnumerableFlagTraits<E>::name(e) } -> std::convertible_to<std::string>;
};

struct EnumerableFlagSettings {
  FlagExclusivity exclusivity = FlagExclusivity::exclusive;
  ArgumentHelp help{};
};

template <class V>
class Flag;

// A Bool flag: with a default (optional) or without (required); plain or an
// inverted pair (`--x`/`--no-x`).
template <>
class Flag<bool> : public ParsedProperty<bool> {
 public:
  Flag() = default;
  Flag(FlagSettings settings) : settings_(std::move(settings)) {}
  Flag(bool initial, FlagSettings settings) : initial_(initial), settings_(std::move(settings)) {}

  ArgumentSet argumentSet(const InputKey& key, ArgumentVisibility) const {
    return boolFlagDefinitions(key, settings_, initial_);
  }
  void decode(ArgumentDecoder& decoder, const InputKey& key) { setValue(decodeRequired<bool>(decoder, key)); }
  std::string description() const { return describe("Flag"); }

 private:
  std::optional<bool> initial_;
  FlagSettings settings_;
};

// A counting flag: each occurrence adds one.
template <>
class Flag<int> : public ParsedProperty<int> {
 public:
  Flag() = default;
  Flag(FlagSettings settings) : settings_(std::move(settings)) {}

  ArgumentSet argumentSet(const InputKey& key, ArgumentVisibility) const {
    return countingFlagDefinitions(key, settings_);
  }
  void decode(ArgumentDecoder& decoder, const InputKey& key) { setValue(decodeRequired<int>(decoder, key)); }
  std::string description() const { return describe("Flag"); }

 private:
  FlagSettings settings_;
};

struct EnumerableCase {
  std::vector<Name> names{};
  ArgumentHelp help{};
  bool hasOwnHelp = false;
};
// One definition per case; `update(i, origin, values)` stores case i.
ArgumentSet enumerableFlagDefinitions(
    const InputKey& key, const std::vector<EnumerableCase>& cases, const EnumerableFlagSettings& settings,
    bool isOptional, bool isRepeating, std::optional<std::size_t> initialCase,
    std::function<void(std::size_t, const InputOrigin&, ParsedValues&)> update,
    std::function<void(const InputOrigin&, ParsedValues&)> initial);

template <EnumerableFlag E>
std::vector<EnumerableCase> enumerableCases(const InputKey& key) {
  (void)key;
  std::vector<EnumerableCase> cases;
  for (E e : EnumerableFlagTraits<E>::allCases()) {
    EnumerableCase c;
    NameSpecification spec = NameSpecification::long_();
    if constexpr (requires { EnumerableFlagTraits<E>::nameSpecification(e); })
      spec = EnumerableFlagTraits<E>::nameSpecification(e);
    c.names = spec.makeNames(EnumerableFlagTraits<E>::name(e));
    if constexpr (requires { EnumerableFlagTraits<E>::help(e); }) {
      c.help = EnumerableFlagTraits<E>::help(e);
      c.hasOwnHelp = true;
    }
    cases.push_back(std::move(c));
  }
  return cases;
}

template <EnumerableFlag E>
std::size_t caseIndex(E value) {
  auto all = EnumerableFlagTraits<E>::allCases();
  return static_cast<std::size_t>(std::find(all.begin(), all.end(), value) - all.begin());
}

// A flag per case of E; with a default, or required.
template <EnumerableFlag E>
class Flag<E> : public ParsedProperty<E> {
 public:
  Flag() = default;
  Flag(EnumerableFlagSettings settings) : settings_(std::move(settings)) {}
  Flag(E initial, EnumerableFlagSettings settings = {}) : initial_(initial), settings_(std::move(settings)) {}

  ArgumentSet argumentSet(const InputKey& key, ArgumentVisibility) const {
    auto exclusivity = settings_.exclusivity;
    auto initial = initial_;
    return enumerableFlagDefinitions(
        key, enumerableCases<E>(key), settings_, initial_.has_value(), false,
        initial_ ? std::optional<std::size_t>(caseIndex(*initial_)) : std::nullopt,
        [key, exclusivity](std::size_t i, const InputOrigin& origin, ParsedValues& values) {
          setExclusive(EnumerableFlagTraits<E>::allCases()[i],
                       [i](const std::any& old) { return std::any_cast<E>(old) == EnumerableFlagTraits<E>::allCases()[i]; },
                       key, origin, exclusivity, values);
        },
        [key, initial](const InputOrigin& origin, ParsedValues& values) {
          if (initial) values.set(*initial, key, origin);
        });
  }
  void decode(ArgumentDecoder& decoder, const InputKey& key) { this->setValue(decodeRequired<E>(decoder, key)); }
  std::string description() const { return this->describe("Flag"); }

 private:
  std::optional<E> initial_;
  EnumerableFlagSettings settings_;
};

// An optional case of E: absent when no flag of the group is given.
template <EnumerableFlag E>
class Flag<std::optional<E>> : public ParsedProperty<std::optional<E>> {
 public:
  Flag() = default;
  Flag(EnumerableFlagSettings settings) : settings_(std::move(settings)) {}

  ArgumentSet argumentSet(const InputKey& key, ArgumentVisibility) const {
    auto exclusivity = settings_.exclusivity;
    return enumerableFlagDefinitions(
        key, enumerableCases<E>(key), settings_, true, false, std::nullopt,
        [key, exclusivity](std::size_t i, const InputOrigin& origin, ParsedValues& values) {
          setExclusive(EnumerableFlagTraits<E>::allCases()[i],
                       [i](const std::any& old) { return std::any_cast<E>(old) == EnumerableFlagTraits<E>::allCases()[i]; },
                       key, origin, exclusivity, values);
        },
        [](const InputOrigin&, ParsedValues&) {});
  }
  void decode(ArgumentDecoder& decoder, const InputKey& key) { this->setValue(decodeOptional<E>(decoder, key)); }
  std::string description() const { return this->describe("Flag"); }

 private:
  EnumerableFlagSettings settings_;
};

// Every case given, in order of input.
template <EnumerableFlag E>
class Flag<std::vector<E>> : public ParsedProperty<std::vector<E>> {
 public:
  Flag() = default;
  Flag(EnumerableFlagSettings settings) : settings_(std::move(settings)) {}
  Flag(std::vector<E> initial, EnumerableFlagSettings settings = {})
      : initial_(std::move(initial)), settings_(std::move(settings)) {}

  ArgumentSet argumentSet(const InputKey& key, ArgumentVisibility) const {
    auto initial = initial_;
    return enumerableFlagDefinitions(
        key, enumerableCases<E>(key), settings_, true, true, std::nullopt,
        [key](std::size_t i, const InputOrigin& origin, ParsedValues& values) {
          values.appendToArray(EnumerableFlagTraits<E>::allCases()[i], key, origin);
        },
        [key, initial](const InputOrigin& origin, ParsedValues& values) {
          values.set(initial, key, origin);
          if (auto* e = values.element(key)) e->shouldClearArrayIfParsed = true;
        });
  }
  void decode(ArgumentDecoder& decoder, const InputKey& key) {
    this->setValue(decodeOptional<std::vector<E>>(decoder, key).value_or(std::vector<E>{}));
  }
  std::string description() const { return this->describe("Flag"); }

 private:
  std::vector<E> initial_;
  EnumerableFlagSettings settings_;
};

// --- Option and Argument ------------------------------------------------------

struct OptionSettings {
  NameSpecification name = NameSpecification::long_();
  SingleValueParsingStrategy parsing = SingleValueParsingStrategy::next;
  ArgumentHelp help{};
  std::optional<CompletionKind> completion{};
};

struct ArrayOptionSettings {
  NameSpecification name = NameSpecification::long_();
  ArrayParsingStrategy parsing = ArrayParsingStrategy::singleValue;
  ArgumentHelp help{};
  std::optional<CompletionKind> completion{};
};

struct ArgumentSettings {
  ArgumentHelp help{};
  std::optional<CompletionKind> completion{};
};

struct ArrayArgumentSettings {
  ArgumentArrayParsingStrategy parsing = ArgumentArrayParsingStrategy::remaining;
  ArgumentHelp help{};
  std::optional<CompletionKind> completion{};
};

// The type-independent part of a value-taking declaration.
struct ValueDeclaration {
  ArgumentDefinition::Kind kind{};
  ParsingStrategy parsing = ParsingStrategy::default_;
  ArgumentHelp help{};
  CompletionKind completion{};
  bool isOptional = false;
  bool isRepeating = false;
  std::optional<std::string> defaultValue{};
  std::vector<std::string> allValueStrings{};
};
// One definition with a unary update. `convertAndStore` throws
// `unableToParseValue` when the text is no value.
ArgumentDefinition valueDefinition(const InputKey& key, ValueDeclaration declaration,
                                   ArgumentDefinition::UnaryUpdate update, ArgumentDefinition::Initial initial);

template <ArgumentValue V>
ArgumentDefinition::UnaryUpdate storingUpdate(const InputKey& key, bool appends) {
  return [key, appends](const InputOrigin& origin, const std::optional<Name>& name, const std::string& text,
                        ParsedValues& values) {
    auto converted = ExpressibleByArgument<V>::parse(text);
    if (!converted) throw ParserError::unableToParseValue(origin, name, text, key);
    if (appends)
      values.appendToArray(*converted, key, origin);
    else
      values.set(*converted, key, origin);
  };
}

template <ArgumentValue V>
std::optional<std::string> joinedDescriptions(const std::vector<V>& values) {
  if (values.empty()) return std::nullopt;
  std::string text;
  for (const auto& v : values) {
    if (!text.empty()) text += ", ";
    text += ExpressibleByArgument<V>::defaultValueDescription(v);
  }
  return text;
}

// The declaration behind Option<V> and Argument<V> for the three shapes of V.
template <class V>
struct ValueShape {
  using Element = V;
  static constexpr bool isArray = false;
  static constexpr bool isOptionalType = false;
};
template <class V>
struct ValueShape<std::optional<V>> {
  using Element = V;
  static constexpr bool isArray = false;
  static constexpr bool isOptionalType = true;
};
template <class V>
struct ValueShape<std::vector<V>> {
  using Element = V;
  static constexpr bool isArray = true;
  static constexpr bool isOptionalType = false;
};

template <class V>
ArgumentSet valueArgumentSet(const InputKey& key, ArgumentDefinition::Kind kind, ParsingStrategy parsing,
                             const ArgumentHelp& help, const std::optional<CompletionKind>& completion,
                             const std::optional<V>& initial) {
  using Shape = ValueShape<V>;
  using E = typename Shape::Element;
  ValueDeclaration declaration;
  declaration.kind = std::move(kind);
  declaration.parsing = parsing;
  declaration.help = help;
  declaration.completion = completion.value_or(ExpressibleByArgument<E>::defaultCompletionKind());
  declaration.allValueStrings = ExpressibleByArgument<E>::allValueStrings();
  ArgumentDefinition::Initial store = [](const InputOrigin&, ParsedValues&) {};
  if constexpr (Shape::isArray) {
    declaration.isOptional = true;
    declaration.isRepeating = true;
    std::vector<E> start = initial.value_or(std::vector<E>{});
    declaration.defaultValue = joinedDescriptions(start);
    store = [key, start](const InputOrigin& origin, ParsedValues& values) {
      values.set(start, key, origin);
      if (auto* e = values.element(key)) e->shouldClearArrayIfParsed = true;
    };
  } else if constexpr (Shape::isOptionalType) {
    declaration.isOptional = true;
  } else {
    declaration.isOptional = initial.has_value();
    if (initial) {
      declaration.defaultValue = ExpressibleByArgument<E>::defaultValueDescription(*initial);
      E start = *initial;
      store = [key, start](const InputOrigin& origin, ParsedValues& values) { values.set(start, key, origin); };
    }
  }
  return ArgumentSet(valueDefinition(key, std::move(declaration), storingUpdate<E>(key, Shape::isArray), store));
}

template <class V>
V decodeShaped(ArgumentDecoder& decoder, const InputKey& key) {
  using Shape = ValueShape<V>;
  if constexpr (Shape::isOptionalType)
    return decodeOptional<typename Shape::Element>(decoder, key);
  else
    return decodeRequired<V>(decoder, key);
}

// A named argument with a value: `--count 3`, `--count=3`, `-c3`.
template <class V>
class Option : public ParsedProperty<V> {
  using Shape = ValueShape<V>;
  using Settings = std::conditional_t<Shape::isArray, ArrayOptionSettings, OptionSettings>;

 public:
  Option() = default;
  Option(Settings settings) : settings_(std::move(settings)) {}
  Option(V initial, Settings settings) : initial_(std::move(initial)), settings_(std::move(settings)) {}

  ArgumentSet argumentSet(const InputKey& key, ArgumentVisibility) const {
    return valueArgumentSet<V>(key, ArgumentDefinition::Kind::named(settings_.name.makeNames(key.name)),
                               parsingStrategy(settings_.parsing), settings_.help, settings_.completion, initial_);
  }
  void decode(ArgumentDecoder& decoder, const InputKey& key) { this->setValue(decodeShaped<V>(decoder, key)); }
  std::string description() const { return this->describe("Option"); }

 private:
  std::optional<V> initial_;
  Settings settings_;
};

// A positional argument.
template <class V>
class Argument : public ParsedProperty<V> {
  using Shape = ValueShape<V>;
  using Settings = std::conditional_t<Shape::isArray, ArrayArgumentSettings, ArgumentSettings>;

 public:
  Argument() = default;
  Argument(Settings settings) : settings_(std::move(settings)) {}
  Argument(V initial, Settings settings) : initial_(std::move(initial)), settings_(std::move(settings)) {}

  ArgumentSet argumentSet(const InputKey& key, ArgumentVisibility) const {
    ParsingStrategy parsing = ParsingStrategy::default_;
    if constexpr (Shape::isArray) parsing = parsingStrategy(settings_.parsing);
    return valueArgumentSet<V>(key, ArgumentDefinition::Kind::positional(), parsing, settings_.help,
                               settings_.completion, initial_);
  }
  void decode(ArgumentDecoder& decoder, const InputKey& key) { this->setValue(decodeShaped<V>(decoder, key)); }
  std::string description() const { return this->describe("Argument"); }

 private:
  std::optional<V> initial_;
  Settings settings_;
};

// --- OptionGroup --------------------------------------------------------------

struct OptionGroupSettings {
  std::string title{};
  ArgumentVisibility visibility = ArgumentVisibility::default_;
};

// Places the group's definitions under its title and visibility.
ArgumentSet groupDefinitions(const ArgumentSet& set, const OptionGroupSettings& settings);

// The arguments of another ParsableArguments type G, included in place.
template <class G>
class OptionGroup : public ParsedProperty<G> {
 public:
  OptionGroup() = default;
  OptionGroup(OptionGroupSettings settings) : settings_(std::move(settings)) {}

  ArgumentSet argumentSet(const InputKey& key, ArgumentVisibility) const {
    return groupDefinitions(typeOf<G>()->argumentSet(ArgumentVisibility::private_, childPath(key)), settings_);
  }
  void decode(ArgumentDecoder& decoder, const InputKey& key) {
    for (const auto& earlier : decoder.previouslyDecoded) {
      if (earlier.type == typeOf<G>()) {
        this->setValue(*std::static_pointer_cast<G>(earlier.value));
        return;
      }
    }
    auto decoded = typeOf<G>()->decode(decoder, childPath(key));
    try {
      decoded->validate();
    } catch (...) {
      throw ParserError::userValidationError(std::current_exception());
    }
    decoder.previouslyDecoded.push_back({typeOf<G>(), decoded});
    this->setValue(*std::static_pointer_cast<G>(decoded));
  }
  const std::string& title() const { return settings_.title; }
  std::string description() const { return this->describe("OptionGroup"); }

 private:
  static std::vector<std::string> childPath(const InputKey& key) {
    auto path = key.path;
    path.push_back(key.name);
    return path;
  }
  OptionGroupSettings settings_;
};

template <class V>
std::string ParsedProperty<V>::describe(const char* kind) const {
  std::string text = kind;
  if (!value_) return text + "(*definition*)";
  if constexpr (ArgumentValue<V>) return text + "(" + ExpressibleByArgument<V>::defaultValueDescription(*value_) + ")";
  return text + "(…)";
}

}  // namespace ArgumentParser
