#pragma once
// What the exit path and the parser ask of the completion scripts and the
// tool information dump, which are built beside the framework.

#include <optional>
#include <string>
#include <vector>

#include "argument_parser/environment.h"
#include "argument_parser/help_generator.h"
#include "argument_parser/tree.h"

namespace ArgumentParser {

// The completion script of the root's tree for the shell (absent: detected
// from SHELL). Throws ParserError::unsupportedShell.
std::string completionScript(CommandType root, const std::optional<std::string>& shell,
                             const EnvironmentReader& environment);
// The answer to "---completion <commands> -- <id> <words>": `arguments` is the
// whole argument list, "---completion" first. Throws ParserError (invalidState).
std::string customCompletionResponse(const Tree& tree, const std::vector<std::string>& arguments);
// The JSON description of the stack's last command.
std::string dumpHelp(const CommandStack& stack);

}  // namespace ArgumentParser
