#include "argument_parser/message_info.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <streambuf>

#include "argument_parser/characters.h"
#include "argument_parser/command_parser.h"
#include "argument_parser/completion_hooks.h"
#include "argument_parser/help_generator.h"
#include "argument_parser/main.h"

namespace ArgumentParser {

// --- distances and descriptions -------------------------------------------------

int editDistance(const std::string& a, const std::string& b) {
  auto x = characters(a);
  auto y = characters(b);
  if (x.empty() || y.empty()) return static_cast<int>(std::max(x.size(), y.size()));
  std::size_t prefix = 0;
  while (prefix < x.size() && prefix < y.size() && x[prefix] == y[prefix]) ++prefix;
  x.erase(x.begin(), x.begin() + static_cast<std::ptrdiff_t>(prefix));
  y.erase(y.begin(), y.begin() + static_cast<std::ptrdiff_t>(prefix));
  while (!x.empty() && !y.empty() && x.back() == y.back()) {
    x.pop_back();
    y.pop_back();
  }
  if (x.empty() || y.empty()) return static_cast<int>(std::max(x.size(), y.size()));
  std::vector<int> previous(y.size() + 1);
  std::vector<int> current(y.size() + 1);
  for (std::size_t j = 0; j <= y.size(); ++j) previous[j] = static_cast<int>(j);
  for (std::size_t i = 1; i <= x.size(); ++i) {
    current[0] = static_cast<int>(i);
    for (std::size_t j = 1; j <= y.size(); ++j) {
      if (x[i - 1] == y[j - 1])
        current[j] = previous[j - 1];
      else
        current[j] = std::min({previous[j - 1], previous[j], current[j - 1]}) + 1;
    }
    std::swap(previous, current);
  }
  return previous[y.size()];
}

namespace {

// The description of a command's own error: what() of a std::exception, the
// text of a plain-text error, else a generic text.
std::string describe(const std::exception_ptr& error) {
  if (!error) return {};
  try {
    std::rethrow_exception(error);
  } catch (const ValidationError& e) {
    return e.message;
  } catch (const CleanExit& e) {
    return e.description();
  } catch (const ExitCode& e) {
    return "ExitCode(rawValue: " + std::to_string(e.rawValue) + ")";
  } catch (const std::exception& e) {
    return e.what();
  } catch (const std::string& e) {
    return e;
  } catch (const char* e) {
    return e;
  } catch (...) {
    return "Unknown error.";
  }
}

std::string quotedValueList(const std::vector<std::string>& values) {
  if (values.empty()) return {};
  if (values.size() < 6) {
    std::vector<std::string> quoted;
    for (const auto& v : values) quoted.push_back("'" + v + "'");
    std::string list;
    if (quoted.size() <= 2) {
      list = quoted[0] + (quoted.size() == 2 ? " and " + quoted[1] : "");
    } else {
      for (std::size_t i = 0; i + 1 < quoted.size(); ++i) list += (i ? ", " : "") + quoted[i];
      list += " or " + quoted.back();
    }
    return ". Please provide one of " + list + ".";
  }
  std::string list = ". Please provide one of the following:\n";
  for (std::size_t i = 0; i < values.size(); ++i) list += (i ? "\n" : "") + std::string("  - ") + values[i];
  return list;
}

std::string originText(const InputOrigin& origin, const std::vector<std::string>& input) {
  if (origin.elements.empty()) return "position ";
  const auto& smallest = *origin.elements.begin();
  if (!smallest.argumentIndex) return "position default";
  const auto& index = *smallest.argumentIndex;
  auto at = static_cast<std::size_t>(index.inputIndex.rawValue);
  std::string word = at < input.size() ? input[at] : std::string();
  if (index.subIndex.isComplete) return "flag '" + word + "'";
  auto letters = characters(word);
  auto k = static_cast<std::size_t>(index.subIndex.sub) + 1;
  std::string letter = k < letters.size() ? letters[k] : std::string();
  return "flag '" + letter + "' in '" + word + "'";
}

std::string nameAndValue(const ArgumentDefinition& d, const std::optional<Name>& name) {
  std::optional<Name> shown = name;
  if (!shown && !d.names().empty()) shown = d.names().front();
  if (shown) return shown->synopsisString() + " <" + d.valueName() + ">";
  return "<" + d.valueName() + ">";
}

}  // namespace

std::optional<std::string> ErrorMessageGenerator::makeErrorMessage() const {
  using C = ParserError::Case;
  const auto& e = error;
  switch (e.kind) {
    case C::helpRequested:
    case C::completionScriptRequested:
    case C::completionScriptCustomResponse:
    case C::versionRequested:
    case C::dumpHelpRequested:
      return std::nullopt;
    case C::unsupportedShell: {
      std::string head = e.text ? "Can't generate completion scripts for '" + *e.text + "'."
                                : std::string("Can't autodetect a supported shell.");
      return head + "\nPlease use --generate-completion-script=<shell> with one of:\n    zsh, bash, fish";
    }
    case C::unknownOption: {
      const Name& name = *e.name;
      std::string n = name.synopsisString();
      if (name.isShort()) return "Unknown option '" + n + "'";
      std::optional<Name> best;
      int bestDistance = 0;
      for (const auto& d : arguments)
        for (const auto& candidate : d.names()) {
          if (candidate.isShort()) continue;
          int distance = editDistance(candidate.synopsisString(), n);
          if (distance >= 4) continue;
          if (!best || distance < bestDistance) {
            best = candidate;
            bestDistance = distance;
          }
        }
      if (!best) return "Unknown option '" + n + "'";
      return "Unknown option '" + n + "'. Did you mean '" + best->synopsisString() + "'?";
    }
    case C::invalidOption:
      return "Invalid option: " + e.text.value_or("");
    case C::nonAlphanumericShortOption:
      return "Invalid option: -" + e.text.value_or("");
    case C::missingValueForOption: {
      std::string n = e.name->synopsisString();
      if (const auto* d = arguments.first(*e.name)) return "Missing value for '" + n + " <" + d->valueName() + ">'";
      return "Missing value for '" + n + "'";
    }
    case C::unexpectedValueForOption:
      return "The option '" + e.name->synopsisString() + "' does not take any value, but '" + e.value +
             "' was specified.";
    case C::unexpectedExtraValues: {
      if (e.extraValues.size() == 1) return "Unexpected argument '" + e.extraValues.front().second + "'";
      std::string list;
      for (const auto& [origin, text] : e.extraValues) list += (list.empty() ? "'" : ", '") + text + "'";
      return std::to_string(e.extraValues.size()) + " unexpected arguments: " + list;
    }
    case C::duplicateExclusiveValues:
      return "Value to be set with " + originText(e.duplicate, e.originalInput) + " had already been set with " +
             originText(e.origin, e.originalInput);
    case C::noValue: {
      std::vector<std::string> synopses;
      for (const auto& d : arguments) {
        if (d.help.visibility != ArgumentVisibility::default_) continue;
        if (std::find(d.help.keys.begin(), d.help.keys.end(), e.key) == d.help.keys.end()) continue;
        synopses.push_back(synopsisWithoutOptionalMark(d));
      }
      if (synopses.empty())
        return "No value set for non-argument var " + e.key.description() +
               ". Replace with a static variable, or let constant.";
      if (synopses.size() == 1) return "Missing expected argument '" + synopses.front() + "'";
      std::string list;
      for (const auto& s : synopses) list += (list.empty() ? "'" : ", '") + s + "'";
      return "Missing one of: " + list;
    }
    case C::unableToParseValue: {
      const auto* d = arguments.first(e.key);
      std::optional<std::string> valueName;
      if (d) valueName = d->valueName();
      std::string detail;
      if (e.error)
        detail = ": " + describe(e.error);
      else if (d)
        detail = quotedValueList(d->help.allValueStrings);
      std::string head = "The value '" + e.value + "' is invalid";
      if (e.name && valueName) return head + " for '" + e.name->synopsisString() + " <" + *valueName + ">'" + detail;
      if (valueName) return head + " for '<" + *valueName + ">'" + detail;
      if (e.name) return head + " for '" + e.name->synopsisString() + "'" + detail;
      return head + "." + detail;
    }
    case C::userValidationError:
      return describe(e.error);
    case C::noArguments: {
      try {
        std::rethrow_exception(e.error);
      } catch (const ParserError& inner) {
        return ErrorMessageGenerator{arguments, inner}.makeErrorMessage();
      } catch (...) {
        return describe(e.error);
      }
    }
    case C::notImplemented:
      return "Internal error. Parsing command-line arguments hit unimplemented code path.";
    case C::invalidState:
      return "Internal error. Invalid state while parsing command-line arguments.";
    case C::missingSubcommand:
      return "Missing required subcommand.";
  }
  return std::nullopt;
}

std::optional<std::string> ErrorMessageGenerator::makeHelpMessage() const {
  using C = ParserError::Case;
  switch (error.kind) {
    case C::noValue: {
      const auto* d = arguments.first(error.key);
      if (!d) return std::nullopt;
      return nameAndValue(*d, std::nullopt) + "  " + d->help.abstract;
    }
    case C::missingValueForOption: {
      const auto* d = arguments.first(*error.name);
      if (!d) return std::nullopt;
      return error.name->synopsisString() + " <" + d->valueName() + ">  " + d->help.abstract;
    }
    case C::unableToParseValue: {
      const auto* d = arguments.first(error.key);
      if (!d) return std::nullopt;
      return nameAndValue(*d, error.name) + "  " + d->help.abstract;
    }
    default:
      return std::nullopt;
  }
}

// --- the message ------------------------------------------------------------------

MessageInfo::MessageInfo(std::exception_ptr error, CommandType type, std::optional<int> columns, bool helpHidden,
                         const EnvironmentReader& environment) {
  (void)helpHidden;
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
        *this = MessageInfo(std::current_exception(), type, columns, helpHidden, environment);
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

  usage = HelpGenerator(stack, ArgumentVisibility::default_).usageMessage();
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
      message = describe(parserError.error);
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
  MessageInfo info(error, type, terminalWidth(io.environment), false, io.environment);
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

int main(CommandType root, const std::vector<std::string>& arguments, ProcessIO& io) {
  try {
    auto command = parseAsRoot(root, arguments);
    command->run();
    return 0;
  } catch (...) {
    return exitWithError(root, std::current_exception(), io);
  }
}

}  // namespace ArgumentParser
