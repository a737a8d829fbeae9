#include "argument_parser/completions/completion_shell.h"

#include <gtest/gtest.h>

namespace ArgumentParser {
namespace {

TEST(CompletionShell, AcceptsExactlyTheThreeRawValuesInListOrder) {
  std::vector<std::string> raw;
  for (const auto& shell : CompletionShell::allCases()) raw.push_back(shell.rawValue());
  EXPECT_EQ(raw, (std::vector<std::string>{"zsh", "bash", "fish"}));
  EXPECT_EQ(CompletionShell::supportedShellList(), "zsh, bash, fish");

  EXPECT_EQ(CompletionShell::fromRawValue("bash"), CompletionShell::bash());
  EXPECT_EQ(CompletionShell::fromRawValue("fish"), CompletionShell::fish());
  for (const char* other : {"Bash", "tcsh", "", " zsh", "zsh ", "/bin/zsh"}) {
    EXPECT_EQ(CompletionShell::fromRawValue(other), std::nullopt) << other;
  }
}

TEST(CompletionShell, DetectsTheShellFromTheLastPieceOfItsPath) {
  using Detected = std::optional<CompletionShell>;
  EXPECT_EQ(CompletionShell::fromShellVariable("/usr/local/bin/fish"), Detected(CompletionShell::fish()));
  EXPECT_EQ(CompletionShell::fromShellVariable("/bin/zsh"), Detected(CompletionShell::zsh()));
  EXPECT_EQ(CompletionShell::fromShellVariable("bash"), Detected(CompletionShell::bash()));
  EXPECT_EQ(CompletionShell::fromShellVariable("//opt//bash//"), Detected(CompletionShell::bash()));

  EXPECT_EQ(CompletionShell::fromShellVariable(std::nullopt), std::nullopt);
  for (const char* other : {"/bin/sh", "", "/", "/usr/bin/bash5", "/bin/zsh/x"}) {
    EXPECT_EQ(CompletionShell::fromShellVariable(other), std::nullopt) << other;
  }
}

}  // namespace
}  // namespace ArgumentParser
