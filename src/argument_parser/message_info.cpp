#include "argument_parser/message_info.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <streambuf>

#include "argument_parser/command_parser.h"
#include "argument_parser/completion_hooks.h"
#include "argument_parser/error_message_generator.h"
#include "argument_parser/help_generator.h"

namespace ArgumentParser {

// --- the message ------------------------------------------------------------------

MessageInfo::MessageInfo(std::exception_ptr error, CommandType type, std::optional<int> columns,
                         const EnvironmentReader& environment) {
  CommandStack stack{type};
  ParserError parserError;
  try {
    std::rethrow_exception(error);
  } catch (const CommandError& e) {
    stack = e.commandStack;
    parserError = e.parserError;
  } catch (const ParserError& e) {
    parserError = e;
  } catch (...) {
    parserError = ParserError::userValidationError(error);
  }
  if (stack.empty()) stack = {type};
  const int width = columns.value_or(terminalWidth(environment));
  auto makeHelp = [this](std::string text) {
    kind = Kind::help;
    message = std::move(text);
  };

  using C = ParserError::Case;
  switch (parserError.kind) {
    case C::helpRequested:
      makeHelp(HelpGenerator(stack, parserError.visibility).rendered(width));
      return;
    case C::completionScriptRequested:
      try {
        makeHelp(completionScript(stack.front(), parserError.text, environment));
      } catch (...) {
        *this = MessageInfo(std::current_exception(), type, columns, environment);
      }
      return;
    case C::completionScriptCustomResponse:
      makeHelp(parserError.text.value_or(""));
      return;
    case C::versionRequested: {
      std::string version;
      for (CommandType c : stack)
        if (auto v = c->configuration().version; !v.empty()) version = v;
      makeHelp(version.empty() ? "Unspecified version" : version);
      return;
    }
    case C::dumpHelpRequested:
      makeHelp(dumpHelp(stack));
      return;
    default:
      break;
  }

  usage = usageMessage(stack, ArgumentVisibility::default_);
  if (auto helpName = primaryHelpName(stack)) {
    if (!usage.empty()) usage += "\n";
    usage += "  See '" + commandNames(stack) + " " + helpName->synopsisString() + "' for more information.";
  }

  if (parserError.kind == C::userValidationError) {
    try {
      std::rethrow_exception(parserError.error);
    } catch (const ValidationError& e) {
      kind = Kind::validation;
      message = e.message;
      help.clear();
    } catch (const CleanExit& e) {
      CommandStack path = stack;
      if (e.command) path = CommandParser(stack.front()).commandStack(e.command);
      switch (e.base) {
        case CleanExit::Representation::helpRequest:
          makeHelp(HelpGenerator(path, ArgumentVisibility::default_).rendered(width));
          break;
        case CleanExit::Representation::message:
          makeHelp(e.message);
          break;
        case CleanExit::Representation::dumpRequest:
          makeHelp(dumpHelp(path));
          break;
      }
    } catch (const ExitCode& e) {
      kind = Kind::other;
      message.clear();
      exitCode = e.rawValue;
    } catch (...) {
      kind = Kind::other;
      message = errorDescription(parserError.error);
      exitCode = ExitCode::failure().rawValue;
    }
    return;
  }

  if (parserError.kind == C::noArguments)
    usage = "\n" + HelpGenerator(CommandStack{type}, ArgumentVisibility::default_).rendered(width);
  ErrorMessageGenerator generator{stack.back()->argumentSet(ArgumentVisibility::private_), parserError};
  kind = Kind::validation;
  message = generator.makeErrorMessage().value_or("");
  help = generator.makeHelpMessage().value_or("");
}

std::string MessageInfo::fullText(CommandType type) const {
  const std::string& label = type->errorLabel();
  switch (kind) {
    case Kind::help:
      return message;
    case Kind::other:
      return message.empty() ? std::string() : label + ": " + message;
    case Kind::validation: {
      std::string text;
      if (!message.empty()) text += label + ": " + message + "\n";
      if (!help.empty()) text += "Help:  " + help + "\n";
      return text + usage;
    }
  }
  return {};
}

int MessageInfo::exitStatus() const {
  switch (kind) {
    case Kind::help:
      return 0;
    case Kind::validation:
      return ExitCode::validationFailure().rawValue;
    case Kind::other:
      return exitCode;
  }
  return 1;
}

std::string fullMessage(CommandType type, std::exception_ptr error) {
  return MessageInfo(std::move(error), type).fullText(type);
}

std::string message(CommandType type, std::exception_ptr error) {
  MessageInfo info(std::move(error), type);
  return info.message;
}

ExitCode exitCode(CommandType type, std::exception_ptr error) {
  return ExitCode(MessageInfo(std::move(error), type).exitStatus());
}

// --- the way out --------------------------------------------------------------------

namespace {

// Standard error, written byte by byte without buffering.
class StandardErrorBuffer : public std::streambuf {
 protected:
  int_type overflow(int_type c) override {
    if (c == traits_type::eof()) return traits_type::not_eof(c);
    return std::putc(c, stderr) == EOF ? traits_type::eof() : c;
  }
};

}  // namespace

ProcessIO ProcessIO::standard() {
  static StandardErrorBuffer buffer;
  static std::ostream standardError(&buffer);
  return ProcessIO{std::cout, standardError, [](int status) {
                     std::cout.flush();
                     std::exit(status);
                   },
                   processEnvironment};
}

int exitWithError(CommandType type, std::exception_ptr error, ProcessIO& io) {
  if (!error) {
    io.exit(0);
    return 0;
  }
  MessageInfo info(error, type, terminalWidth(io.environment), io.environment);
  std::string text = info.fullText(type);
  if (!text.empty()) {
    std::ostream& stream = info.printsToStandardOutput() ? io.out : io.err;
    stream << text << '\n';
    stream.flush();
  }
  int status = info.exitStatus();
  io.exit(status);
  return status;
}

}  // namespace ArgumentParser
