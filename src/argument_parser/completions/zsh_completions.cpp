// The zsh script: one function per command of the tree that hands its
// argument specifications to `_arguments` and, where the command has
// subcommands, describes them and dispatches to their functions.
#include "argument_parser/completions/completions_generator.h"
#include "argument_parser/completions/script_parts.h"

namespace ArgumentParser::completions {

namespace {

// A quote ends and reopens the single-quoted word; backslashes and brackets
// would otherwise be read by `_arguments` itself.
std::string zshEscaped(std::string text) {
  text = replacingAll(std::move(text), "'", "'\"'\"'");
  std::string escaped;
  for (char c : text) {
    if (c == '\\' || c == '[' || c == ']') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string commandNameVariable(CommandType root) {
  return "_" + replacingAll(root->commandName(), "-", "_") + "_commandname";
}

std::string valueCompletion(const CommandStack& stack, const ArgumentDefinition& argument) {
  const CompletionKind& completion = argument.completion;
  switch (completion.kind) {
    case CompletionKind::Kind::list:
      return "(" + joined(completion.values, " ") + ")";
    case CompletionKind::Kind::file: {
      if (completion.values.empty()) return "_files";
      std::vector<std::string> patterns;
      for (const auto& extension : completion.values) patterns.push_back("*." + extension);
      return "_files" + zshEscaped(" -g '" + joined(patterns, " ") + "'");
    }
    case CompletionKind::Kind::directory:
      return "_files -/";
    case CompletionKind::Kind::shellCommand:
      return "{local -a list; list=(${(f)\"$(" + completion.command +
             ")\"}); _describe '''' list}";
    case CompletionKind::Kind::custom:
      return "{_custom_completion $" + commandNameVariable(stack.front()) + " " +
             customCompletionCall(stack, argument) + " $words}";
    case CompletionKind::Kind::default_:
      return "";
  }
  return "";
}

std::string argumentLine(const CommandStack& stack, const ArgumentDefinition& argument) {
  std::string value;
  if (argument.isUnary()) {
    value = ":" + argument.valueName() + ":" + valueCompletion(stack, argument);
  }

  const auto& names = argument.names();
  const bool repeats = argument.isNamed() && argument.isRepeating() &&
                       (argument.parsingStrategy == ParsingStrategy::default_ ||
                        argument.parsingStrategy == ParsingStrategy::unconditional);
  const std::string abstract =
      argument.help.abstract.empty() ? "" : "[" + zshEscaped(argument.help.abstract) + "]";

  std::string label;
  if (names.size() == 1) {
    label = (repeats ? "*" : "") + names.front().synopsisString() + abstract;
  } else if (names.size() > 1) {
    const auto synopses = synopsisStrings(argument);
    label = (repeats ? "*" : "(" + joined(synopses, " ") + ")") + "'{" + joined(synopses, ",") +
            "}'" + abstract;
  }
  return "'" + label + value + "'";
}

std::string functionText(const CommandStack& stack) {
  const std::string function = completionFunctionName(stack);
  const auto subcommands = displayedSubcommands(stack);

  std::vector<std::string> lines;
  for (const auto& argument : completableArguments(stack)) {
    lines.push_back(argumentLine(stack, argument));
  }
  if (!subcommands.empty()) {
    lines.push_back("'(-): :->command'");
    lines.push_back("'(-)*:: :->arg'");
  }

  std::string text = function + "() {\n    integer ret=1\n    local -a args\n    args+=(\n";
  text += indent(8, joined(lines, "\n"));
  text += "\n    )\n    _arguments -w -s -S $args[@] && ret=0\n";

  if (!subcommands.empty()) {
    std::vector<std::string> entries;
    std::vector<std::string> cases;
    for (CommandType subcommand : subcommands) {
      const std::string name = subcommand->commandName();
      entries.push_back(
          indent(12, "'" + name + ":" + zshEscaped(subcommand->configuration().abstract) + "'"));
      cases.push_back(indent(12, "(" + name + ")\n    " + function + "_" + name + "\n    ;;"));
    }
    text += indent(4,
                   "case $state in\n    (command)\n        local subcommands\n"
                   "        subcommands=(\n" +
                       joined(entries, "\n") +
                       "\n        )\n        _describe \"subcommand\" subcommands\n        ;;\n"
                       "    (arg)\n        case ${words[1]} in\n" +
                       joined(cases, "\n") + "\n        esac\n        ;;\nesac\n");
  }
  text += "\n    return ret\n}\n\n";
  return text + forEachSubcommand(stack, functionText);
}

}  // namespace

std::string zshCompletionScript(CommandType root) {
  const CommandStack stack{root};
  return "#compdef " + root->commandName() +
         "\nlocal context state state_descr line\n" + commandNameVariable(root) +
         "=$words[1]\ntypeset -A opt_args\n\n" + functionText(stack) +
         "\n_custom_completion() {\n    local completions=(\"${(@f)$($*)}\")\n"
         "    _describe '' completions\n}\n\n" +
         completionFunctionName(stack);
}

}  // namespace ArgumentParser::completions
