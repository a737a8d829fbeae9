#include "argument_parser/split_arguments.h"

#include <algorithm>

#include "argument_parser/characters.h"
#include "argument_parser/errors.h"

namespace ArgumentParser {
namespace {

SplitElement optionElement(Name name, std::optional<std::string> value, int position, SubIndex sub) {
  SplitElement e;
  e.kind = SplitElement::Kind::option;
  e.option = ParsedArgument{std::move(name), std::move(value)};
  e.index = Index{InputIndex{position}, sub};
  return e;
}

SplitElement valueElement(std::string value, int position) {
  SplitElement e;
  e.kind = SplitElement::Kind::value;
  e.value = std::move(value);
  e.index = Index{InputIndex{position}, SubIndex::complete()};
  return e;
}

SplitElement terminatorElement(int position) {
  SplitElement e;
  e.kind = SplitElement::Kind::terminator;
  e.index = Index{InputIndex{position}, SubIndex::complete()};
  return e;
}

}  // namespace

std::vector<SplitElement> classifyArgument(const std::string& word, int position) {
  // Leading dashes are counted as characters, and three make the word
  // invalid, so no more than three are looked at: a long word is not split.
  std::string_view rest = word;
  std::size_t dashes = 0;
  while (dashes < 3 && startsWithCharacter(rest, "-")) {
    ++dashes;
    rest.remove_prefix(1);
  }
  const auto complete = SubIndex::complete();

  if (rest.empty()) {
    if (dashes <= 1) return {valueElement(word, position)};
    if (dashes == 2) return {terminatorElement(position)};
    throw ParserError::invalidOption(word);
  }
  if (dashes == 0) return {valueElement(word, position)};
  if (dashes == 2) {
    auto eq = word.find('=');
    std::string name = word.substr(2, eq == std::string::npos ? std::string::npos : eq - 2);
    if (eq == std::string::npos || eq + 1 == word.size())
      return {optionElement(Name::makeLong(name), std::nullopt, position, complete)};
    return {optionElement(Name::makeLong(name), word.substr(eq + 1), position, complete)};
  }
  if (dashes >= 3) throw ParserError::invalidOption(word);

  // One dash.
  const std::string remainder = word.substr(1);
  auto eq = remainder.find('=');
  if (eq == std::string::npos) {
    const auto letters = characterViews(remainder);
    if (letters.size() == 1)
      return {optionElement(Name::makeShort(std::string(letters[0])), std::nullopt, position, complete)};
    std::vector<SplitElement> elements{
        optionElement(Name::makeLongWithSingleDash(remainder), std::nullopt, position, complete)};
    for (std::size_t i = 0; i < letters.size(); ++i)
      elements.push_back(
          optionElement(Name::makeShort(std::string(letters[i])), std::nullopt, position, SubIndex::makeSub(static_cast<int>(i))));
    return elements;
  }
  if (eq == 0) {
    Name name = isSingleCharacter(remainder) ? Name::makeShort(remainder) : Name::makeLongWithSingleDash(remainder);
    throw ParserError::invalidOption(name.synopsisString());
  }
  std::string namePart = remainder.substr(0, eq);
  std::string value = remainder.substr(eq + 1);
  if (isSingleCharacter(namePart))
    return {optionElement(Name::makeShort(namePart), value, position, complete)};
  return {optionElement(Name::makeLongWithSingleDash(namePart), value, position, complete)};
}

SplitArguments::SplitArguments(std::vector<std::string> arguments) : originalInput_(std::move(arguments)) {
  for (std::size_t p = 0; p < originalInput_.size(); ++p) {
    auto elements = classifyArgument(originalInput_[p], static_cast<int>(p));
    if (!elements.empty() && elements.front().isTerminator()) {
      elements_.push_back(elements.front());
      for (std::size_t q = p + 1; q < originalInput_.size(); ++q)
        elements_.push_back(valueElement(originalInput_[q], static_cast<int>(q)));
      break;
    }
    elements_.insert(elements_.end(), elements.begin(), elements.end());
  }
}

bool SplitArguments::containsNonTerminatorArguments() const {
  if (isEmpty()) return false;
  if (count() == 1 && elements_[firstUnused_].isTerminator()) return false;
  return true;
}

std::optional<std::pair<InputOrigin, SplitElement>> SplitArguments::peekNext() const {
  if (isEmpty()) return std::nullopt;
  const auto& e = elements_[firstUnused_];
  return std::make_pair(InputOrigin(e.index), e);
}

std::optional<std::pair<InputOrigin, SplitElement>> SplitArguments::popNext() {
  auto next = peekNext();
  if (next) remove(firstUnused_);
  return next;
}

std::optional<std::size_t> SplitArguments::positionAfter(const InputOrigin& origin) const {
  std::optional<Index> index;
  for (const auto& e : origin.elements)
    if (e.argumentIndex) {
      index = *e.argumentIndex;
      break;
    }
  if (!index) return std::nullopt;
  for (std::size_t i = firstUnused_; i < elements_.size(); ++i) {
    const auto& candidate = elements_[i].index;
    if (candidate.inputIndex > index->inputIndex) return i;
    if (candidate.inputIndex == index->inputIndex) {
      if (!candidate.subIndex.isComplete && index->subIndex.isComplete) return i;
      if (!candidate.subIndex.isComplete && !index->subIndex.isComplete && candidate.subIndex.sub > index->subIndex.sub)
        return i;
    }
  }
  return std::nullopt;
}

std::optional<std::pair<Index, std::string>> SplitArguments::popNextElementIfValue(const InputOrigin& origin) {
  auto start = positionAfter(origin);
  if (!start) return std::nullopt;
  for (std::size_t i = *start; i < elements_.size(); ++i) {
    if (!elements_[i].index.subIndex.isComplete) continue;
    if (!elements_[i].isValue()) return std::nullopt;
    auto result = std::make_pair(elements_[i].index, elements_[i].value);
    remove(i);
    return result;
  }
  return std::nullopt;
}

std::optional<std::pair<Index, std::string>> SplitArguments::popNextValue(const InputOrigin& origin) {
  auto start = positionAfter(origin);
  if (!start) return std::nullopt;
  for (std::size_t i = *start; i < elements_.size(); ++i) {
    if (!elements_[i].isValue()) continue;
    auto result = std::make_pair(elements_[i].index, elements_[i].value);
    remove(i);
    return result;
  }
  return std::nullopt;
}

std::optional<std::pair<Index, std::string>> SplitArguments::popNextElementAsValue(const InputOrigin& origin) {
  auto start = positionAfter(origin);
  if (!start) return std::nullopt;
  for (std::size_t i = *start; i < elements_.size(); ++i) {
    if (!elements_[i].index.subIndex.isComplete) continue;
    Index index = elements_[i].index;
    remove(index);
    return std::make_pair(index, originalInput_[static_cast<std::size_t>(index.inputIndex.rawValue)]);
  }
  return std::nullopt;
}

std::optional<std::pair<Index, std::string>> SplitArguments::popNextElementIfValue() {
  if (isEmpty() || !elements_[firstUnused_].isValue()) return std::nullopt;
  auto result = std::make_pair(elements_[firstUnused_].index, elements_[firstUnused_].value);
  remove(firstUnused_);
  return result;
}

std::optional<std::pair<Index, std::string>> SplitArguments::popNextValue() {
  for (std::size_t i = firstUnused_; i < elements_.size(); ++i) {
    if (!elements_[i].isValue()) continue;
    auto result = std::make_pair(elements_[i].index, elements_[i].value);
    remove(i);
    return result;
  }
  return std::nullopt;
}

std::optional<std::string> SplitArguments::originalInput(const InputOrigin::Element& origin) const {
  if (!origin.argumentIndex || !origin.argumentIndex->subIndex.isComplete) return std::nullopt;
  auto at = static_cast<std::size_t>(origin.argumentIndex->inputIndex.rawValue);
  if (at >= originalInput_.size()) return std::nullopt;
  return originalInput_[at];
}

bool SplitArguments::contains(const Name& name) const {
  for (std::size_t i = firstUnused_; i < elements_.size(); ++i)
    if (elements_[i].isOption() && elements_[i].option.name == name) return true;
  return false;
}

bool SplitArguments::contains(const std::vector<Name>& names) const {
  return std::any_of(names.begin(), names.end(), [this](const Name& n) { return contains(n); });
}

void SplitArguments::remove(std::size_t position) {
  if (position < firstUnused_ || position >= elements_.size()) return;
  // The element moves to the front of the unused ones, which keep their order.
  const auto first = elements_.begin() + static_cast<std::ptrdiff_t>(firstUnused_);
  const auto at = elements_.begin() + static_cast<std::ptrdiff_t>(position);
  std::rotate(first, at, at + 1);
  ++firstUnused_;
}

void SplitArguments::removeSubrange(std::size_t from, std::size_t to) {
  for (std::size_t i = from; i < to; ++i) remove(i);
}

void SplitArguments::remove(const Index& index) {
  std::size_t start = firstUnused_;
  while (start < elements_.size() && elements_[start].index.inputIndex < index.inputIndex) ++start;
  if (start >= elements_.size() || elements_[start].index.inputIndex != index.inputIndex) return;
  if (index.subIndex.isComplete) {
    std::size_t end = start;
    while (end < elements_.size() && elements_[end].index.inputIndex == index.inputIndex) ++end;
    removeSubrange(start, end);
    return;
  }
  if (elements_[start].index.subIndex.isComplete) remove(start);
  for (std::size_t i = firstUnused_; i < elements_.size(); ++i) {
    if (elements_[i].index == index) {
      remove(i);
      return;
    }
  }
}

void SplitArguments::removeAll(const InputOrigin& origin) {
  for (const auto& e : origin.elements)
    if (e.argumentIndex) remove(*e.argumentIndex);
}

std::vector<std::pair<InputOrigin, std::string>> SplitArguments::coalescedExtraElements() const {
  std::vector<std::pair<InputOrigin, std::string>> result;
  auto hasCompleteElement = [this](InputIndex input) {
    for (std::size_t i = firstUnused_; i < elements_.size(); ++i)
      if (elements_[i].index.inputIndex == input && elements_[i].index.subIndex.isComplete) return true;
    return false;
  };
  for (std::size_t i = firstUnused_; i < elements_.size(); ++i) {
    const auto& e = elements_[i];
    if (e.isTerminator()) continue;
    if (e.index.subIndex.isComplete) {
      result.emplace_back(InputOrigin(e.index), originalInput_[static_cast<std::size_t>(e.index.inputIndex.rawValue)]);
    } else if (!hasCompleteElement(e.index.inputIndex)) {
      std::string text = e.isOption() ? e.option.name.synopsisString() : e.value;
      if (e.isOption() && e.option.value) text += "=" + *e.option.value;
      result.emplace_back(InputOrigin(e.index), text);
    }
  }
  return result;
}

}  // namespace ArgumentParser
