// Parsing through small commands: every option strategy, positional arrays,
// flags of every form, option groups, subcommands and the built-in requests.
#include <gtest/gtest.h>

#include "test_commands.h"

namespace apt {
namespace {

using C = ParserError::Case;

struct Strategies : ParsableCommand {
  Option<std::optional<std::string>> next;
  Option<std::optional<std::string>> scan{{.parsing = SingleValueParsingStrategy::scanningForValue}};
  Option<std::optional<std::string>> raw{{.parsing = SingleValueParsingStrategy::unconditional}};
  Option<std::vector<std::string>> upTo{{.parsing = ArrayParsingStrategy::upToNextOption}};
  Option<std::vector<int>> number{{.name = NameSpecification::customShort('n', true)}};
  Option<std::vector<std::string>> anything{{.parsing = ArrayParsingStrategy::unconditionalSingleValue}};
  Flag<bool> flag{false, {.name = NameSpecification::shortAndLong()}};
  Flag<bool> quiet{false, {.name = NameSpecification::short_()}};
  static void declare(Declarations<Strategies>& d) {
    d("next", &Strategies::next)("scan", &Strategies::scan)("raw", &Strategies::raw)("upTo", &Strategies::upTo)(
        "number", &Strategies::number)("anything", &Strategies::anything)("flag", &Strategies::flag)(
        "quiet", &Strategies::quiet);
  }
};

struct Remaining : ParsableCommand {
  Flag<bool> verbose{false, {}};
  Option<std::vector<std::string>> pass{{.parsing = ArrayParsingStrategy::remaining}};
  static void declare(Declarations<Remaining>& d) { d("verbose", &Remaining::verbose)("pass", &Remaining::pass); }
};

struct Positionals : ParsableCommand {
  Argument<std::string> first;
  Argument<std::optional<int>> second;
  Argument<std::vector<std::string>> rest;
  Flag<bool> verbose{false, {}};
  static void declare(Declarations<Positionals>& d) {
    d("first", &Positionals::first)("second", &Positionals::second)("rest", &Positionals::rest)(
        "verbose", &Positionals::verbose);
  }
};

struct PostTerminator : ParsableCommand {
  Argument<std::vector<std::string>> files;
  Argument<std::vector<std::string>> passed{{.parsing = ArgumentArrayParsingStrategy::postTerminator}};
  static void declare(Declarations<PostTerminator>& d) {
    d("files", &PostTerminator::files)("passed", &PostTerminator::passed);
  }
};

struct Unrecognized : ParsableCommand {
  Flag<bool> known{false, {}};
  Argument<std::optional<std::string>> first;
  Argument<std::vector<std::string>> other{{.parsing = ArgumentArrayParsingStrategy::allUnrecognized}};
  static void declare(Declarations<Unrecognized>& d) {
    d("known", &Unrecognized::known)("first", &Unrecognized::first)("other", &Unrecognized::other);
  }
};

struct UnconditionalRest : ParsableCommand {
  Argument<std::string> tool;
  Argument<std::vector<std::string>> arguments{{.parsing = ArgumentArrayParsingStrategy::unconditionalRemaining}};
  static void declare(Declarations<UnconditionalRest>& d) {
    d("tool", &UnconditionalRest::tool)("arguments", &UnconditionalRest::arguments);
  }
};

struct Flags : ParsableCommand {
  Flag<int> verbose{{.name = NameSpecification::shortAndLong()}};
  Flag<bool> required{{}};
  Flag<bool> color{true, {.inversion = FlagInversion::prefixedEnableDisable}};
  Flag<bool> strict{false, {.inversion = FlagInversion::prefixedNo, .exclusivity = FlagExclusivity::exclusive}};
  Flag<bool> early{false, {.inversion = FlagInversion::prefixedNo, .exclusivity = FlagExclusivity::chooseFirst}};
  Flag<Color> paint{Color::red};
  Option<Speed> speed{Speed::slow, {}};
  Option<double> ratio{1.5, {}};
  Option<std::uint8_t> level{0, {}};
  static void declare(Declarations<Flags>& d) {
    d("verbose", &Flags::verbose)("required", &Flags::required)("color", &Flags::color)("strict", &Flags::strict)(
        "early", &Flags::early)("paint", &Flags::paint)("speed", &Flags::speed)("ratio", &Flags::ratio)(
        "level", &Flags::level);
  }
};

TEST(OptionStrategies, NextTakesAttachedOrAFollowingValueOnly) {
  EXPECT_EQ(*parse<Strategies>({"--next", "v"})->next.value(), "v");
  EXPECT_EQ(*parse<Strategies>({"--next=v"})->next.value(), "v");
  EXPECT_EQ(kind<Strategies>({"--next", "--flag"}), C::missingValueForOption);
  EXPECT_EQ(kind<Strategies>({"--next"}), C::missingValueForOption);
  // A repeated single-value option keeps the last value.
  EXPECT_EQ(*parse<Strategies>({"--next", "a", "--next", "b"})->next.value(), "b");
}

TEST(OptionStrategies, ScanningSkipsLabelsAndUnconditionalTakesAnything) {
  auto scanned = parse<Strategies>({"--scan", "--flag", "value"});
  EXPECT_EQ(*scanned->scan.value(), "value");
  EXPECT_TRUE(scanned->flag.value());
  auto raw = parse<Strategies>({"--raw", "--flag"});
  EXPECT_EQ(*raw->raw.value(), "--flag");
  EXPECT_FALSE(raw->flag.value());
  EXPECT_EQ(*parse<Strategies>({"--raw", "-xyz"})->raw.value(), "-xyz");
  EXPECT_EQ(parse<Strategies>({"--anything", "-q", "--anything", "--x"})->anything.value(),
            (std::vector<std::string>{"-q", "--x"}));
}

TEST(OptionStrategies, UpToNextOptionStopsAtALabel) {
  auto parsed = parse<Strategies>({"--up-to", "a", "b", "--flag"});
  EXPECT_EQ(parsed->upTo.value(), (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(parsed->flag.value());
  EXPECT_EQ(kind<Strategies>({"--up-to", "a", "--flag", "c"}), C::unexpectedExtraValues);
  EXPECT_EQ(parse<Strategies>({"--up-to=x", "y"})->upTo.value(), (std::vector<std::string>{"x", "y"}));
  EXPECT_EQ(kind<Strategies>({"--up-to", "--flag"}), C::missingValueForOption);
}

TEST(OptionStrategies, JoinedShortValuesAndArrays) {
  EXPECT_EQ(parse<Strategies>({"-n5", "-n", "6", "-n=7"})->number.value(), (std::vector<int>{5, 6, 7}));
  auto grouped = parse<Strategies>({"-fq"});
  EXPECT_TRUE(grouped->flag.value());
  EXPECT_TRUE(grouped->quiet.value());
  EXPECT_TRUE(parse<Strategies>({})->number.value().empty());
}

TEST(OptionStrategies, RemainingTakesEverythingBehindTheLabel) {
  auto parsed = parse<Remaining>({"--pass", "a", "--verbose", "-x"});
  EXPECT_EQ(parsed->pass.value(), (std::vector<std::string>{"a", "--verbose", "-x"}));
  EXPECT_FALSE(parsed->verbose.value());
  EXPECT_TRUE(parse<Remaining>({"--verbose", "--pass"})->pass.value().empty());
}

TEST(Positionals, FillInDeclarationOrderAndArraysTakeTheRest) {
  auto parsed = parse<Positionals>({"a", "--verbose", "2", "x", "y"});
  EXPECT_EQ(parsed->first.value(), "a");
  EXPECT_EQ(parsed->second.value(), 2);
  EXPECT_EQ(parsed->rest.value(), (std::vector<std::string>{"x", "y"}));
  EXPECT_TRUE(parsed->verbose.value());
  auto minimal = parse<Positionals>({"only"});
  EXPECT_FALSE(minimal->second.value().has_value());
  EXPECT_TRUE(minimal->rest.value().empty());
  // Behind the terminator a dash-led word is a value.
  EXPECT_EQ(parse<Positionals>({"a", "--", "-5"})->second.value(), -5);
  EXPECT_EQ(parse<Positionals>({"a", "1", "--", "--verbose"})->rest.value(), std::vector<std::string>{"--verbose"});
}

TEST(Positionals, PostTerminatorAllUnrecognizedAndUnconditionalRemaining) {
  auto post = parse<PostTerminator>({"a", "b", "--", "c", "--d"});
  EXPECT_EQ(post->files.value(), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(post->passed.value(), (std::vector<std::string>{"c", "--d"}));

  auto unrecognized = parse<Unrecognized>({"x", "--known", "--unknown", "-z", "y"});
  EXPECT_TRUE(unrecognized->known.value());
  EXPECT_EQ(unrecognized->first.value(), "x");
  EXPECT_EQ(unrecognized->other.value(), (std::vector<std::string>{"--unknown", "-z", "y"}));

  auto rest = parse<UnconditionalRest>({"git", "--version", "-C", "dir"});
  EXPECT_EQ(rest->tool.value(), "git");
  EXPECT_EQ(rest->arguments.value(), (std::vector<std::string>{"--version", "-C", "dir"}));
}

// A positional skips dash-led words on its way to a value, and they leave
// with it: no later array swallows them, and an unknown one is its error.
TEST(Positionals, WordsSkippedForAValueAreLeftForNoArray) {
  for (auto error : {parseError<UnconditionalRest>({"--x", "git", "a"}), parseError<Unrecognized>({"-z", "x"})}) {
    EXPECT_EQ(error.parserError.kind, C::unknownOption);
    EXPECT_EQ(error.parserError.origin, InputOrigin(Index{InputIndex{0}, SubIndex::complete()}));
  }
}

TEST(Flags, CountingInvertedExclusiveAndEnumerable) {
  auto parsed = parse<Flags>({"-vv", "--verbose", "--required", "--disable-color", "--green"});
  EXPECT_EQ(parsed->verbose.value(), 3);
  EXPECT_TRUE(parsed->required.value());
  EXPECT_FALSE(parsed->color.value());
  EXPECT_EQ(parsed->paint.value(), Color::green);

  auto defaults = parse<Flags>({"--required"});
  EXPECT_EQ(defaults->verbose.value(), 0);
  EXPECT_TRUE(defaults->color.value());
  EXPECT_EQ(defaults->paint.value(), Color::red);
  EXPECT_EQ(defaults->speed.value(), Speed::slow);

  EXPECT_TRUE(parse<Flags>({"--required", "--early", "--no-early"})->early.value());
  EXPECT_FALSE(parse<Flags>({"--required", "--no-early", "--early"})->early.value());
  EXPECT_TRUE(parse<Flags>({"--required", "--early", "--no-early", "--early"})->early.value());
  EXPECT_TRUE(parse<Flags>({"--required", "--strict", "--strict"})->strict.value());

  EXPECT_EQ(kind<Flags>({"--required", "--strict", "--no-strict"}), C::duplicateExclusiveValues);
  EXPECT_EQ(kind<Flags>({"--required", "--red", "--blue"}), C::duplicateExclusiveValues);
  EXPECT_EQ(parse<Flags>({"--required", "--blue", "--blue"})->paint.value(), Color::blue);
}

struct OptionalColor : ParsableCommand {
  Flag<std::optional<Color>> color{{.exclusivity = FlagExclusivity::chooseLast}};
  static void declare(Declarations<OptionalColor>& d) { d("color", &OptionalColor::color); }
};

struct Palette : ParsableCommand {
  Flag<std::vector<Color>> colors{{Color::blue}, {}};
  static void declare(Declarations<Palette>& d) { d("colors", &Palette::colors); }
};

TEST(Flags, OptionalAndArrayEnumerableFlags) {
  EXPECT_FALSE(parse<OptionalColor>({})->color.value().has_value());
  EXPECT_EQ(parse<OptionalColor>({"--red", "--green"})->color.value(), Color::green);
  EXPECT_EQ(parse<Palette>({})->colors.value(), std::vector<Color>{Color::blue});
  EXPECT_EQ(parse<Palette>({"--red", "--red", "--green"})->colors.value(),
            (std::vector<Color>{Color::red, Color::red, Color::green}));
}

TEST(Flags, ValuesConvertByType) {
  auto parsed = parse<Flags>({"--required", "--speed", "fast", "--ratio=-2.25", "--level", "255"});
  EXPECT_EQ(parsed->speed.value(), Speed::fast);
  EXPECT_DOUBLE_EQ(parsed->ratio.value(), -2.25);
  EXPECT_EQ(parsed->level.value(), 255);
  EXPECT_EQ(kind<Flags>({"--required", "--level", "256"}), C::unableToParseValue);
  EXPECT_EQ(kind<Flags>({"--required", "--speed", "medium"}), C::unableToParseValue);
  EXPECT_EQ(kind<Flags>({"--required", "--ratio", "1.5x"}), C::unableToParseValue);
}

TEST(ExpressibleByArgument, ConvertsAndDescribesValues) {
  EXPECT_EQ(ExpressibleByArgument<int>::parse("+12"), 12);
  EXPECT_EQ(ExpressibleByArgument<int>::parse("-12"), -12);
  EXPECT_FALSE(ExpressibleByArgument<int>::parse("1 ").has_value());
  EXPECT_FALSE(ExpressibleByArgument<int>::parse("").has_value());
  EXPECT_FALSE(ExpressibleByArgument<std::uint32_t>::parse("-1").has_value());
  EXPECT_EQ(ExpressibleByArgument<std::int64_t>::parse("-9223372036854775808"), INT64_MIN);
  EXPECT_EQ(ExpressibleByArgument<bool>::parse("true"), true);
  EXPECT_FALSE(ExpressibleByArgument<bool>::parse("yes").has_value());
  EXPECT_EQ(ExpressibleByArgument<double>::defaultValueDescription(1.0), "1.0");
  EXPECT_EQ(ExpressibleByArgument<double>::defaultValueDescription(2.5), "2.5");
  EXPECT_EQ(ExpressibleByArgument<float>::defaultValueDescription(0.1f), "0.1");
  EXPECT_EQ(ExpressibleByArgument<Speed>::allValueStrings(), (std::vector<std::string>{"slow", "fast"}));
}

TEST(OptionGroups, DecodeUnderTheGroupPathAndValidate) {
  auto add = parse<Add>({"1", "-v", "2", "--output", "sum.txt"});
  EXPECT_EQ(add->values.value(), (std::vector<int>{1, 2}));
  EXPECT_TRUE(add->options.value().verbose.value());
  EXPECT_EQ(add->options.value().output.value(), "sum.txt");

  // `--output=` has no value: it is missing
  EXPECT_EQ(kind<Add>({"--output="}), C::missingValueForOption);
  EXPECT_EQ(kind<Add>({"--output", ""}), C::userValidationError);
}

TEST(Subcommands, NamesAliasesAndTheDefault) {
  Add::lastSum = 0;
  EXPECT_EQ(runMain<Math>({"add", "1", "2"}).status, 0);
  EXPECT_EQ(Add::lastSum, 3);
  EXPECT_EQ(runMain<Math>({"plus", "4"}).status, 0);
  EXPECT_EQ(Add::lastSum, 4);
  EXPECT_EQ(runMain<Math>({"5", "6"}).status, 0);  // the default subcommand
  EXPECT_EQ(Add::lastSum, 11);
  EXPECT_NE(std::dynamic_pointer_cast<Multiply>(parseAsRoot<Math>({"times", "2"})), nullptr);
  EXPECT_NE(std::dynamic_pointer_cast<Stats>(parseAsRoot<Math>({"stats"})), nullptr);
}

TEST(BuiltInRequests, HelpVersionAndDumpAreFoundBeforeLeftovers) {
  auto help = std::dynamic_pointer_cast<HelpCommand>(parseAsRoot<Repeat>({"--help", "--bad"}));
  ASSERT_NE(help, nullptr);
  EXPECT_EQ(help->commandStack, CommandStack{typeOf<Repeat>()});
  // A missing required value with --help elsewhere still gives help.
  EXPECT_NE(std::dynamic_pointer_cast<HelpCommand>(parseAsRoot<Repeat>({"--count", "2", "-h"})), nullptr);
  // A dash-led word is no value for an option of the default strategy.
  EXPECT_EQ(kind<Repeat>({"--count", "-h"}), C::missingValueForOption);
  auto hidden = std::dynamic_pointer_cast<HelpCommand>(parseAsRoot<Repeat>({"x", "--help-hidden"}));
  ASSERT_NE(hidden, nullptr);
  EXPECT_EQ(hidden->visibility, ArgumentVisibility::hidden);

  EXPECT_EQ(kind<Repeat>({"phrase", "--count", "2", "--version"}), C::versionRequested);
  EXPECT_EQ(kind<Repeat>({"--experimental-dump-help"}), C::dumpHelpRequested);
  // A value attached to an option is never read as a request.
  EXPECT_EQ(parse<Repeat>({"--count", "2", "--", "--help"})->phrase.value(), "--help");

  auto script = parseError<Repeat>({"--generate-completion-script", "bash", "--count"});
  EXPECT_EQ(script.parserError.kind, C::completionScriptRequested);
  EXPECT_EQ(script.parserError.text, "bash");
  auto detected = parseError<Repeat>({"--generate-completion-script"});
  EXPECT_EQ(detected.parserError.kind, C::completionScriptRequested);
  EXPECT_FALSE(detected.parserError.text.has_value());
}

// A name declared twice belongs to its first bearer: --shown sets `shown` only.
TEST(ArgumentSet, FirstNameWins) {
  struct Twice : ParsableCommand {
    Flag<bool> shown{false, {}};
    Flag<bool> duplicate{false, {.name = NameSpecification::customLong("shown")}};
    static void declare(Declarations<Twice>& d) { d("shown", &Twice::shown)("duplicate", &Twice::duplicate); }
  };
  auto parsed = parse<Twice>({"--shown"});
  EXPECT_TRUE(parsed->shown.value());
  EXPECT_FALSE(parsed->duplicate.value());
}

TEST(DeclaredProperties, CannotBeReadBeforeParsing) {
  EXPECT_DEATH((void)Repeat().includeCounter.value(), "Can't read a value from a parsable\u00A0argument");
}

TEST(ParseAsValue, ArgumentsThatAreNoCommandGoThroughAWrapper) {
  OutputOptions options = ArgumentParser::parse<OutputOptions>({"-v", "--output", "file"});
  EXPECT_TRUE(options.verbose.value());
  EXPECT_EQ(options.output.value(), "file");
  EXPECT_EQ(kind<WrappedParsableCommand<OutputOptions>>({"--output", ""}), C::userValidationError);
  EXPECT_EQ(typeOf<WrappedParsableCommand<OutputOptions>>()->commandName(), "output-options");
}

}  // namespace
}  // namespace apt
