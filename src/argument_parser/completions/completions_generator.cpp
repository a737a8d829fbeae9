#include "argument_parser/completions/completions_generator.h"

#include "argument_parser/completion_hooks.h"
#include "argument_parser/errors.h"

namespace ArgumentParser {

namespace {

CompletionShell chosenShell(const std::optional<std::string>& shellName,
                            const EnvironmentReader& environment) {
  if (!shellName) {
    if (auto detected = CompletionShell::autodetected(environment)) return *detected;
    throw ParserError::unsupportedShell(std::nullopt);
  }
  if (auto named = CompletionShell::fromRawValue(*shellName)) return *named;
  throw ParserError::unsupportedShell(*shellName);
}

}  // namespace

CompletionsGenerator::CompletionsGenerator(CommandType command,
                                           const std::optional<std::string>& shellName,
                                           const EnvironmentReader& environment)
    : command_(command), shell_(chosenShell(shellName, environment)) {}

std::string CompletionsGenerator::generateCompletionScript() const {
  switch (shell_.kind()) {
    case CompletionShell::Kind::zsh: return completions::zshCompletionScript(command_);
    case CompletionShell::Kind::bash: return completions::bashCompletionScript(command_);
    case CompletionShell::Kind::fish: return completions::fishCompletionScript(command_);
  }
  return "";
}

// The framework's exit path asks for scripts through this hook.
std::string completionScript(CommandType root, const std::optional<std::string>& shell,
                             const EnvironmentReader& environment) {
  return CompletionsGenerator(root, shell, environment).generateCompletionScript();
}

}  // namespace ArgumentParser
