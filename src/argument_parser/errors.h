#pragma once
// The errors of the framework. None derives from std::exception, so that the
// classification of a thrown value (MessageInfo) can tell them from a
// command's own errors. Errors of a command's `validate` or `run` may be a
// ValidationError, CleanExit, ExitCode, a std::exception (its `what()` is its
// description) or plain text (std::string).

#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "argument_parser/argument_definition.h"
#include "argument_parser/input_key.h"
#include "argument_parser/input_origin.h"
#include "argument_parser/name.h"

namespace ArgumentParser {

class CommandTypeInfo;
using CommandType = const CommandTypeInfo*;

struct ParserError {
  enum class Case {
    helpRequested,
    completionScriptRequested,
    completionScriptCustomResponse,
    unsupportedShell,
    unknownOption,
    invalidOption,
    nonAlphanumericShortOption,
    missingValueForOption,
    unexpectedValueForOption,
    unexpectedExtraValues,
    duplicateExclusiveValues,
    noValue,
    unableToParseValue,
    userValidationError,
    noArguments,
    versionRequested,
    dumpHelpRequested,
    notImplemented,
    invalidState,
    missingSubcommand,
  };

  Case kind = Case::invalidState;
  ArgumentVisibility visibility = ArgumentVisibility::default_;  // helpRequested
  std::optional<std::string> text;  // shell, custom response, invalid option word, short character
  InputOrigin origin;               // the origin; `previous` of duplicateExclusiveValues
  InputOrigin duplicate;            // duplicateExclusiveValues
  std::optional<Name> name;
  std::string value;  // unexpectedValueForOption, unableToParseValue
  std::vector<std::pair<InputOrigin, std::string>> extraValues;
  std::vector<std::string> originalInput;  // duplicateExclusiveValues
  InputKey key;                            // noValue, unableToParseValue
  std::exception_ptr error;                // userValidationError, noArguments, originalError

  static ParserError helpRequested(ArgumentVisibility visibility);
  static ParserError completionScriptRequested(std::optional<std::string> shell);
  static ParserError completionScriptCustomResponse(std::string response);
  static ParserError unsupportedShell(std::optional<std::string> shell);
  static ParserError unknownOption(InputOrigin origin, Name name);
  static ParserError invalidOption(std::string word);
  static ParserError nonAlphanumericShortOption(std::string character);
  static ParserError missingValueForOption(InputOrigin origin, Name name);
  static ParserError unexpectedValueForOption(InputOrigin origin, Name name, std::string value);
  static ParserError unexpectedExtraValues(std::vector<std::pair<InputOrigin, std::string>> values);
  static ParserError duplicateExclusiveValues(InputOrigin previous, InputOrigin duplicate,
                                              std::vector<std::string> originalInput);
  static ParserError noValue(InputKey key);
  static ParserError unableToParseValue(InputOrigin origin, std::optional<Name> name, std::string value,
                                        InputKey key, std::exception_ptr originalError = nullptr);
  static ParserError userValidationError(std::exception_ptr error);
  static ParserError noArguments(std::exception_ptr error);
  static ParserError simple(Case kind);  // versionRequested, dumpHelpRequested, notImplemented, invalidState, missingSubcommand
};

struct InternalParseError {
  enum class Case {
    wrongType,
    subcommandLevelMismatch,
    subcommandLevelMissing,
    subcommandLevelDuplicated,
    subcommandNameMismatch,
    expectedCommandButNoneFound,
  };
  Case kind = Case::wrongType;
  std::string valueRepresentation;
  InputKey key;
  int first = 0;
  int second = 0;
};

struct CommandError {
  std::vector<CommandType> commandStack;
  ParserError parserError;
};

// A help request found among the arguments; the parser turns it into a
// HelpCommand result.
struct HelpRequested {
  ArgumentVisibility visibility = ArgumentVisibility::default_;
};

// A failed validation: its description is its message.
struct ValidationError {
  std::string message;
  explicit ValidationError(std::string message) : message(std::move(message)) {}
  const std::string& description() const { return message; }
};

struct ExitCode {
  std::int32_t rawValue = 0;
  explicit ExitCode(std::int32_t rawValue) : rawValue(rawValue) {}
  static ExitCode success() { return ExitCode(0); }
  static ExitCode failure() { return ExitCode(1); }
  static ExitCode validationFailure() { return ExitCode(64); }
  bool isSuccess() const { return rawValue == 0; }
  bool operator==(const ExitCode&) const = default;
};

// A request to leave with status 0: help, a message or the dump.
struct CleanExit {
  enum class Representation { helpRequest, message, dumpRequest };
  Representation base = Representation::message;
  CommandType command = nullptr;  // helpRequest, dumpRequest
  std::string message;

  static CleanExit helpRequest(CommandType command = nullptr) {
    return {Representation::helpRequest, command, {}};
  }
  static CleanExit makeMessage(std::string message) { return {Representation::message, nullptr, std::move(message)}; }
  static CleanExit dumpRequest(CommandType command = nullptr) {
    return {Representation::dumpRequest, command, {}};
  }
  // The message, or "--help" or "--experimental-dump-help".
  std::string description() const;
};

// A programming fault in a declaration: prints the message on standard
// error and aborts.
[[noreturn]] void fatalError(const std::string& message);

}  // namespace ArgumentParser
