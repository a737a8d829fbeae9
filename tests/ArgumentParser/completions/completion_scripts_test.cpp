#include <gtest/gtest.h>

#include "ArgumentParser/ArgumentParser.h"
#include "ArgumentParser/CompletionHooks.h"
#include "ArgumentParser/completions/completions_generator.h"
#include "ArgumentParser/completions/shell_runner.h"
#include "ArgumentParser/completions/test_commands.h"

namespace completion_test {
namespace {

using ArgumentParser::CompletionShell;
using ArgumentParser::CompletionsGenerator;
using ArgumentParser::ParserError;
using ArgumentParser::typeOf;

std::string script(ArgumentParser::CommandType root, const std::string& shell) {
  return CompletionsGenerator(root, shell).generateCompletionScript();
}

const char* const kGolden = "tests/ArgumentParser/completions/golden/";

// --- whole scripts ------------------------------------------------------------

TEST(CompletionScripts, RepoScriptsAreTheGoldenOnes) {
  for (const char* shell : {"zsh", "bash", "fish"}) {
    EXPECT_EQ(script(typeOf<Repo>(), shell), readSourceFile(std::string(kGolden) + "repo." + shell))
        << shell;
  }
}

TEST(CompletionScripts, PluginScriptsNameTheHostAndHaveNoHelpEntryBelowTheRoot) {
  for (const char* shell : {"zsh", "bash", "fish"}) {
    EXPECT_EQ(script(typeOf<Plugin>(), shell),
              readSourceFile(std::string(kGolden) + "plug-in." + shell))
        << shell;
  }
}

// --- choosing the shell ---------------------------------------------------------

ParserError unsupportedShellError(const std::optional<std::string>& name,
                                  const ArgumentParser::EnvironmentReader& environment) {
  try {
    CompletionsGenerator(typeOf<Repo>(), name, environment);
  } catch (const ParserError& error) {
    return error;
  }
  ADD_FAILURE() << "no error for " << name.value_or("(autodetected)");
  return ParserError::simple(ParserError::Case::invalidState);
}

ArgumentParser::EnvironmentReader shellVariable(std::optional<std::string> value) {
  return [value](const std::string& name) -> std::optional<std::string> {
    return name == "SHELL" ? value : std::nullopt;
  };
}

TEST(CompletionShellChoice, ANamedShellWinsOverSHELLAndAnUnknownNameIsRefused) {
  const auto fishEnvironment = shellVariable("/usr/local/bin/fish");
  EXPECT_EQ(CompletionsGenerator(typeOf<Repo>(), std::string("bash"), fishEnvironment).shell(),
            CompletionShell::bash());
  EXPECT_EQ(CompletionsGenerator(typeOf<Repo>(), std::nullopt, fishEnvironment).shell(),
            CompletionShell::fish());

  const ParserError tcsh = unsupportedShellError(std::string("tcsh"), fishEnvironment);
  EXPECT_EQ(tcsh.kind, ParserError::Case::unsupportedShell);
  EXPECT_EQ(tcsh.text, std::optional<std::string>("tcsh"));
}

TEST(CompletionShellChoice, NoShellDetectedFromShOrAnUnsetOrEmptySHELL) {
  for (const auto& value : {std::optional<std::string>("/bin/sh"), std::optional<std::string>(),
                            std::optional<std::string>("")}) {
    const ParserError error = unsupportedShellError(std::nullopt, shellVariable(value));
    EXPECT_EQ(error.kind, ParserError::Case::unsupportedShell);
    EXPECT_EQ(error.text, std::nullopt);
  }
}

TEST(CompletionShellChoice, TheHookGivesTheScriptOfTheDetectedShell) {
  EXPECT_EQ(ArgumentParser::completionScript(typeOf<Repo>(), std::nullopt, shellVariable("/bin/zsh")),
            script(typeOf<Repo>(), "zsh"));
}

// --- the scripts in real shells ---------------------------------------------------

TEST(CompletionScriptsInShells, EveryScriptParses) {
  for (auto root : {typeOf<Repo>(), typeOf<Plugin>()}) {
    const std::string name = root->commandName();
    const auto zsh = runShell("zsh", "zsh -n \"$1\"", writeTemporaryFile(name + ".zsh", script(root, "zsh")));
    EXPECT_EQ(zsh.status, 0) << zsh.output;
    const auto fish =
        runShell("fish", "fish -n $argv[1]", writeTemporaryFile(name + ".fish", script(root, "fish")));
    EXPECT_EQ(fish.status, 0) << fish.output;
    const auto bash = runShell("bash", "bash -n \"$1\"", writeTemporaryFile(name + ".bash", script(root, "bash")));
    EXPECT_EQ(bash.status, 0) << bash.output;
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
  const auto atRoot = runShell("fish", "source $argv[1]; complete -C 'repo '", path);
  EXPECT_EQ(atRoot.output,
            "add\tAdd a file.\nhelp\tShow subcommand help information.\n"
            "remove-all\tRemove what's listed.\n");
  // Only the subcommand's own options, the hidden debug command's nowhere.
  const auto addOptions = runShell("fish", "source $argv[1]; complete -C 'repo add --'", path);
  EXPECT_EQ(addOptions.output,
            "--branch\tThe branch.\n--dry-run\tDon't [do] it, just show.\n"
            "--help\tShow help information.\n--tag\tThe tag.\n--version\tShow the version.\n");
  const auto items = runShell("fish", "source $argv[1]; complete -C 'repo remove-all '", path);
  EXPECT_EQ(items.output, "alpha\tItems to remove.\nbeta\tItems to remove.\n");
  const auto branches = runShell("fish", "source $argv[1]; complete -C 'repo add --branch '", path);
  EXPECT_EQ(branches.output, "dev\tThe branch.\nmain\tThe branch.\n");
}

TEST(CompletionScriptsInShells, ZshCompletesOptionsAndValuesOfSubcommands) {
  const std::string zsh = script(typeOf<Repo>(), "zsh");
  EXPECT_EQ(zshCompletedLine("_repo", zsh, "repo add --br").output, "repo add --branch\n");
  EXPECT_EQ(zshCompletedLine("_repo", zsh, "repo --format j").output, "repo --format json\n");
}

// --- the call back for custom values -------------------------------------------

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
