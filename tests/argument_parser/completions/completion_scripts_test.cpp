#include <gtest/gtest.h>

#include <sstream>

#include "argument_parser/argument_parser.h"
#include "argument_parser/completion_hooks.h"
#include "argument_parser/completions/completions_generator.h"
#include "argument_parser/completions/shell_runner.h"
#include "argument_parser/completions/completion_test_commands.h"

namespace completion_test {
namespace {

using ArgumentParser::CompletionsGenerator;
using ArgumentParser::ParserError;
using ArgumentParser::typeOf;

std::string script(ArgumentParser::CommandType root, const std::string& shell) {
  return CompletionsGenerator(root, shell).generateCompletionScript();
}

const char* const kGolden = "tests/argument_parser/completions/golden/";

TEST(CompletionScripts, ScriptsAreTheGoldenOnes) {
  // The plug-in's scripts name the host and have no help entry below the root.
  for (const auto& [root, name] : {std::pair{typeOf<Repo>(), "repo."}, std::pair{typeOf<Plugin>(), "plug-in."}}) {
    for (const char* shell : {"zsh", "bash", "fish"}) {
      EXPECT_EQ(script(root, shell), readSourceFile(std::string(kGolden) + name + shell)) << name << shell;
    }
  }
}

TEST(CompletionScriptsInShells, EveryScriptParses) {
  const std::pair<const char*, const char*> checks[] = {
      {"zsh", "zsh -n \"$1\""}, {"fish", "fish -n $argv[1]"}, {"bash", "bash -n \"$1\""}};
  for (auto root : {typeOf<Repo>(), typeOf<Plugin>()}) {
    for (const auto& [shell, check] : checks) {
      const auto path = writeTemporaryFile(root->commandName() + "." + shell, script(root, shell));
      const auto run = runShell(shell, check, path);
      EXPECT_EQ(run.status, 0) << shell << "\n" << run.output;
    }
  }
}

// Runs `complete` on each "$ " line of a golden file (the line without "$ ",
// kept whole: fish lines end in a blank) and compares the file rebuilt from
// the answers.
template <class Complete>
void expectCompletions(const std::string& name, Complete complete) {
  const std::string expected = readSourceFile(std::string(kGolden) + name);
  std::istringstream lines(expected);
  std::string actual;
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with("$ ")) continue;
    const ShellRun run = complete(line.substr(2));
    EXPECT_EQ(run.status, 0) << line << "\n" << run.output;
    actual += line + "\n" + run.output;
  }
  EXPECT_EQ(actual, expected);
}

// Partial names; the values of a list option, whatever the position; the
// root's names and subcommands, `help` included, the hidden subcommand and the
// hidden and private options absent; an option whose values come from a shell
// command; a subcommand's names and its positional list.
TEST(CompletionScriptsInShells, BashCompletesNamesValuesSubcommandsAndPositionals) {
  const std::string path = writeTemporaryFile("repo.bash", script(typeOf<Repo>(), "bash"));
  expectCompletions("repo-bash.completions", [&](const std::string& words) {
    return bashCompletions(path, "_repo", words);
  });
}

// Only a subcommand's own options, the hidden debug command's nowhere.
TEST(CompletionScriptsInShells, FishOffersSubcommandsAndTheirOptionsOnlyWhereTheyApply) {
  const std::string path = writeTemporaryFile("repo.fish", script(typeOf<Repo>(), "fish"));
  expectCompletions("repo-fish.completions", [&](const std::string& line) {
    return runShell("fish", "source $argv[1]; complete -C '" + line + "'", path);
  });
}

TEST(CompletionScriptsInShells, ZshCompletesOptionsAndValuesOfSubcommands) {
  const std::string zsh = script(typeOf<Repo>(), "zsh");
  EXPECT_EQ(zshCompletedLine("_repo", zsh, "repo add --br").output, "repo add --branch\n");
  EXPECT_EQ(zshCompletedLine("_repo", zsh, "repo --format j").output, "repo --format json\n");
}


std::string customResponse(const std::vector<std::string>& arguments) {
  const auto tree = ArgumentParser::Tree::build(typeOf<Repo>());
  return ArgumentParser::customCompletionResponse(*tree, arguments);
}

TEST(CustomCompletion, WalksToTheSubcommandAndHandsTheCallbackTheWordsOfTheLine) {
  EXPECT_EQ(customResponse({"---completion", "add", "--", "--tag", "repo", "add", "--tag", ""}),
            "v1\nv2\nseen:repo\nseen:add\nseen:--tag\nseen:");
  EXPECT_EQ(customResponse({"---completion", "add", "--", "--tag"}), "v1\nv2");
}

TEST(CustomCompletion, ArgumentsThatAreNotCustomOrUnknownAreAnInvalidState) {
  const std::vector<std::vector<std::string>> requests{
      {"---completion", "add", "--", "--branch"},     // shell command, not custom
      {"---completion", "add", "--", "--nosuch"},     // no such name
      {"---completion", "add", "--", "file"},         // a key, but not custom
      {"---completion", "nosuch", "--", "--tag"},     // no such subcommand
      {"---completion", "add", "--tag"},              // no terminator
      {"---completion", "--", "--tag"},               // --tag is not the root's
  };
  for (const auto& request : requests) {
    try {
      customResponse(request);
      ADD_FAILURE() << "no error for " << request.back();
    } catch (const ParserError& error) {
      EXPECT_EQ(error.kind, ParserError::Case::invalidState) << request.back();
    }
  }
}

}  // namespace
}  // namespace completion_test
