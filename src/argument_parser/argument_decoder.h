#pragma once
// Carries parsed values into the declared properties of a new value.

#include <memory>
#include <vector>

#include "argument_parser/command_configuration.h"
#include "argument_parser/parsed_values.h"

namespace ArgumentParser {

class ParsableArguments;

struct DecodedArguments {
  CommandType type = nullptr;
  std::shared_ptr<ParsableArguments> value;
};

class ArgumentDecoder {
 public:
  ArgumentDecoder(const ParsedValues& values, std::vector<DecodedArguments> previouslyDecoded = {})
      : previouslyDecoded(std::move(previouslyDecoded)), values_(&values) {}

  // The element stored under the key, recording its origin as used.
  const ParsedValues::Element* element(const InputKey& key) {
    const auto* found = values_->element(key);
    if (found) usedOrigins.formUnion(found->inputOrigin);
    return found;
  }
  const ParsedValues& values() const { return *values_; }

  InputOrigin usedOrigins;
  std::vector<DecodedArguments> previouslyDecoded;

 private:
  const ParsedValues* values_;
};

}  // namespace ArgumentParser
