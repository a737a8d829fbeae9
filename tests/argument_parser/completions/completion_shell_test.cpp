#include "argument_parser/completions/completion_shell.h"

#include <gtest/gtest.h>

namespace ArgumentParser {
namespace {

// Exactly the raw values (their list, in order, is in CVDiag's refusal
// texts); SHELL by the last piece of its path.
TEST(CompletionShell, RawValuesAndTheShellVariable) {
  for (const char* other : {"Bash", "tcsh", "", " zsh", "zsh ", "/bin/zsh"})
    EXPECT_EQ(CompletionShell::fromRawValue(other), std::nullopt) << other;

  const std::pair<std::optional<std::string>, std::optional<CompletionShell>> variables[] = {
      {"/usr/local/bin/fish", CompletionShell::fish()}, {"/bin/zsh", CompletionShell::zsh()},
      {"bash", CompletionShell::bash()}, {"//opt//bash//", CompletionShell::bash()},
      {std::nullopt, std::nullopt}, {"/bin/sh", std::nullopt}, {"", std::nullopt}, {"/", std::nullopt},
      {"/usr/bin/bash5", std::nullopt}, {"/bin/zsh/x", std::nullopt}};
  for (const auto& [variable, shell] : variables)
    EXPECT_EQ(CompletionShell::fromShellVariable(variable), shell) << variable.value_or("(unset)");
}

}  // namespace
}  // namespace ArgumentParser
