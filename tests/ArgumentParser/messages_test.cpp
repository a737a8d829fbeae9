// What a run prints, on which stream, and how it ends.
#include <gtest/gtest.h>

#include <stdexcept>

#include "test_commands.h"

namespace apt {
namespace {

const char* repeatUsage =
    "Usage: repeat [--count <count>] [--include-counter] <phrase>\n"
    "  See 'repeat --help' for more information.\n";

void expectValidationFailure(const Outcome& outcome, const std::string& err) {
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, err);
  EXPECT_EQ(outcome.exitStatus, 64);
  EXPECT_EQ(outcome.status, 64);
}

TEST(ErrorMessages, UnknownOptionsAndSuggestions) {
  expectValidationFailure(runMain<Repeat>({"x", "--bad"}),
                          std::string("Error: Unknown option '--bad'\n") + repeatUsage);
  // A required argument that is missing is found before the unknown option.
  expectValidationFailure(runMain<Repeat>({"--bad"}),
                          std::string("Error: Missing expected argument '<phrase>'\n"
                                      "Help:  <phrase>  The phrase to repeat.\n") +
                              repeatUsage);
  expectValidationFailure(runMain<Repeat>({"x", "--countt", "2"}),
                          std::string("Error: Unknown option '--countt'. Did you mean '--count'?\n") + repeatUsage);
  // The nearest name wins over an earlier, farther one.
  expectValidationFailure(
      runMain<Repeat>({"x", "--include-countr"}),
      std::string("Error: Unknown option '--include-countr'. Did you mean '--include-counter'?\n") + repeatUsage);
  // Four edits are too many; a short name is never given a suggestion.
  expectValidationFailure(runMain<Repeat>({"x", "--cxxxx"}), std::string("Error: Unknown option '--cxxxx'\n") + repeatUsage);
  expectValidationFailure(runMain<Repeat>({"x", "-c"}), std::string("Error: Unknown option '-c'\n") + repeatUsage);
  expectValidationFailure(runMain<Repeat>({"x", "-count"}),
                          std::string("Error: Unknown option '-count'. Did you mean '--count'?\n") + repeatUsage);
}

TEST(ErrorMessages, ValuesExtrasAndInvalidWords) {
  expectValidationFailure(runMain<Repeat>({"x", "--count"}),
                          std::string("Error: Missing value for '--count <count>'\n"
                                      "Help:  --count <count>  How many times to repeat.\n") +
                              repeatUsage);
  expectValidationFailure(runMain<Repeat>({"x", "--count", "two"}),
                          std::string("Error: The value 'two' is invalid for '--count <count>'\n"
                                      "Help:  --count <count>  How many times to repeat.\n") +
                              repeatUsage);
  expectValidationFailure(runMain<Repeat>({"x", "--include-counter=yes"}),
                          std::string("Error: The option '--include-counter' does not take any value, but 'yes' "
                                      "was specified.\n") +
                              repeatUsage);
  expectValidationFailure(runMain<Repeat>({"a", "b"}), std::string("Error: Unexpected argument 'b'\n") + repeatUsage);
  expectValidationFailure(runMain<Repeat>({"a", "b", "c"}),
                          std::string("Error: 2 unexpected arguments: 'b', 'c'\n") + repeatUsage);
  expectValidationFailure(runMain<Repeat>({"a", "--", "--count"}),
                          std::string("Error: Unexpected argument '--count'\n") + repeatUsage);
  expectValidationFailure(runMain<Repeat>({"---"}), std::string("Error: Invalid option: ---\n") + repeatUsage);
  expectValidationFailure(runMain<Repeat>({"x", "-=x"}), std::string("Error: Invalid option: -=x\n") + repeatUsage);
}

TEST(ErrorMessages, NoArgumentsPrintsTheWholeHelp) {
  expectValidationFailure(runMain<Repeat>({}),
                          "Error: Missing expected argument '<phrase>'\n"
                          "\n"
                          "OVERVIEW: Repeats a phrase.\n"
                          "\n"
                          "USAGE: repeat [--count <count>] [--include-counter] <phrase>\n"
                          "\n"
                          "ARGUMENTS:\n"
                          "  <phrase>                The phrase to repeat.\n"
                          "\n"
                          "OPTIONS:\n"
                          "  --count <count>         How many times to repeat.\n"
                          "  --include-counter       Include a counter with each repetition.\n"
                          "  --version               Show the version.\n"
                          "  -h, --help              Show help information.\n"
                          "\n");
  // With some input the same missing value has the short usage.
  expectValidationFailure(runMain<Repeat>({"--include-counter"}),
                          std::string("Error: Missing expected argument '<phrase>'\n"
                                      "Help:  <phrase>  The phrase to repeat.\n") +
                              repeatUsage);
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
  const std::string usage =
      "Usage: ex [-v ...] [--strict] [--no-strict] [--speed <speed>] [-t <t> ...] --flag\n"
      "  See 'ex --help' for more information.\n";
  expectValidationFailure(runMain<Exclusive>({"--flag", "--strict", "--no-strict"}),
                          "Problem: Value to be set with flag '--no-strict' had already been set with flag "
                          "'--strict'\n" +
                              usage);
  expectValidationFailure(runMain<Exclusive>({"--flag", "--no-strict", "-vs"}),
                          "Problem: Value to be set with flag 's' in '-vs' had already been set with flag "
                          "'--no-strict'\n" +
                              usage);
  expectValidationFailure(runMain<Exclusive>({"--flag", "--speed", "warp"}),
                          "Problem: The value 'warp' is invalid for '--speed <speed>'. Please provide one of 'slow' "
                          "and 'fast'.\n"
                          "Help:  --speed <speed>  How fast.\n" +
                              usage);
  expectValidationFailure(runMain<Exclusive>({"-t"}),
                          "Problem: Missing value for '-t <t>'\n"
                          "Help:  -t <t>  \n" +
                              usage);
  expectValidationFailure(runMain<Exclusive>({"-v"}), "Problem: Missing expected argument '--flag'\n"
                          "Help:  --flag <flag>  \n" +
                              usage);
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

TEST(ExitPath, ErrorsOfValidateAndRun) {
  const std::string usage =
      "Usage: failing [--mode <mode>]\n"
      "  See 'failing --help' for more information.\n";
  expectValidationFailure(runMain<Failing>({"--mode", "invalid"}), "Error: The mode is invalid.\n" + usage);

  auto ok = runMain<Failing>({});
  EXPECT_EQ(ok.status, 0);
  EXPECT_EQ(ok.exitStatus, -1);  // a completed run returns; exit is not called
  EXPECT_EQ(ok.out + ok.err, "");

  auto code = runMain<Failing>({"--mode", "code"});
  EXPECT_EQ(code.exitStatus, 3);
  EXPECT_EQ(code.out + code.err, "");
  auto zero = runMain<Failing>({"--mode", "zero"});
  EXPECT_EQ(zero.exitStatus, 0);
  EXPECT_EQ(zero.out + zero.err, "");

  auto runtime = runMain<Failing>({"--mode", "runtime"});
  EXPECT_EQ(runtime.exitStatus, 1);
  EXPECT_EQ(runtime.err, "Error: The disk is on fire.\n");
  EXPECT_EQ(runtime.out, "");
  EXPECT_EQ(runMain<Failing>({"--mode", "text"}).err, "Error: Plain words.\n");
  auto empty = runMain<Failing>({"--mode", "empty"});
  EXPECT_EQ(empty.exitStatus, 1);
  EXPECT_EQ(empty.out + empty.err, "");  // an empty message prints nothing, not even a newline

  auto clean = runMain<Failing>({"--mode", "clean"});
  EXPECT_EQ(clean.exitStatus, 0);
  EXPECT_EQ(clean.out, "Nothing to do.\n");
  auto help = runMain<Failing>({"--mode", "help"});
  EXPECT_EQ(help.exitStatus, 0);
  EXPECT_EQ(help.out,
            "USAGE: failing [--mode <mode>]\n"
            "\n"
            "OPTIONS:\n"
            "  --mode <mode>           (default: ok)\n"
            "  -h, --help              Show help information.\n"
            "\n");
}

TEST(ExitPath, RequestsPrintOnStandardOutputWithStatusZero) {
  auto help = runMain<Repeat>({"-h"}, "30");
  EXPECT_EQ(help.exitStatus, 0);
  EXPECT_EQ(help.err, "");
  EXPECT_EQ(help.out,
            "OVERVIEW: Repeats a phrase.\n"
            "\n"
            "USAGE: repeat [--count <count>] [--include-counter] <phrase>\n"
            "\n"
            "ARGUMENTS:\n"
            "  <phrase>                The\n"
            "                          phrase\n"
            "                          to\n"
            "                          repeat.\n"
            "\n"
            "OPTIONS:\n"
            "  --count <count>         How\n"
            "                          many\n"
            "                          times\n"
            "                          to\n"
            "                          repeat.\n"
            "  --include-counter       Include\n"
            "                          a\n"
            "                          counter\n"
            "                          with\n"
            "                          each\n"
            "                          repetition.\n"
            "  --version               Show\n"
            "                          the\n"
            "                          version.\n"
            "  -h, --help              Show\n"
            "                          help\n"
            "                          information.\n"
            "\n");

  auto version = runMain<Repeat>({"--include-counter", "--version"});
  EXPECT_EQ(version.out, "1.0.2\n");
  EXPECT_EQ(version.exitStatus, 0);

  auto subcommandVersion = runMain<Math>({"multiply", "--version"});
  EXPECT_EQ(subcommandVersion.out, "1.0.0\n");

  // Without a version anywhere, --version is an unknown option.
  expectValidationFailure(runMain<Failing>({"--version"}),
                          "Error: Unknown option '--version'\n"
                          "Usage: failing [--mode <mode>]\n"
                          "  See 'failing --help' for more information.\n");

  auto unsupported = runMain<Repeat>({"--generate-completion-script", "tcsh"});
  EXPECT_EQ(unsupported.exitStatus, 64);
  EXPECT_EQ(unsupported.out, "");
  EXPECT_TRUE(unsupported.err.starts_with("Error: ")) << unsupported.err;
}

TEST(ExitPath, HelpSubcommandAndSubcommandErrors) {
  auto help = runMain<Math>({"help", "times"});
  EXPECT_EQ(help.exitStatus, 0);
  EXPECT_EQ(help.out,
            "OVERVIEW: Print the product of the values.\n"
            "\n"
            "USAGE: math multiply [<values> ...]\n"
            "\n"
            "ARGUMENTS:\n"
            "  <values>                A group of integers to operate on.\n"
            "\n"
            "OPTIONS:\n"
            "  --version               Show the version.\n"
            "  -h, --help              Show help information.\n"
            "\n");
  EXPECT_EQ(runMain<Math>({"help", "nosuch"}).out, runMain<Math>({"--help"}).out);
  EXPECT_EQ(runMain<Math>({"help", "times", "-h"}).out, help.out);

  auto validation = runMain<Math>({"multiply", "1", "2", "3", "4"});
  expectValidationFailure(validation,
                          "Error: Give at most three values.\n"
                          "Usage: math multiply [<values> ...]\n"
                          "  See 'math multiply --help' for more information.\n");
  auto groupValidation = runMain<Math>({"add", "--output", ""});
  expectValidationFailure(groupValidation,
                          "Error: The output must not be empty.\n"
                          "Usage: math add [<values> ...] [--verbose] [--output <output>]\n"
                          "  See 'math add --help' for more information.\n");
}

struct NoHelp : ParsableCommand {
  static CommandConfiguration configuration() {
    return {.commandName = "nohelp", .helpNames = NameSpecification::none()};
  }
};
struct HiddenUsage : ParsableCommand {
  static CommandConfiguration configuration() { return {.commandName = "quiet", .usage = ""}; }
};

TEST(ExitPath, SeeLineFollowsTheHelpNamesAndTheUsage) {
  expectValidationFailure(runMain<NoHelp>({"--bad"}),
                          "Error: Unknown option '--bad'\n"
                          "Usage: nohelp\n");
  expectValidationFailure(runMain<HiddenUsage>({"--bad"}),
                          "Error: Unknown option '--bad'\n"
                          "  See 'quiet --help' for more information.\n");
  // Without help names --help is an ordinary unknown option.
  EXPECT_EQ(runMain<NoHelp>({"--help"}).exitStatus, 64);
}

TEST(ExitPath, MessageFunctionsReadTheSameInformation) {
  auto error = std::make_exception_ptr(ValidationError("Bad."));
  EXPECT_EQ(message(typeOf<Repeat>(), error), "Bad.");
  EXPECT_EQ(fullMessage(typeOf<Repeat>(), error),
            "Error: Bad.\n"
            "Usage: repeat [--count <count>] [--include-counter] <phrase>\n"
            "  See 'repeat --help' for more information.");
  EXPECT_EQ(exitCode(typeOf<Repeat>(), error), ExitCode::validationFailure());
  EXPECT_EQ(exitCode(typeOf<Repeat>(), std::make_exception_ptr(ExitCode(9))).rawValue, 9);
  EXPECT_EQ(CleanExit::helpRequest().description(), "--help");
  EXPECT_EQ(CleanExit::dumpRequest().description(), "--experimental-dump-help");
  std::ostringstream out, err;
  int exited = -1;
  ProcessIO io{out, err, [&exited](int s) { exited = s; }};
  EXPECT_EQ(exitWithError(typeOf<Repeat>(), nullptr, io), 0);
  EXPECT_EQ(exited, 0);
  EXPECT_EQ(out.str() + err.str(), "");
}

}  // namespace
}  // namespace apt
