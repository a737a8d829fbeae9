#include "argument_parser/error_message_generator.h"

#include <algorithm>

#include "argument_parser/characters.h"
#include "argument_parser/help_generator.h"

namespace ArgumentParser {

int editDistance(const std::string& a, const std::string& b) {
  auto x = characterViews(a);
  auto y = characterViews(b);
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

std::string errorDescription(const std::exception_ptr& error) {
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

namespace {

std::string quoted(const std::string& text) { return "'" + text + "'"; }

// "'a', 'b', 'c'".
std::string quotedList(const std::vector<std::string>& texts) {
  std::string list;
  for (const auto& text : texts) list += (list.empty() ? "" : ", ") + quoted(text);
  return list;
}

// "--name <value>", or "<value>" without a name.
std::string withValueName(const std::optional<Name>& name, const std::string& valueName) {
  return (name ? name->synopsisString() + " " : std::string()) + "<" + valueName + ">";
}

std::string quotedValueList(const std::vector<std::string>& values) {
  if (values.empty()) return {};
  if (values.size() < 6) {
    std::string list;
    if (values.size() <= 2)
      list = quoted(values[0]) + (values.size() == 2 ? " and " + quoted(values[1]) : "");
    else
      list = quotedList({values.begin(), values.end() - 1}) + " or " + quoted(values.back());
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
  if (index.subIndex.isComplete) return "flag " + quoted(word);
  auto letters = characters(word);
  auto k = static_cast<std::size_t>(index.subIndex.sub) + 1;
  std::string letter = k < letters.size() ? letters[k] : std::string();
  return "flag " + quoted(letter) + " in " + quoted(word);
}

std::string nameAndValue(const ArgumentDefinition& d, const std::optional<Name>& name) {
  std::optional<Name> shown = name;
  if (!shown && !d.names().empty()) shown = d.names().front();
  return withValueName(shown, d.valueName());
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
      std::string head = e.text ? "Can't generate completion scripts for " + quoted(*e.text) + "."
                                : std::string("Can't autodetect a supported shell.");
      return head + "\nPlease use --generate-completion-script=<shell> with one of:\n    zsh, bash, fish";
    }
    case C::unknownOption: {
      const Name& name = *e.name;
      std::string n = name.synopsisString();
      const std::string unknown = "Unknown option " + quoted(n);
      if (name.isShort()) return unknown;
      std::optional<Name> best;
      int bestDistance = 0;
      // The distance is at least the difference in length, so a name whose
      // length differs by four or more is no suggestion; a long word is
      // split into characters once, not once per name.
      const std::size_t length = characterCount(n);
      for (const auto& d : arguments)
        for (const auto& candidate : d.names()) {
          if (candidate.isShort()) continue;
          const std::string synopsis = candidate.synopsisString();
          const std::size_t candidateLength = characterCount(synopsis);
          if ((length > candidateLength ? length - candidateLength : candidateLength - length) >= 4) continue;
          int distance = editDistance(synopsis, n);
          if (distance >= 4) continue;
          if (!best || distance < bestDistance) {
            best = candidate;
            bestDistance = distance;
          }
        }
      if (!best) return unknown;
      return unknown + ". Did you mean " + quoted(best->synopsisString()) + "?";
    }
    case C::invalidOption:
      return "Invalid option: " + e.text.value_or("");
    case C::nonAlphanumericShortOption:
      return "Invalid option: -" + e.text.value_or("");
    case C::missingValueForOption: {
      const auto* d = arguments.first(*e.name);
      return "Missing value for " + quoted(d ? withValueName(e.name, d->valueName()) : e.name->synopsisString());
    }
    case C::unexpectedValueForOption:
      return "The option " + quoted(e.name->synopsisString()) + " does not take any value, but " + quoted(e.value) +
             " was specified.";
    case C::unexpectedExtraValues: {
      if (e.extraValues.size() == 1) return "Unexpected argument " + quoted(e.extraValues.front().second);
      std::vector<std::string> texts;
      for (const auto& [origin, text] : e.extraValues) texts.push_back(text);
      return std::to_string(texts.size()) + " unexpected arguments: " + quotedList(texts);
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
      if (synopses.size() == 1) return "Missing expected argument " + quoted(synopses.front());
      return "Missing one of: " + quotedList(synopses);
    }
    case C::unableToParseValue: {
      const auto* d = arguments.first(e.key);
      std::optional<std::string> valueName;
      if (d) valueName = d->valueName();
      std::string detail;
      if (e.error)
        detail = ": " + errorDescription(e.error);
      else if (d)
        detail = quotedValueList(d->help.allValueStrings);
      std::string head = "The value " + quoted(e.value) + " is invalid";
      if (valueName) return head + " for " + quoted(withValueName(e.name, *valueName)) + detail;
      if (e.name) return head + " for " + quoted(e.name->synopsisString()) + detail;
      return head + "." + detail;
    }
    case C::userValidationError:
      return errorDescription(e.error);
    case C::noArguments: {
      try {
        std::rethrow_exception(e.error);
      } catch (const ParserError& inner) {
        return ErrorMessageGenerator{arguments, inner}.makeErrorMessage();
      } catch (...) {
        return errorDescription(e.error);
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
      return withValueName(error.name, d->valueName()) + "  " + d->help.abstract;
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

}  // namespace ArgumentParser
