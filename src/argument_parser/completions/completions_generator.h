#pragma once
// Writes the shell completion script of a whole command tree for zsh, bash
// or fish. A script offers, at each command, its displayed subcommands and
// the arguments that its help shows, and completes values by the argument's
// CompletionKind; values of `custom` completion come from calling the tool
// back with "---completion" (see custom_completion.h).

#include <optional>
#include <string>

#include "argument_parser/command_configuration.h"
#include "argument_parser/environment.h"
#include "argument_parser/completions/completion_shell.h"

namespace ArgumentParser {

class CompletionsGenerator {
 public:
  // The shell named, or with no name the shell detected from SHELL. Throws
  // ParserError::unsupportedShell(name) for a name that is no supported
  // shell, and ParserError::unsupportedShell(nullopt) when no name is given
  // and none is detected.
  CompletionsGenerator(CommandType command, const std::optional<std::string>& shellName,
                       const EnvironmentReader& environment = processEnvironment);
  CompletionsGenerator(CommandType command, CompletionShell shell) : command_(command), shell_(shell) {}

  CompletionShell shell() const { return shell_; }
  CommandType command() const { return command_; }

  // The script, without a line feed behind its last line.
  std::string generateCompletionScript() const;

 private:
  CommandType command_;
  CompletionShell shell_;
};

namespace completions {
std::string zshCompletionScript(CommandType root);
std::string bashCompletionScript(CommandType root);
std::string fishCompletionScript(CommandType root);
}  // namespace completions

}  // namespace ArgumentParser
