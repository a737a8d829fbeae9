#include "argument_parser/properties.h"

namespace ArgumentParser {

void unparsedPropertyFault() {
  fatalError(
      "Can't read a value from a parsable\u00A0argument definition.\n\n"
      "This error indicates that a property declared with a Flag, Option, Argument or OptionGroup was read "
      "before its command was parsed. To get a value, call `parse`, `parseAsRoot` or `main`.");
}

void throwWrongType(const InputKey& key, const std::any& value) {
  InternalParseError error;
  error.kind = InternalParseError::Case::wrongType;
  error.valueRepresentation = value.type().name();
  error.key = key;
  throw error;
}

namespace {

// Whether the element holds a value that input, not the default, has set.
bool setByInput(const ParsedValues::Element& element) {
  if (!element.value.has_value()) return false;
  for (const auto& origin : element.inputOrigin.elements)
    if (!origin.isDefaultValue()) return true;
  return false;
}

ArgumentDefinition namedNullary(const InputKey& key, std::vector<Name> names, const ArgumentHelp& help,
                                unsigned options) {
  ArgumentDefinition d;
  d.kind = ArgumentDefinition::Kind::named(std::move(names));
  d.help.options = options;
  d.help.keys = {key};
  d.help.abstract = help.abstract;
  d.help.discussion = help.discussion;
  d.help.valueName = help.valueName.value_or("");
  d.help.visibility = help.visibility;
  d.completion = CompletionKind::default_();
  return d;
}

}  // namespace

void setExclusive(std::any value, const std::function<bool(const std::any&)>& isSameValue, const InputKey& key,
                  const InputOrigin& origin, FlagExclusivity exclusivity, ParsedValues& values) {
  const auto* previous = values.element(key);
  if (previous && setByInput(*previous)) {
    switch (exclusivity) {
      case FlagExclusivity::exclusive:
        if (!isSameValue(previous->value))
          throw ParserError::duplicateExclusiveValues(previous->inputOrigin, origin, values.originalInput());
        break;
      case FlagExclusivity::chooseFirst:
        values.set(previous->value, key, origin);
        return;
      case FlagExclusivity::chooseLast:
        break;
    }
  }
  values.set(std::move(value), key, origin);
}

ArgumentSet boolFlagDefinitions(const InputKey& key, const FlagSettings& settings, std::optional<bool> initial) {
  const unsigned options = initial ? ArgumentDefinition::Help::isOptional : 0u;
  ArgumentDefinition::Initial storeInitial = [key, initial](const InputOrigin& origin, ParsedValues& values) {
    if (initial) values.set(*initial, key, origin);
  };
  std::optional<std::string> defaultText;
  if (initial == true) defaultText = "true";

  if (!settings.inversion) {
    auto d = namedNullary(key, settings.name.makeNames(key.name), settings.help, options);
    d.help.defaultValue = defaultText;
    d.update = ArgumentDefinition::Update::makeNullary(
        [key](const InputOrigin& origin, const std::optional<Name>&, ParsedValues& values) {
          values.set(true, key, origin);
        });
    d.initial = storeInitial;
    return ArgumentSet(std::move(d));
  }

  auto names = makeInvertedNames(settings.name, key.name, *settings.inversion);
  auto exclusivity = settings.exclusivity;
  auto updateTo = [key, exclusivity](bool value) {
    return ArgumentDefinition::Update::makeNullary(
        [key, exclusivity, value](const InputOrigin& origin, const std::optional<Name>&, ParsedValues& values) {
          setExclusive(value, [value](const std::any& old) { return std::any_cast<bool>(old) == value; }, key, origin,
                       exclusivity, values);
        });
  };
  auto enable = namedNullary(key, names.enabling, settings.help, options);
  enable.help.isComposite = true;
  enable.help.defaultValue = defaultText;
  enable.update = updateTo(true);
  enable.initial = storeInitial;
  auto disable = namedNullary(key, names.inverted, settings.help, ArgumentDefinition::Help::isOptional);
  disable.help.isComposite = true;
  disable.update = updateTo(false);
  disable.initial = [](const InputOrigin&, ParsedValues&) {};
  ArgumentSet set;
  set.append(std::move(enable));
  set.append(std::move(disable));
  return set;
}

ArgumentSet countingFlagDefinitions(const InputKey& key, const FlagSettings& settings) {
  auto d = namedNullary(key, settings.name.makeNames(key.name), settings.help,
                        ArgumentDefinition::Help::isOptional | ArgumentDefinition::Help::isRepeating);
  d.update = ArgumentDefinition::Update::makeNullary(
      [key](const InputOrigin& origin, const std::optional<Name>&, ParsedValues& values) {
        const auto* element = values.element(key);
        int count = 0;
        if (element)
          if (const auto* stored = std::any_cast<int>(&element->value)) count = *stored;
        values.set(count + 1, key, origin);
      });
  d.initial = [key](const InputOrigin& origin, ParsedValues& values) { values.set(0, key, origin); };
  return ArgumentSet(std::move(d));
}

ArgumentSet enumerableFlagDefinitions(const InputKey& key, const std::vector<EnumerableCase>& cases,
                                      const EnumerableFlagSettings& settings, bool isOptional, bool isRepeating,
                                      std::optional<std::size_t> initialCase,
                                      std::function<void(std::size_t, const InputOrigin&, ParsedValues&)> update,
                                      std::function<void(const InputOrigin&, ParsedValues&)> initial) {
  bool anyOwnHelp = false;
  for (const auto& c : cases) anyOwnHelp = anyOwnHelp || c.hasOwnHelp;
  unsigned options = (isOptional ? ArgumentDefinition::Help::isOptional : 0u) |
                     (isRepeating ? ArgumentDefinition::Help::isRepeating : 0u);
  ArgumentSet set;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const auto& c = cases[i];
    auto d = namedNullary(key, c.names, c.hasOwnHelp ? c.help : settings.help, options);
    if (!c.hasOwnHelp) d.help.visibility = settings.help.visibility;
    d.help.isComposite = !anyOwnHelp;
    if (initialCase == i && !c.names.empty()) d.help.defaultValue = preferredName(c.names)->synopsisString();
    d.update = ArgumentDefinition::Update::makeNullary(
        [i, update](const InputOrigin& origin, const std::optional<Name>&, ParsedValues& values) {
          update(i, origin, values);
        });
    d.initial = i == 0 ? initial : [](const InputOrigin&, ParsedValues&) {};
    set.append(std::move(d));
  }
  return set;
}

ArgumentDefinition valueDefinition(const InputKey& key, ValueDeclaration declaration,
                                   ArgumentDefinition::UnaryUpdate update, ArgumentDefinition::Initial initial) {
  ArgumentDefinition d;
  d.kind = std::move(declaration.kind);
  d.help.options = (declaration.isOptional ? ArgumentDefinition::Help::isOptional : 0u) |
                   (declaration.isRepeating ? ArgumentDefinition::Help::isRepeating : 0u);
  d.help.defaultValue = std::move(declaration.defaultValue);
  d.help.keys = {key};
  d.help.allValueStrings = std::move(declaration.allValueStrings);
  d.help.abstract = declaration.help.abstract;
  d.help.discussion = declaration.help.discussion;
  d.help.valueName = declaration.help.valueName.value_or("");
  d.help.visibility = declaration.help.visibility;
  d.completion = std::move(declaration.completion);
  d.parsingStrategy = declaration.parsing;
  d.update = ArgumentDefinition::Update::makeUnary(std::move(update));
  d.initial = std::move(initial);
  return d;
}

ArgumentSet groupDefinitions(const ArgumentSet& set, const OptionGroupSettings& settings) {
  ArgumentSet result;
  for (auto d : set) {
    if (settings.visibility > d.help.visibility) d.help.visibility = settings.visibility;
    if (!settings.title.empty()) d.help.parentTitle = settings.title;
    result.append(std::move(d));
  }
  return result;
}

}  // namespace ArgumentParser
