#pragma once
// A small command tree that uses every kind of completion, names of all
// three forms, hidden and private arguments, an inverted flag pair, a
// hidden subcommand and a default subcommand: the subject of the script and
// dump tests.

#include <string>
#include <vector>

#include "argument_parser/argument_parser.h"

namespace completion_test {

using namespace ArgumentParser;
using Element = NameSpecification::Element;

// Values for the custom completions of `repo add --tag` and of the target of
// `plug-in`, followed by the words it was given, so that a test sees what
// reached the callback.
std::vector<std::string> tagValues(const std::vector<std::string>& words);

struct Add : ParsableCommand {
  Argument<std::string> file{{.help = "The file to add.", .completion = CompletionKind::file()}};
  Option<std::optional<std::string>> branch{
      {.name = NameSpecification::shortAndLong(),
       .help = "The branch.",
       .completion = CompletionKind::shellCommand("echo main; echo dev")}};
  Option<std::optional<std::string>> tag{{.help = "The tag.", .completion = CompletionKind::custom(tagValues)}};
  Flag<bool> dryRun{false, {.help = "Don't [do] it, just show."}};

  static CommandConfiguration configuration() { return {.commandName = "add", .abstract = "Add a file."}; }
  static void declare(Declarations<Add>& d) {
    d("file", &Add::file)("branch", &Add::branch)("tag", &Add::tag)("dryRun", &Add::dryRun);
  }
};

struct RemoveAll : ParsableCommand {
  Argument<std::vector<std::string>> items{
      {.help = "Items to remove.", .completion = CompletionKind::list({"alpha", "beta"})}};
  Flag<bool> force{false, {.name = NameSpecification::shortAndLong(), .help = "Force it"}};

  static CommandConfiguration configuration() { return {.abstract = "Remove what's listed.", .aliases = {"rm"}}; }
  static void declare(Declarations<RemoveAll>& d) { d("items", &RemoveAll::items)("force", &RemoveAll::force); }
};

struct Debug : ParsableCommand {
  Flag<bool> trace{false, {.help = "Trace."}};
  static CommandConfiguration configuration() {
    return {.commandName = "debug", .abstract = "Inspect.", .shouldDisplay = false};
  }
  static void declare(Declarations<Debug>& d) { d("trace", &Debug::trace); }
};

struct Repo : ParsableCommand {
  Flag<bool> verbose{false, {.name = NameSpecification::shortAndLong(), .help = "Talk more."}};
  Flag<bool> color{true, {.inversion = FlagInversion::prefixedNo, .help = "Don't [color] 'it'."}};
  Option<std::string> format{
      "text", {.help = "Output format.", .completion = CompletionKind::list({"json", "text"})}};
  Option<std::vector<std::string>> include{
      {.name = {Element::customShort('I'), Element::long_()},
       .help = "Header to read.",
       .completion = CompletionKind::file({"h", "hpp"})}};
  Option<std::optional<std::string>> output{
      {.name = {Element::customLong("out", true)},
       .help = "Where to write.",
       .completion = CompletionKind::directory()}};
  Option<std::optional<std::string>> secret{{.help = ArgumentHelp::hidden("Hidden.")}};
  Flag<bool> internal{false, {.help = ArgumentHelp::private_("Private.")}};

  static CommandConfiguration configuration();
  static void declare(Declarations<Repo>& d) {
    d("verbose", &Repo::verbose)("color", &Repo::color)("format", &Repo::format)(
        "include", &Repo::include)("output", &Repo::output)("secret", &Repo::secret)(
        "internal", &Repo::internal);
  }
};

// A plugin of a host tool: a pseudo parent name and a default subcommand
// without a declared name.
struct Status : ParsableCommand {
  static CommandConfiguration configuration() { return {.abstract = "Show status."}; }
};

struct Plugin : ParsableCommand {
  Argument<std::optional<std::string>> target{
      {.help = "What to act on.", .completion = CompletionKind::custom(tagValues)}};

  static CommandConfiguration configuration();
  static void declare(Declarations<Plugin>& d) { d("target", &Plugin::target); }
};

}  // namespace completion_test
