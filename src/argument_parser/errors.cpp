#include "argument_parser/errors.h"

#include <cstdio>
#include <cstdlib>

namespace ArgumentParser {

namespace {
ParserError make(ParserError::Case kind) {
  ParserError e;
  e.kind = kind;
  return e;
}
}  // namespace

ParserError ParserError::helpRequested(ArgumentVisibility visibility) {
  auto e = make(Case::helpRequested);
  e.visibility = visibility;
  return e;
}
ParserError ParserError::completionScriptRequested(std::optional<std::string> shell) {
  auto e = make(Case::completionScriptRequested);
  e.text = std::move(shell);
  return e;
}
ParserError ParserError::completionScriptCustomResponse(std::string response) {
  auto e = make(Case::completionScriptCustomResponse);
  e.text = std::move(response);
  return e;
}
ParserError ParserError::unsupportedShell(std::optional<std::string> shell) {
  auto e = make(Case::unsupportedShell);
  e.text = std::move(shell);
  return e;
}
ParserError ParserError::unknownOption(InputOrigin origin, Name name) {
  auto e = make(Case::unknownOption);
  e.origin = std::move(origin);
  e.name = std::move(name);
  return e;
}
ParserError ParserError::invalidOption(std::string word) {
  auto e = make(Case::invalidOption);
  e.text = std::move(word);
  return e;
}
ParserError ParserError::nonAlphanumericShortOption(std::string character) {
  auto e = make(Case::nonAlphanumericShortOption);
  e.text = std::move(character);
  return e;
}
ParserError ParserError::missingValueForOption(InputOrigin origin, Name name) {
  auto e = make(Case::missingValueForOption);
  e.origin = std::move(origin);
  e.name = std::move(name);
  return e;
}
ParserError ParserError::unexpectedValueForOption(InputOrigin origin, Name name, std::string value) {
  auto e = make(Case::unexpectedValueForOption);
  e.origin = std::move(origin);
  e.name = std::move(name);
  e.value = std::move(value);
  return e;
}
ParserError ParserError::unexpectedExtraValues(std::vector<std::pair<InputOrigin, std::string>> values) {
  auto e = make(Case::unexpectedExtraValues);
  e.extraValues = std::move(values);
  return e;
}
ParserError ParserError::duplicateExclusiveValues(InputOrigin previous, InputOrigin duplicate,
                                                  std::vector<std::string> originalInput) {
  auto e = make(Case::duplicateExclusiveValues);
  e.origin = std::move(previous);
  e.duplicate = std::move(duplicate);
  e.originalInput = std::move(originalInput);
  return e;
}
ParserError ParserError::noValue(InputKey key) {
  auto e = make(Case::noValue);
  e.key = std::move(key);
  return e;
}
ParserError ParserError::unableToParseValue(InputOrigin origin, std::optional<Name> name, std::string value,
                                            InputKey key, std::exception_ptr originalError) {
  auto e = make(Case::unableToParseValue);
  e.origin = std::move(origin);
  e.name = std::move(name);
  e.value = std::move(value);
  e.key = std::move(key);
  e.error = std::move(originalError);
  return e;
}
ParserError ParserError::userValidationError(std::exception_ptr error) {
  auto e = make(Case::userValidationError);
  e.error = std::move(error);
  return e;
}
ParserError ParserError::noArguments(std::exception_ptr error) {
  auto e = make(Case::noArguments);
  e.error = std::move(error);
  return e;
}
ParserError ParserError::simple(Case kind) { return make(kind); }

std::string CleanExit::description() const {
  switch (base) {
    case Representation::helpRequest:
      return "--help";
    case Representation::message:
      return message;
    case Representation::dumpRequest:
      return "--experimental-dump-help";
  }
  return message;
}

void fatalError(const std::string& message) {
  std::fprintf(stderr, "Fatal error: %s\n", message.c_str());
  std::fflush(stderr);
  std::abort();
}

}  // namespace ArgumentParser
