#pragma once
// Small commands that exercise the framework's declarations, and helpers that
// parse or run them with captured streams.

#include <iterator>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "argument_parser/argument_parser.h"
#include "support/run_cvdiag.h"

namespace apt {

using namespace ArgumentParser;

enum class Speed { slow, fast };
enum class Color { red, green, blue };

}  // namespace apt

template <>
struct ArgumentParser::RawValueTraits<apt::Speed> {
  using RawValue = std::string;
  static std::vector<apt::Speed> allCases() { return {apt::Speed::slow, apt::Speed::fast}; }
  static std::string rawValue(apt::Speed s) { return s == apt::Speed::slow ? "slow" : "fast"; }
};

template <>
struct ArgumentParser::EnumerableFlagTraits<apt::Color> {
  static std::vector<apt::Color> allCases() { return {apt::Color::red, apt::Color::green, apt::Color::blue}; }
  static std::string name(apt::Color c) {
    return c == apt::Color::red ? "red" : c == apt::Color::green ? "green" : "blue";
  }
};

namespace apt {

// A whole expected text from tests/argument_parser/golden/.
inline std::string golden(const std::string& name) {
  return cvdiag_test::readFile(std::string(CVDIAG_SOURCE_DIR) + "/tests/argument_parser/golden/" + name);
}

// The captured end of a run through the framework's main.
struct Outcome {
  std::string out;
  std::string err;
  int status = -1;      // what main returned
  int exitStatus = -1;  // what was handed to exit, -1 if exit was not called
};

// An environment with only COLUMNS (when given) and LINES.
inline auto environment(std::optional<std::string> columns) {
  return [columns](const std::string& name) -> std::optional<std::string> {
    if (name == "COLUMNS") return columns;
    if (name == "LINES") return std::string("24");
    return std::nullopt;
  };
}

template <class T>
Outcome runMain(const std::vector<std::string>& arguments, std::optional<std::string> columns = "80") {
  std::ostringstream out;
  std::ostringstream err;
  Outcome outcome;
  ProcessIO io{out, err, [&outcome](int status) { outcome.exitStatus = status; }, environment(columns)};
  outcome.status = ArgumentParser::main(typeOf<T>(), arguments, io);
  outcome.out = out.str();
  outcome.err = err.str();
  return outcome;
}

// Runs each "$ " line of a transcript in golden/ (its words parted by single
// blanks) and compares the transcript rebuilt from what the runs wrote on
// standard error; each run must be refused with nothing on standard output.
template <class T>
void expectRefusals(const std::string& name) {
  std::istringstream transcript(golden(name));
  std::string actual;
  for (std::string line; std::getline(transcript, line);) {
    if (!line.starts_with("$ ")) continue;
    std::istringstream words(line.substr(2));
    auto outcome = runMain<T>({std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()});
    EXPECT_EQ(outcome.out, "") << line;
    EXPECT_EQ(outcome.exitStatus, 64) << line;
    EXPECT_EQ(outcome.status, 64) << line;
    actual += line + "\n" + outcome.err;
  }
  EXPECT_EQ(actual, golden(name));
}

// The parsed command; a failed parse throws out of the test and fails it.
template <class T>
std::shared_ptr<T> parse(const std::vector<std::string>& arguments) {
  return std::dynamic_pointer_cast<T>(parseAsRoot<T>(arguments));
}

// The CommandError of a failed parse.
template <class T>
CommandError parseError(const std::vector<std::string>& arguments) {
  try {
    parseAsRoot<T>(arguments);
  } catch (const CommandError& error) {
    return error;
  }
  ADD_FAILURE() << "the parse succeeded";
  return {};
}

template <class T>
ParserError::Case kind(const std::vector<std::string>& arguments) {
  return parseError<T>(arguments).parserError.kind;
}


struct Repeat : ParsableCommand {
  Option<std::optional<int>> count{{.help = "How many times to repeat."}};
  Flag<bool> includeCounter{false, {.help = "Include a counter with each repetition."}};
  Argument<std::string> phrase{{.help = "The phrase to repeat."}};

  static CommandConfiguration configuration() {
    return {.commandName = "repeat", .abstract = "Repeats a phrase.", .version = "1.0.2"};
  }
  static void declare(Declarations<Repeat>& d) {
    d("count", &Repeat::count)("includeCounter", &Repeat::includeCounter)("phrase", &Repeat::phrase);
  }
};

struct OutputOptions : ParsableArguments {
  Flag<bool> verbose{false, {.name = NameSpecification::shortAndLong(), .help = "Talk more."}};
  Option<std::string> output{"out.txt", {.help = "Where to write."}};
  static void declare(Declarations<OutputOptions>& d) {
    d("verbose", &OutputOptions::verbose)("output", &OutputOptions::output);
  }
  void validate() override {
    if (output.value().empty()) throw ValidationError("The output must not be empty.");
  }
};

struct Add : ParsableCommand {
  Argument<std::vector<int>> values{{.help = "A group of integers to operate on."}};
  OptionGroup<OutputOptions> options{{.title = "Output"}};
  static inline int lastSum = 0;

  static CommandConfiguration configuration() {
    return {.abstract = "Print the sum of the values.", .aliases = {"plus"}};
  }
  static void declare(Declarations<Add>& d) { d("values", &Add::values)("options", &Add::options); }
  void run() override {
    lastSum = 0;
    for (int v : values.value()) lastSum += v;
  }
};

struct Multiply : ParsableCommand {
  Argument<std::vector<int>> values{{.help = "A group of integers to operate on."}};
  static CommandConfiguration configuration() {
    return {.abstract = "Print the product of the values.", .aliases = {"times"}};
  }
  static void declare(Declarations<Multiply>& d) { d("values", &Multiply::values); }
  void validate() override {
    if (values.value().size() > 3) throw ValidationError("Give at most three values.");
  }
};

struct Stats : ParsableCommand {
  static CommandConfiguration configuration() {
    return {.commandName = "stats", .abstract = "Calculate descriptive statistics."};
  }
};

struct Secret : ParsableCommand {
  static CommandConfiguration configuration() { return {.abstract = "Not listed.", .shouldDisplay = false}; }
};

struct Math : ParsableCommand {
  static CommandConfiguration configuration() {
    return {.commandName = "math",
            .abstract = "A utility for performing maths.",
            .version = "1.0.0",
            .ungroupedSubcommands = {typeOf<Add>(), typeOf<Multiply>(), typeOf<Secret>()},
            .groupedSubcommands = {{"Statistics", {typeOf<Stats>()}}},
            .defaultSubcommand = typeOf<Add>()};
  }
};

}  // namespace apt
