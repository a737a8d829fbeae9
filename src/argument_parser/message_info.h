#pragma once
// Every failure and request of a run turned into one message, its stream and
// its exit status.

#include <exception>
#include <functional>
#include <optional>
#include <ostream>
#include <string>

#include "argument_parser/argument_definition.h"
#include "argument_parser/command_configuration.h"
#include "argument_parser/environment.h"
#include "argument_parser/error_message_generator.h"
#include "argument_parser/errors.h"

namespace ArgumentParser {

struct MessageInfo {
  enum class Kind { help, validation, other };
  Kind kind = Kind::other;
  std::string message;  // help: the text; validation, other: the message
  std::string usage;    // validation
  std::string help;     // validation
  int exitCode = 0;     // other

  MessageInfo(std::exception_ptr error, CommandType type, std::optional<int> columns = std::nullopt,
              const EnvironmentReader& environment = processEnvironment);

  // The text printed on the way out.
  std::string fullText(CommandType type) const;
  // 0 for help, 64 for validation, the exit code for other.
  int exitStatus() const;
  bool printsToStandardOutput() const { return kind == Kind::help; }
};

std::string fullMessage(CommandType type, std::exception_ptr error);
std::string message(CommandType type, std::exception_ptr error);
ExitCode exitCode(CommandType type, std::exception_ptr error);

// Where a run prints and how it ends. The real process uses standard output,
// standard error (unbuffered) and `exit`; tests pass their own.
struct ProcessIO {
  std::ostream& out;
  std::ostream& err;
  std::function<void(int)> exit;  // ends the process; may return in tests
  EnvironmentReader environment = processEnvironment;
  // The process's own: stdout, stderr, std::exit, getenv.
  static ProcessIO standard();
};

// Prints the message of the error on the right stream, then ends the run
// with its status through `io.exit`; returns that status if `exit` returns.
// An empty error prints nothing and ends with 0.
int exitWithError(CommandType type, std::exception_ptr error, ProcessIO& io);

}  // namespace ArgumentParser
