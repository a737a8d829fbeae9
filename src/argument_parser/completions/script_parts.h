#pragma once
// Pieces that the zsh, bash and fish writers share: which subcommands and
// arguments a script offers for a command stack, the names of the script's
// functions, the call back into the tool for custom values, and text
// helpers. Everything here reads the command model through its const
// accessors only.

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "argument_parser/argument_definition.h"
#include "argument_parser/command_configuration.h"
#include "argument_parser/help_generator.h"

namespace ArgumentParser::completions {

// The subcommands of the stack's last command that are shown, in order; the
// root of a tool with subcommands also offers `help`.
std::vector<CommandType> displayedSubcommands(const CommandStack& stack);

// The concatenated texts of `text` for the stack of each displayed
// subcommand, in order: the walk by which a script writer describes the
// levels below a command.
std::string forEachSubcommand(const CommandStack& stack,
                              const std::function<std::string(const CommandStack&)>& text);

// The arguments offered at the stack: those of help at `default` (the
// version and help flags included), each definition on its own even when it
// is part of a composite flag.
std::vector<ArgumentDefinition> completableArguments(const CommandStack& stack);

// The last command's own definitions at `default` visibility.
ArgumentSet lastCommandArguments(const CommandStack& stack);

// The stack's names as words: a pseudo parent first where one is declared,
// each command name split at blanks, adjacent repeats reduced to one, joined
// by "_" behind a "_" ("_tool_sub").
std::string completionFunctionName(const CommandStack& stack);

// "---completion <subcommand names> -- <argument id>": how a script asks the
// tool for the values of an argument with custom completion.
std::string customCompletionCall(const CommandStack& stack, const ArgumentDefinition& argument);

// n blanks in front of every non-empty line; empty lines stay empty and a
// final line feed stays.
std::string indent(std::size_t n, std::string_view text);

std::string joined(const std::vector<std::string>& pieces, std::string_view separator);
std::string replacingAll(std::string text, std::string_view from, std::string_view to);

// The synopsis strings of a definition's names, in order.
std::vector<std::string> synopsisStrings(const ArgumentDefinition& argument);

}  // namespace ArgumentParser::completions
