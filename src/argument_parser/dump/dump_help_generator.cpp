#include "argument_parser/dump/dump_help_generator.h"

#include "argument_parser/completion_hooks.h"
#include "argument_parser/help_generator.h"

namespace ArgumentParser {

namespace {

using ArgumentParserToolInfo::ArgumentInfoV0;
using ArgumentParserToolInfo::CommandInfoV0;
using ArgumentParserToolInfo::NameInfoV0;
using ArgumentParserToolInfo::nonEmpty;

NameInfoV0 nameInfo(const Name& name) {
  switch (name.kind) {
    case Name::Kind::long_: return {NameInfoV0::KindV0::longName, name.valueString()};
    case Name::Kind::short_: return {NameInfoV0::KindV0::shortName, name.valueString()};
    case Name::Kind::longWithSingleDash:
      return {NameInfoV0::KindV0::longWithSingleDash, name.valueString()};
  }
  return {NameInfoV0::KindV0::longName, name.valueString()};
}

ArgumentInfoV0 argumentInfo(const ArgumentDefinition& argument) {
  ArgumentInfoV0 info;
  if (argument.isPositional()) {
    info.kind = ArgumentInfoV0::KindV0::positional;
  } else if (argument.isUnary()) {
    info.kind = ArgumentInfoV0::KindV0::option;
  } else {
    info.kind = ArgumentInfoV0::KindV0::flag;
  }
  info.shouldDisplay = argument.help.visibility == ArgumentVisibility::default_;
  info.sectionTitle = nonEmpty(argument.help.parentTitle);
  info.isOptional = argument.isOptional();
  info.isRepeating = argument.isRepeating();
  std::vector<NameInfoV0> names;
  for (const auto& name : argument.names()) names.push_back(nameInfo(name));
  info.names = nonEmpty(std::move(names));
  if (auto preferred = argument.preferredName()) info.preferredName = nameInfo(*preferred);
  info.valueName = nonEmpty(argument.valueName());
  info.defaultValue = nonEmpty(argument.help.defaultValue.value_or(""));
  info.allValues = nonEmpty(argument.help.allValueStrings);
  info.abstract = nonEmpty(argument.help.abstract);
  info.discussion = nonEmpty(argument.help.discussion);
  return info;
}

CommandInfoV0 commandInfo(const std::vector<CommandType>& stack) {
  CommandType command = stack.back();
  const CommandConfiguration configuration = command->configuration();

  CommandInfoV0 info;
  std::vector<std::string> superCommands;
  for (std::size_t i = 0; i + 1 < stack.size(); ++i) superCommands.push_back(stack[i]->commandName());
  if (stack.size() > 1) {
    if (auto super = stack.front()->configuration().superCommandName) {
      superCommands.insert(superCommands.begin(), *super);
    }
  }
  info.superCommands = nonEmpty(std::move(superCommands));
  info.commandName = command->commandName();
  info.abstract = nonEmpty(configuration.abstract);
  info.discussion = nonEmpty(configuration.discussion);
  if (configuration.defaultSubcommand != nullptr) {
    // The declared name only: a derived name is not written.
    info.defaultSubcommand =
        nonEmpty(configuration.defaultSubcommand->configuration().commandName.value_or(""));
  }

  std::vector<CommandInfoV0> subcommands;
  for (CommandType subcommand : configuration.subcommands()) {
    std::vector<CommandType> extended = stack;
    extended.push_back(subcommand);
    subcommands.push_back(commandInfo(extended));
  }
  info.subcommands = nonEmpty(std::move(subcommands));

  std::vector<ArgumentInfoV0> arguments;
  for (const auto& argument : dumpedArguments(stack)) arguments.push_back(argumentInfo(argument));
  info.arguments = nonEmpty(std::move(arguments));
  return info;
}

}  // namespace

std::vector<ArgumentDefinition> dumpedArguments(const std::vector<CommandType>& commandStack) {
  const ArgumentSet all = argumentsForHelp(commandStack, ArgumentVisibility::private_);
  std::vector<ArgumentDefinition> merged;
  for (std::size_t i = 0; i < all.size();) {
    const ArgumentDefinition& first = all[i];
    std::size_t end = i + 1;
    if (first.help.isComposite) {
      while (end < all.size() && all[end].help.keys == first.help.keys) ++end;
    }
    if (end - i > 1 && first.isNamed()) {
      ArgumentDefinition group = first;
      for (std::size_t j = i + 1; j < end; ++j) {
        const auto& member = all[j];
        group.kind.names.insert(group.kind.names.end(), member.names().begin(), member.names().end());
        if (group.help.abstract.empty()) group.help.abstract = member.help.abstract;
      }
      merged.push_back(std::move(group));
    } else {
      for (std::size_t j = i; j < end; ++j) merged.push_back(all[j]);
    }
    i = end;
  }
  std::erase_if(merged, [](const ArgumentDefinition& argument) { return argument.isDefaultKind(); });
  return merged;
}

DumpHelpGenerator::DumpHelpGenerator(const std::vector<CommandType>& commandStack) {
  toolInfo_.serializationVersion = 0;
  toolInfo_.command = commandInfo(commandStack);
}

std::string DumpHelpGenerator::rendered() const { return ArgumentParserToolInfo::renderedJSON(toolInfo_); }

// The framework's exit path asks for the dump through this hook.
std::string dumpHelp(const CommandStack& stack) { return DumpHelpGenerator(stack).rendered(); }

}  // namespace ArgumentParser
