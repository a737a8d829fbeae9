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
std::string words(const ParserError& error) { return generator(error).makeErrorMessage().value_or("(none)"); }
std::string helpLine(const ParserError& error) { return generator(error).makeHelpMessage().value_or("(none)"); }

TEST(ErrorMessageGenerator, FixedTexts) {
  using C = ParserError::Case;
  EXPECT_EQ(words(ParserError::unsupportedShell("tcsh")),
            "Can't generate completion scripts for 'tcsh'.\n"
            "Please use --generate-completion-script=<shell> with one of:\n"
            "    zsh, bash, fish");
  EXPECT_EQ(words(ParserError::unsupportedShell(std::nullopt)),
            "Can't autodetect a supported shell.\n"
            "Please use --generate-completion-script=<shell> with one of:\n"
            "    zsh, bash, fish");
  EXPECT_EQ(words(ParserError::nonAlphanumericShortOption("?")), "Invalid option: -?");
  EXPECT_EQ(words(ParserError::simple(C::notImplemented)),
            "Internal error. Parsing command-line arguments hit unimplemented code path.");
  EXPECT_EQ(words(ParserError::simple(C::invalidState)),
            "Internal error. Invalid state while parsing command-line arguments.");
  EXPECT_EQ(words(ParserError::simple(C::missingSubcommand)), "Missing required subcommand.");
  EXPECT_EQ(words(ParserError::simple(C::versionRequested)), "(none)");
  EXPECT_EQ(words(ParserError::helpRequested(ArgumentVisibility::default_)), "(none)");
  EXPECT_EQ(words(ParserError::noValue(InputKey("ghost"))),
            "No value set for non-argument var ghost. Replace with a static variable, or let constant.");
  EXPECT_EQ(words(ParserError::missingValueForOption(InputOrigin(), Name::makeLong("ghost"))),
            "Missing value for '--ghost'");
}

TEST(ErrorMessageGenerator, UnparsableValuesListTheChoices) {
  InputOrigin origin(Index{InputIndex{1}, SubIndex::complete()});
  EXPECT_EQ(words(ParserError::unableToParseValue(origin, Name::makeLong("level"), "9", InputKey("level"))),
            "The value '9' is invalid for '--level <level>'. Please provide one of the following:\n"
            "  - 1\n  - 2\n  - 3\n  - 4\n  - 5\n  - 6");
  EXPECT_EQ(words(ParserError::unableToParseValue(origin, Name::makeLong("three"), "d", InputKey("three"))),
            "The value 'd' is invalid for '--three <three>'. Please provide one of 'a', 'b' or 'c'.");
  EXPECT_EQ(words(ParserError::unableToParseValue(origin, std::nullopt, "x", InputKey("number"))),
            "The value 'x' is invalid for '<n>'");
  EXPECT_EQ(words(ParserError::unableToParseValue(origin, Name::makeShort('q'), "x", InputKey("missing"))),
            "The value 'x' is invalid for '-q'");
  EXPECT_EQ(words(ParserError::unableToParseValue(origin, std::nullopt, "x", InputKey("missing"))),
            "The value 'x' is invalid.");
  EXPECT_EQ(words(ParserError::unableToParseValue(origin, std::nullopt, "x", InputKey("number"),
                                                  std::make_exception_ptr(std::runtime_error("too big")))),
            "The value 'x' is invalid for '<n>': too big");
  EXPECT_EQ(helpLine(ParserError::unableToParseValue(origin, std::nullopt, "x", InputKey("number"))), "<n>  A number.");
  EXPECT_EQ(helpLine(ParserError::unableToParseValue(origin, Name::makeLong("level"), "9", InputKey("level"))),
            "--level <level>  How deep.");
  EXPECT_EQ(helpLine(ParserError::noValue(InputKey("ghost"))), "(none)");
}

TEST(ErrorMessageGenerator, WrappedAndUserErrors) {
  auto inner = ParserError::unexpectedExtraValues({{InputOrigin(), "x"}});
  EXPECT_EQ(words(ParserError::noArguments(std::make_exception_ptr(inner))), "Unexpected argument 'x'");
  EXPECT_EQ(words(ParserError::noArguments(std::make_exception_ptr(ValidationError("Nope.")))), "Nope.");
  EXPECT_EQ(words(ParserError::userValidationError(std::make_exception_ptr(std::logic_error("Broken.")))),
            "Broken.");
  EXPECT_EQ(words(ParserError::userValidationError(std::make_exception_ptr(42))), "Unknown error.");
}

}  // namespace
}  // namespace apt
