#include "argument_parser/completions/script_parts.h"

#include "argument_parser/command_parser.h"

namespace ArgumentParser::completions {

std::vector<CommandType> displayedSubcommands(const CommandStack& stack) {
  std::vector<CommandType> shown;
  for (CommandType subcommand : stack.back()->configuration().subcommands()) {
    if (subcommand->configuration().shouldDisplay) shown.push_back(subcommand);
  }
  if (stack.size() == 1 && !shown.empty()) shown.push_back(typeOf<HelpCommand>());
  return shown;
}

std::string forEachSubcommand(const CommandStack& stack,
                              const std::function<std::string(const CommandStack&)>& text) {
  std::string all;
  for (CommandType subcommand : displayedSubcommands(stack)) {
    CommandStack extended = stack;
    extended.push_back(subcommand);
    all += text(extended);
  }
  return all;
}

std::vector<ArgumentDefinition> completableArguments(const CommandStack& stack) {
  std::vector<ArgumentDefinition> offered;
  for (const auto& argument : argumentsForHelp(stack, ArgumentVisibility::default_)) {
    if (argument.help.visibility == ArgumentVisibility::default_) offered.push_back(argument);
  }
  return offered;
}

ArgumentSet lastCommandArguments(const CommandStack& stack) {
  return stack.back()->argumentSet(ArgumentVisibility::default_);
}

std::string completionFunctionName(const CommandStack& stack) {
  std::vector<std::string> words;
  const auto add = [&words](std::string word) {
    if (word.empty()) return;
    if (!words.empty() && words.back() == word) return;
    words.push_back(std::move(word));
  };
  for (CommandType command : stack) {
    if (auto super = command->configuration().superCommandName) add(*super);
    const std::string name = command->commandName();
    std::size_t start = 0;
    while (start <= name.size()) {
      const auto blank = name.find(' ', start);
      const auto end = blank == std::string::npos ? name.size() : blank;
      add(name.substr(start, end - start));
      start = end + 1;
    }
  }
  return "_" + joined(words, "_");
}

std::string customCompletionCall(const CommandStack& stack, const ArgumentDefinition& argument) {
  std::vector<std::string> names;
  for (std::size_t i = 1; i < stack.size(); ++i) names.push_back(stack[i]->commandName());

  std::string id;
  if (auto preferred = argument.preferredName()) {
    id = preferred->synopsisString();
  } else if (!argument.help.keys.empty()) {
    id = argument.help.keys.front().description();
  } else {
    id = "---";
  }
  return "---completion " + joined(names, " ") + " -- " + id;
}

std::string indent(std::size_t n, std::string_view text) {
  const std::string blanks(n, ' ');
  std::string result;
  std::size_t start = 0;
  while (true) {
    const auto newline = text.find('\n', start);
    const auto line = text.substr(start, newline == std::string_view::npos ? std::string_view::npos
                                                                            : newline - start);
    if (!line.empty()) result += blanks;
    result += line;
    if (newline == std::string_view::npos) break;
    result += '\n';
    start = newline + 1;
  }
  return result;
}

std::string joined(const std::vector<std::string>& pieces, std::string_view separator) {
  std::string result;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (i > 0) result += separator;
    result += pieces[i];
  }
  return result;
}

std::string replacingAll(std::string text, std::string_view from, std::string_view to) {
  if (from.empty()) return text;
  std::size_t position = 0;
  while ((position = text.find(from, position)) != std::string::npos) {
    text.replace(position, from.size(), to);
    position += to.size();
  }
  return text;
}

std::vector<std::string> synopsisStrings(const ArgumentDefinition& argument) {
  std::vector<std::string> synopses;
  for (const auto& name : argument.names()) synopses.push_back(name.synopsisString());
  return synopses;
}

}  // namespace ArgumentParser::completions
