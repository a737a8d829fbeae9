#pragma once
// The values that one command level has parsed, by key.

#include <any>
#include <map>
#include <string>
#include <vector>

#include "argument_parser/input_key.h"
#include "argument_parser/input_origin.h"

namespace ArgumentParser {

class SplitArguments;

class ParsedValues {
 public:
  struct Element {
    InputKey key;
    std::any value;  // empty: no value stored
    InputOrigin inputOrigin;
    bool shouldClearArrayIfParsed = false;  // an array default that real input replaces
  };

  ParsedValues() = default;
  explicit ParsedValues(std::vector<std::string> originalInput) : originalInput_(std::move(originalInput)) {}

  // Stores the value: a new element, or the new value replaces the old and
  // the origins are joined.
  void set(std::any value, const InputKey& key, const InputOrigin& origin);
  // Appends to the array stored under the key (a std::vector<V>). The first
  // real input for an array whose default is to be replaced empties it first.
  template <class V>
  void appendToArray(const V& value, const InputKey& key, const InputOrigin& origin);

  const Element* element(const InputKey& key) const;
  Element* element(const InputKey& key);

  const std::map<InputKey, Element>& elements() const { return elements_; }
  const std::vector<std::string>& originalInput() const { return originalInput_; }
  std::vector<std::string> capturedUnrecognizedArguments;  // what an allUnrecognized array took, as text

 private:
  std::map<InputKey, Element> elements_;
  std::vector<std::string> originalInput_;
};

template <class V>
void ParsedValues::appendToArray(const V& value, const InputKey& key, const InputOrigin& origin) {
  auto* e = element(key);
  if (!e) {
    elements_[key] = Element{key, std::vector<V>{value}, origin, false};
    return;
  }
  auto* array = std::any_cast<std::vector<V>>(&e->value);
  if (!array || e->shouldClearArrayIfParsed) {
    e->value = std::vector<V>{};
    array = std::any_cast<std::vector<V>>(&e->value);
    e->shouldClearArrayIfParsed = false;
  }
  array->push_back(value);
  e->inputOrigin.formUnion(origin);
}

}  // namespace ArgumentParser
