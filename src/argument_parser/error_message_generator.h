#pragma once
// The words of every parser error: the one place where the framework's error
// texts are written.

#include <exception>
#include <optional>
#include <string>

#include "argument_parser/argument_definition.h"
#include "argument_parser/errors.h"

namespace ArgumentParser {

// The words of a ParserError against the arguments of the failing command.
struct ErrorMessageGenerator {
  const ArgumentSet& arguments;  // a command's own set, not copied for each message
  ParserError error;
  // The error line without its label; nothing for the requests (help,
  // version, completion script, dump), which are no errors.
  std::optional<std::string> makeErrorMessage() const;
  // The "Help:" line's text for an argument that lacks or has a bad value.
  std::optional<std::string> makeHelpMessage() const;
};

// The description of a command's own error: the message of a ValidationError,
// what() of a std::exception, the text of a plain-text error, else a generic
// text.
std::string errorDescription(const std::exception_ptr& error);

// Levenshtein distance in characters.
int editDistance(const std::string& a, const std::string& b);

}  // namespace ArgumentParser
