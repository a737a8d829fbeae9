// The words of each parser error, against a command's arguments.
#include <gtest/gtest.h>

#include <stdexcept>

#include "test_commands.h"

namespace apt {
enum class Level { l1, l2, l3, l4, l5, l6 };
enum class Three { a, b, c };
}  // namespace apt

template <>
struct ArgumentParser::RawValueTraits<apt::Level> {
  using RawValue = int;
  static std::vector<apt::Level> allCases() {
    return {apt::Level::l1, apt::Level::l2, apt::Level::l3, apt::Level::l4, apt::Level::l5, apt::Level::l6};
  }
  static int rawValue(apt::Level l) { return static_cast<int>(l) + 1; }
};

template <>
struct ArgumentParser::RawValueTraits<apt::Three> {
  using RawValue = std::string;
  static std::vector<apt::Three> allCases() { return {apt::Three::a, apt::Three::b, apt::Three::c}; }
  static std::string rawValue(apt::Three t) { return t == apt::Three::a ? "a" : t == apt::Three::b ? "b" : "c"; }
};

namespace apt {
namespace {

struct Values : ParsableCommand {
  Option<Level> level{Level::l1, {.help = "How deep."}};
  Option<Three> three{Three::a, {}};
  Argument<std::optional<int>> number{{.help = {"A number.", {}, "n"}}};
  static void declare(Declarations<Values>& d) {
    d("level", &Values::level)("three", &Values::three)("number", &Values::number);
  }
};

ErrorMessageGenerator generator(const ParserError& error) {
  return {typeOf<Values>()->argumentSet(ArgumentVisibility::private_), error};
}

// The texts that no run of the test commands reaches: values of every kind,
// keys no argument has, errors wrapped in others, requests that are no error.
TEST(ErrorMessageGenerator, WordsAndHelpLines) {
  using C = ParserError::Case;
  const InputOrigin origin(Index{InputIndex{1}, SubIndex::complete()});
  auto invalid = [&origin](std::optional<Name> name, const char* value, const char* key, std::exception_ptr e = {}) {
    return ParserError::unableToParseValue(origin, std::move(name), value, InputKey(key), std::move(e));
  };
  const struct {
    ParserError error;
    std::string words, help;
  } cases[] = {
      {ParserError::nonAlphanumericShortOption("?"), "Invalid option: -?", "(none)"},
      {ParserError::simple(C::notImplemented),
       "Internal error. Parsing command-line arguments hit unimplemented code path.", "(none)"},
      {ParserError::simple(C::missingSubcommand), "Missing required subcommand.", "(none)"},
      {ParserError::simple(C::versionRequested), "(none)", "(none)"},
      {ParserError::helpRequested(ArgumentVisibility::default_), "(none)", "(none)"},
      {ParserError::noValue(InputKey("ghost")),
       "No value set for non-argument var ghost. Replace with a static variable, or let constant.", "(none)"},
      {ParserError::missingValueForOption(InputOrigin(), Name::makeLong("ghost")), "Missing value for '--ghost'",
       "(none)"},
      {invalid(Name::makeLong("level"), "9", "level"),
       "The value '9' is invalid for '--level <level>'. Please provide one of the following:\n"
       "  - 1\n  - 2\n  - 3\n  - 4\n  - 5\n  - 6",
       "--level <level>  How deep."},
      {invalid(Name::makeLong("three"), "d", "three"),
       "The value 'd' is invalid for '--three <three>'. Please provide one of 'a', 'b' or 'c'.",
       "--three <three>  "},
      {invalid(std::nullopt, "x", "number"), "The value 'x' is invalid for '<n>'", "<n>  A number."},
      {invalid(Name::makeShort('q'), "x", "missing"), "The value 'x' is invalid for '-q'", "(none)"},
      {invalid(std::nullopt, "x", "missing"), "The value 'x' is invalid.", "(none)"},
      {invalid(std::nullopt, "x", "number", std::make_exception_ptr(std::runtime_error("too big"))),
       "The value 'x' is invalid for '<n>': too big", "<n>  A number."},
      {ParserError::noArguments(std::make_exception_ptr(ParserError::unexpectedExtraValues({{origin, "x"}}))),
       "Unexpected argument 'x'", "(none)"},
      {ParserError::noArguments(std::make_exception_ptr(ValidationError("Nope."))), "Nope.", "(none)"},
      {ParserError::userValidationError(std::make_exception_ptr(std::logic_error("Broken."))), "Broken.", "(none)"},
      {ParserError::userValidationError(std::make_exception_ptr(42)), "Unknown error.", "(none)"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(generator(c.error).makeErrorMessage().value_or("(none)"), c.words);
    EXPECT_EQ(generator(c.error).makeHelpMessage().value_or("(none)"), c.help) << c.words;
  }
}

}  // namespace
}  // namespace apt
