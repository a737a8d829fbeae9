#include <gtest/gtest.h>

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

TEST(CompletionScriptsInShells, BashCompletesNamesValuesSubcommandsAndPositionals) {
  const std::string path = writeTemporaryFile("repo.bash", script(typeOf<Repo>(), "bash"));
  struct Case {
    const char* words;
    const char* expected;
  };
  const Case cases[] = {
      // A partial name at the root.
      {"(repo --fo)", "--format\n"},
      // The values of a list option, whatever the position.
      {"(repo -v --format '')", "json\ntext\n"},
      // The root offers its names and its subcommands, `help` included; the
      // hidden subcommand and the hidden and private options are absent.
      {"(repo '')",
       "-v\n--verbose\n--color\n--no-color\n--format\n-I\n--include\n-out\n--version\n-h\n--help\nadd\n"
       "remove-all\nhelp\n"},
      // A subcommand's option that runs a shell command for its values.
      {"(repo add --branch '')", "main\ndev\n"},
      // A subcommand's names and its positional list.
      {"(repo remove-all '')", "-f\n--force\n--version\n-h\n--help\nalpha\nbeta\n"},
      {"(repo remove-all al)", "alpha\n"},
  };
  for (const auto& c : cases) {
    const auto run = bashCompletions(path, "_repo", c.words);
    EXPECT_EQ(run.status, 0) << c.words << "\n" << run.output;
    EXPECT_EQ(run.output, c.expected) << c.words;
  }
}

TEST(CompletionScriptsInShells, FishOffersSubcommandsAndTheirOptionsOnlyWhereTheyApply) {
  const std::string path = writeTemporaryFile("repo.fish", script(typeOf<Repo>(), "fish"));
  const struct {
    const char* line;
    const char* expected;
  } cases[] = {
      {"repo ", "add\tAdd a file.\nhelp\tShow subcommand help information.\nremove-all\tRemove what's listed.\n"},
      // Only the subcommand's own options, the hidden debug command's nowhere.
      {"repo add --",
       "--branch\tThe branch.\n--dry-run\tDon't [do] it, just show.\n"
       "--help\tShow help information.\n--tag\tThe tag.\n--version\tShow the version.\n"},
      {"repo remove-all ", "alpha\tItems to remove.\nbeta\tItems to remove.\n"},
      {"repo add --branch ", "dev\tThe branch.\nmain\tThe branch.\n"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(runShell("fish", std::string("source $argv[1]; complete -C '") + c.line + "'", path).output,
              c.expected)
        << c.line;
  }
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
