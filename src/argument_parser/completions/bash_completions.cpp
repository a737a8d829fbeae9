// The bash script: one function per command of the tree. Each offers its
// names and subcommands as words, completes the value of the option just
// typed, and hands words behind a subcommand to that subcommand's function
// with the position at which its own words start.
#include "argument_parser/completions/completions_generator.h"
#include "argument_parser/completions/script_parts.h"

namespace ArgumentParser::completions {

namespace {

std::string functionName(const CommandStack& stack) {
  return replacingAll(completionFunctionName(stack), "-", "_");
}

std::string customValuesCommand(const CommandStack& stack, const ArgumentDefinition& argument) {
  return "$(\"${COMP_WORDS[0]}\" " + customCompletionCall(stack, argument) +
         " \"${COMP_WORDS[@]}\")";
}

std::string fileCompletion(const std::vector<std::string>& extensions) {
  if (extensions.empty()) {
    return "if declare -F _filedir >/dev/null; then\n  _filedir\nelse\n"
           "  COMPREPLY=( $(compgen -f -- \"$cur\") )\nfi";
  }
  std::vector<std::string> filedirs;
  std::vector<std::string> compgens;
  for (const auto& extension : extensions) {
    const std::string quoted = replacingAll(extension, "'", "\\'");
    filedirs.push_back("_filedir '" + quoted + "'");
    compgens.push_back("$(compgen -f -X '!*." + quoted + "' -- \"$cur\")");
  }
  return "if declare -F _filedir >/dev/null; then\n  " + joined(filedirs, "\n  ") +
         "\n  _filedir -d\nelse\n  COMPREPLY=(\n    " + joined(compgens, "\n    ") +
         "\n    $(compgen -d -- \"$cur\")\n  )\nfi";
}

std::string valueCompletion(const CommandStack& stack, const ArgumentDefinition& argument) {
  const CompletionKind& completion = argument.completion;
  switch (completion.kind) {
    case CompletionKind::Kind::list:
      return "COMPREPLY=( $(compgen -W \"" + joined(completion.values, " ") + "\" -- \"$cur\") )";
    case CompletionKind::Kind::file:
      return fileCompletion(completion.values);
    case CompletionKind::Kind::directory:
      return "if declare -F _filedir >/dev/null; then\n  _filedir -d\nelse\n"
             "  COMPREPLY=( $(compgen -d -- \"$cur\") )\nfi";
    case CompletionKind::Kind::shellCommand:
      return "COMPREPLY=( $(" + completion.command + ") )";
    case CompletionKind::Kind::custom:
      return "COMPREPLY=( $(compgen -W \"" + customValuesCommand(stack, argument) +
             "\" -- \"$cur\") )";
    case CompletionKind::Kind::default_:
      return "";
  }
  return "";
}

std::string functionText(const CommandStack& stack) {
  const bool isRoot = stack.size() == 1;
  const std::string position = isRoot ? "1" : "$1";
  const std::string nextPosition = isRoot ? "2" : "$(($1+1))";
  const auto subcommands = displayedSubcommands(stack);
  const ArgumentSet own = lastCommandArguments(stack);

  std::string text = functionName(stack) + "() {\n";
  if (isRoot) {
    text += indent(4,
                   "cur=\"${COMP_WORDS[COMP_CWORD]}\"\nprev=\"${COMP_WORDS[COMP_CWORD-1]}\"\n"
                   "COMPREPLY=()\n");
  }

  std::vector<std::string> words;
  for (const auto& argument : completableArguments(stack)) {
    for (const auto& synopsis : synopsisStrings(argument)) words.push_back(synopsis);
  }
  for (CommandType subcommand : subcommands) words.push_back(subcommand->commandName());
  text += "    opts=\"" + joined(words, " ") + "\"\n";

  for (const auto& argument : own) {
    if (!argument.isPositional()) continue;
    const CompletionKind& completion = argument.completion;
    std::string more;
    switch (completion.kind) {
      case CompletionKind::Kind::list: more = joined(completion.values, " "); break;
      case CompletionKind::Kind::shellCommand: more = "$(" + completion.command + ")"; break;
      case CompletionKind::Kind::custom: more = customValuesCommand(stack, argument); break;
      default: continue;
    }
    text += "    opts=\"$opts " + more + "\"\n";
  }

  text += "    if [[ $COMP_CWORD == \"" + position +
          "\" ]]; then\n        COMPREPLY=( $(compgen -W \"$opts\" -- \"$cur\") )\n"
          "        return\n    fi\n";

  std::vector<std::string> cases;
  for (const auto& argument : own) {
    if (!argument.isNamed() || !argument.isUnary()) continue;
    cases.push_back(joined(synopsisStrings(argument), "|") + ")\n" +
                    indent(4, valueCompletion(stack, argument)) + "\n    return\n;;");
  }
  if (!cases.empty()) {
    text += indent(4, "case $prev in\n" + indent(4, joined(cases, "\n")) + "\nesac") + "\n";
  }

  if (!subcommands.empty()) {
    text += "    case ${COMP_WORDS[" + position + "]} in\n";
    text += forEachSubcommand(stack, [&nextPosition](const CommandStack& extended) {
      return indent(8, "(" + extended.back()->commandName() + ")\n    " + functionName(extended) + " " +
                           nextPosition + "\n    return\n    ;;\n");
    });
    text += "    esac\n";
  }
  text += "    COMPREPLY=( $(compgen -W \"$opts\" -- \"$cur\") )\n}\n";
  return text + forEachSubcommand(stack, functionText);
}

}  // namespace

std::string bashCompletionScript(CommandType root) {
  const CommandStack stack{root};
  return "#!/bin/bash\n\n" + functionText(stack) + "\n\ncomplete -F " + functionName(stack) + " " +
         root->commandName();
}

}  // namespace ArgumentParser::completions
