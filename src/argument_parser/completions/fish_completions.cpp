// The fish script: two helper functions that tell whether the command line
// stands at a given command of the tree, then one `complete` line per
// subcommand and per argument, each guarded by that test.
#include "argument_parser/completions/completions_generator.h"
#include "argument_parser/completions/script_parts.h"

namespace ArgumentParser::completions {

namespace {

std::string preprocessorName(CommandType root) { return "_quill_" + root->commandName() + "_preprocessor"; }
std::string usingCommandName(CommandType root) { return "_quill_" + root->commandName() + "_using_command"; }

std::string quoted(const std::string& text) { return "'" + replacingAll(text, "'", "\\'") + "'"; }

std::string preprocessorFunction(CommandType root) {
  return "# A function which filters options which starts with \"-\" from $argv.\nfunction " +
         preprocessorName(root) +
         "\n    set -l results\n    for i in (seq (count $argv))\n"
         "        switch (echo $argv[$i] | string sub -l 1)\n            case '-'\n"
         "            case '*'\n                echo $argv[$i]\n        end\n    end\nend";
}

std::string usingCommandFunction(CommandType root) {
  return "function " + usingCommandName(root) + "\n    set -l currentCommands (" +
         preprocessorName(root) +
         " (commandline -opc))\n"
         "    set -l expectedCommands (string split \" \" $argv[1])\n"
         "    set -l subcommands (string split \" \" $argv[2])\n"
         "    if [ (count $currentCommands) -ge (count $expectedCommands) ]\n"
         "        for i in (seq (count $expectedCommands))\n"
         "            if [ $currentCommands[$i] != $expectedCommands[$i] ]\n"
         "                return 1\n"
         "            end\n"
         "        end\n"
         "        if [ (count $currentCommands) -eq (count $expectedCommands) ]\n"
         "            return 0\n"
         "        end\n"
         "        if [ (count $subcommands) -gt 1 ]\n"
         "            for i in (seq (count $subcommands))\n"
         "                if [ $currentCommands[(math (count $expectedCommands) + 1)] = "
         "$subcommands[$i] ]\n"
         "                    return 1\n"
         "                end\n"
         "            end\n"
         "        end\n"
         "        return 0\n"
         "    end\n"
         "    return 1\n"
         "end";
}

// The words that complete a value; empty for `default`.
std::string valueCompletion(const CommandStack& stack, const ArgumentDefinition& argument) {
  const CompletionKind& completion = argument.completion;
  switch (completion.kind) {
    case CompletionKind::Kind::list:
      return "-r -f -k -a '" + joined(completion.values, " ") + "'";
    case CompletionKind::Kind::file:
      return "-r -f -a '(for i in *.{" + joined(completion.values, ",") + "}; echo $i;end)'";
    case CompletionKind::Kind::directory:
      return "-r -f -a '(__fish_complete_directories)'";
    case CompletionKind::Kind::shellCommand:
      return "-r -f -a '(" + completion.command + ")'";
    case CompletionKind::Kind::custom:
      return "-r -f -a '(command " + stack.front()->commandName() + " " +
             customCompletionCall(stack, argument) + " (commandline -opc)[1..-1])'";
    case CompletionKind::Kind::default_:
      return "";
  }
  return "";
}

void appendCompletionLines(const CommandStack& stack, std::vector<std::string>& lines) {
  CommandType root = stack.front();
  const auto subcommands = displayedSubcommands(stack);

  std::vector<std::string> stackNames;
  for (CommandType command : stack) stackNames.push_back(command->commandName());
  std::vector<std::string> subcommandNames;
  for (CommandType subcommand : subcommands) subcommandNames.push_back(subcommand->commandName());

  std::string prefix = "complete -c " + root->commandName() + " -n '" + usingCommandName(root) +
                       " \"" + joined(stackNames, " ") + "\"";
  if (!subcommands.empty()) prefix += " \"" + joined(subcommandNames, " ") + "\"";
  prefix += "'";

  for (CommandType subcommand : subcommands) {
    CommandStack extended = stack;
    extended.push_back(subcommand);
    appendCompletionLines(extended, lines);
  }

  for (const auto& argument : completableArguments(stack)) {
    if (argument.names().empty() && argument.completion.kind == CompletionKind::Kind::default_) {
      continue;
    }
    std::vector<std::string> words;
    for (const auto& name : argument.names()) {
      switch (name.kind) {
        case Name::Kind::long_: words.push_back("-l " + name.valueString()); break;
        case Name::Kind::short_: words.push_back("-s " + name.valueString()); break;
        case Name::Kind::longWithSingleDash: words.push_back("-o " + name.valueString()); break;
      }
    }
    if (!argument.help.abstract.empty()) words.push_back("-d " + quoted(argument.help.abstract));
    if (auto value = valueCompletion(stack, argument); !value.empty()) words.push_back(value);
    lines.push_back(prefix + " " + joined(words, " "));
  }

  for (CommandType subcommand : subcommands) {
    lines.push_back(prefix + " -f -a '" + subcommand->commandName() + "' -d " +
                    quoted(subcommand->configuration().abstract));
  }
}

}  // namespace

std::string fishCompletionScript(CommandType root) {
  std::vector<std::string> lines;
  appendCompletionLines(CommandStack{root}, lines);
  return preprocessorFunction(root) + "\n\n" + usingCommandFunction(root) + "\n\n" +
         joined(lines, "\n");
}

}  // namespace ArgumentParser::completions
