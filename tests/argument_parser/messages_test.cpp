// What a run prints, on which stream, and how it ends.
#include <gtest/gtest.h>

#include <stdexcept>

#include "test_commands.h"

namespace apt {
namespace {

// Each fault of the input has its own words and the short usage; no
// arguments at all give the whole help instead. A missing required argument
// is found before an unknown option; a near name is suggested, the nearest
// winning over an earlier, farther one; four edits are too many.
TEST(ErrorMessages, EachFaultOfTheInputHasItsOwnWordsAndTheShortUsage) {
  expectRefusals<Repeat>("repeat-errors.transcript");
}

struct Exclusive : ParsableCommand {
  Flag<int> verbose{{.name = NameSpecification::short_()}};
  Flag<bool> strict{false,
                    {.name = NameSpecification::shortAndLong(),
                     .inversion = FlagInversion::prefixedNo,
                     .exclusivity = FlagExclusivity::exclusive}};
  Option<Speed> speed{Speed::slow, {.help = "How fast."}};
  Option<std::vector<std::string>> tag{{.name = NameSpecification::short_()}};
  Flag<bool> flag{{}};
  static CommandConfiguration configuration() { return {.commandName = "ex"}; }
  static std::string errorLabel() { return "Problem"; }
  static void declare(Declarations<Exclusive>& d) {
    d("verbose", &Exclusive::verbose)("strict", &Exclusive::strict)("speed", &Exclusive::speed)("tag", &Exclusive::tag)(
        "flag", &Exclusive::flag);
  }
};

TEST(ErrorMessages, ExclusiveFlagsValueListsAndTheErrorLabel) {
  expectRefusals<Exclusive>("ex-errors.transcript");
}

struct Failing : ParsableCommand {
  Option<std::string> mode{"ok", {}};
  static CommandConfiguration configuration() { return {.commandName = "failing"}; }
  static void declare(Declarations<Failing>& d) { d("mode", &Failing::mode); }
  void validate() override {
    if (mode.value() == "invalid") throw ValidationError("The mode is invalid.");
  }
  void run() override {
    const auto& m = mode.value();
    if (m == "code") throw ExitCode(3);
    if (m == "zero") throw ExitCode(0);
    if (m == "runtime") throw std::runtime_error("The disk is on fire.");
    if (m == "text") throw std::string("Plain words.");
    if (m == "clean") throw CleanExit::makeMessage("Nothing to do.");
    if (m == "help") throw CleanExit::helpRequest();
    if (m == "empty") throw std::runtime_error("");
  }
};

// A failed validation, and --version where no command has a version.
TEST(ExitPath, RefusedByValidateOrForLackOfAVersion) {
  expectRefusals<Failing>("failing-errors.transcript");
}

TEST(ExitPath, ErrorsOfValidateAndRun) {
  // A completed run returns and exit is not called (-1); the rest leave through exit.
  // An empty message prints nothing, not even a newline.
  const struct {
    const char* mode;
    int exitStatus;
    std::string out, err;
  } cases[] = {
      {"ok", -1, "", ""},
      {"code", 3, "", ""},
      {"zero", 0, "", ""},
      {"runtime", 1, "", "Error: The disk is on fire.\n"},
      {"text", 1, "", "Error: Plain words.\n"},
      {"empty", 1, "", ""},
      {"clean", 0, "Nothing to do.\n", ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.mode);
    auto outcome = runMain<Failing>({"--mode", c.mode});
    EXPECT_EQ(outcome.exitStatus, c.exitStatus);
    EXPECT_EQ(outcome.out, c.out);
    EXPECT_EQ(outcome.err, c.err);
  }
  EXPECT_EQ(runMain<Failing>({}).status, 0);
  auto help = runMain<Failing>({"--mode", "help"});
  EXPECT_EQ(help.exitStatus, 0);
  EXPECT_EQ(help.out, golden("failing.help"));
}

TEST(ExitPath, RequestsPrintOnStandardOutputWithStatusZero) {
  auto help = runMain<Repeat>({"-h"}, "30");
  EXPECT_EQ(help.exitStatus, 0);
  EXPECT_EQ(help.err, "");
  EXPECT_EQ(help.out, golden("repeat-30-columns.help"));

  auto version = runMain<Repeat>({"--include-counter", "--version"});
  EXPECT_EQ(version.out, "1.0.2\n");
  EXPECT_EQ(version.exitStatus, 0);

  auto subcommandVersion = runMain<Math>({"multiply", "--version"});
  EXPECT_EQ(subcommandVersion.out, "1.0.0\n");
}

TEST(ExitPath, HelpSubcommandAndSubcommandErrors) {
  auto help = runMain<Math>({"help", "times"});
  EXPECT_EQ(help.exitStatus, 0);
  EXPECT_EQ(help.out, golden("multiply.help"));
  EXPECT_EQ(runMain<Math>({"help", "nosuch"}).out, runMain<Math>({"--help"}).out);
  EXPECT_EQ(runMain<Math>({"help", "times", "-h"}).out, help.out);

  expectRefusals<Math>("math-errors.transcript");
  // An empty value cannot be written in a transcript.
  auto empty = runMain<Math>({"add", "--output", ""});
  EXPECT_EQ(empty.out, "");
  EXPECT_EQ(empty.err,
            "Error: The output must not be empty.\n"
            "Usage: math add [<values> ...] [--verbose] [--output <output>]\n"
            "  See 'math add --help' for more information.\n");
  EXPECT_EQ(empty.exitStatus, 64);
  EXPECT_EQ(empty.status, 64);
}

struct NoHelp : ParsableCommand {
  static CommandConfiguration configuration() {
    return {.commandName = "nohelp", .helpNames = NameSpecification::none()};
  }
};
struct HiddenUsage : ParsableCommand {
  static CommandConfiguration configuration() { return {.commandName = "quiet", .usage = ""}; }
};

// Without help names there is no "See" line, and --help is an ordinary
// unknown option; an empty usage leaves only the "See" line.
TEST(ExitPath, SeeLineFollowsTheHelpNamesAndTheUsage) {
  expectRefusals<NoHelp>("nohelp-errors.transcript");
  expectRefusals<HiddenUsage>("quiet-errors.transcript");
}

TEST(ExitPath, MessageFunctionsReadTheSameInformation) {
  auto error = std::make_exception_ptr(ValidationError("Bad."));
  EXPECT_EQ(message(typeOf<Failing>(), error), "Bad.");
  EXPECT_EQ(fullMessage(typeOf<Failing>(), error), "Error: Bad.\nUsage: failing [--mode <mode>]\n"
                                                   "  See 'failing --help' for more information.");
  EXPECT_EQ(exitCode(typeOf<Failing>(), error), ExitCode::validationFailure());
  EXPECT_EQ(exitCode(typeOf<Failing>(), std::make_exception_ptr(ExitCode(9))).rawValue, 9);
}

}  // namespace
}  // namespace apt
