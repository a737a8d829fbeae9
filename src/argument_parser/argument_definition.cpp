#include "argument_parser/argument_definition.h"

#include "argument_parser/parsed_values.h"

namespace ArgumentParser {

ParsingStrategy parsingStrategy(SingleValueParsingStrategy strategy) {
  switch (strategy) {
    case SingleValueParsingStrategy::next:
      return ParsingStrategy::default_;
    case SingleValueParsingStrategy::scanningForValue:
      return ParsingStrategy::scanningForValue;
    case SingleValueParsingStrategy::unconditional:
      return ParsingStrategy::unconditional;
  }
  return ParsingStrategy::default_;
}

ParsingStrategy parsingStrategy(ArrayParsingStrategy strategy) {
  switch (strategy) {
    case ArrayParsingStrategy::singleValue:
      return ParsingStrategy::default_;
    case ArrayParsingStrategy::unconditionalSingleValue:
      return ParsingStrategy::unconditional;
    case ArrayParsingStrategy::upToNextOption:
      return ParsingStrategy::upToNextOption;
    case ArrayParsingStrategy::remaining:
      return ParsingStrategy::allRemainingInput;
  }
  return ParsingStrategy::default_;
}

ParsingStrategy parsingStrategy(ArgumentArrayParsingStrategy strategy) {
  switch (strategy) {
    case ArgumentArrayParsingStrategy::remaining:
      return ParsingStrategy::default_;
    case ArgumentArrayParsingStrategy::unconditionalRemaining:
      return ParsingStrategy::allRemainingInput;
    case ArgumentArrayParsingStrategy::postTerminator:
      return ParsingStrategy::postTerminator;
    case ArgumentArrayParsingStrategy::allUnrecognized:
      return ParsingStrategy::allUnrecognized;
  }
  return ParsingStrategy::default_;
}

std::string ArgumentDefinition::valueName() const {
  if (!help.valueName.empty()) return help.valueName;
  if (auto name = preferredName()) return name->valueString();
  if (!help.keys.empty()) return convertedToSnakeCase(help.keys.front().name);
  return "value";
}

void ArgumentSet::append(ArgumentDefinition definition) {
  std::size_t index = content_.size();
  for (const auto& name : definition.kind.names) {
    Name entered = name;
    if (entered.isShort()) entered.allowingJoined = false;
    namePositions_.try_emplace(entered, index);
  }
  content_.push_back(std::move(definition));
}

std::optional<std::size_t> ArgumentSet::position(const Name& name) const {
  Name key = name;
  if (key.isShort()) key.allowingJoined = false;
  auto found = namePositions_.find(key);
  if (found == namePositions_.end()) return std::nullopt;
  return found->second;
}

const ArgumentDefinition* ArgumentSet::first(const Name& name) const {
  auto at = position(name);
  return at ? &content_[*at] : nullptr;
}

const ArgumentDefinition* ArgumentSet::first(const InputKey& key) const {
  for (const auto& d : content_)
    for (const auto& k : d.help.keys)
      if (k == key) return &d;
  return nullptr;
}

void ParsedValues::set(std::any value, const InputKey& key, const InputOrigin& origin) {
  auto found = elements_.find(key);
  if (found == elements_.end()) {
    elements_[key] = Element{key, std::move(value), origin, false};
    return;
  }
  found->second.value = std::move(value);
  found->second.inputOrigin.formUnion(origin);
}

const ParsedValues::Element* ParsedValues::element(const InputKey& key) const {
  auto found = elements_.find(key);
  return found == elements_.end() ? nullptr : &found->second;
}

ParsedValues::Element* ParsedValues::element(const InputKey& key) {
  auto found = elements_.find(key);
  return found == elements_.end() ? nullptr : &found->second;
}

}  // namespace ArgumentParser
