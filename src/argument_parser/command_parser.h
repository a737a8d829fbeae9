#pragma once
// Walks the command tree over the split arguments: each level extracts what
// it recognises, decodes and validates its value, and moves on to the named
// subcommand. Also recognises the built-in requests (help, version,
// completion script, dump).

#include <memory>
#include <string>
#include <vector>

#include "argument_parser/argument_decoder.h"
#include "argument_parser/help_generator.h"
#include "argument_parser/parsable_command.h"
#include "argument_parser/properties.h"
#include "argument_parser/split_arguments.h"
#include "argument_parser/tree.h"

namespace ArgumentParser {

// The `help` subcommand that the parser adds to a command with subcommands,
// and the result of every help request.
struct HelpCommand : ParsableCommand {
  Argument<std::vector<std::string>> subcommands;
  Flag<bool> help{false, {.name = {NameSpecification::Element::short_(), NameSpecification::Element::long_(),
                                   NameSpecification::Element::customLong("help", true)},
                          .help = ArgumentHelp::private_()}};

  CommandStack commandStack;
  ArgumentVisibility visibility = ArgumentVisibility::default_;

  static CommandConfiguration configuration();
  static void declare(Declarations<HelpCommand>& d);
  // Fails with the help request for its stack.
  void run() override;
  // The stack named by `subcommands` from the tree's root; the first name
  // without a child ends the walk.
  void buildCommandStack(const Tree& tree);
};

// The one-option commands used to look for a completion-script request.
struct GenerateCompletions : ParsableCommand {
  Option<std::optional<std::string>> generateCompletionScript;
  static void declare(Declarations<GenerateCompletions>& d);
};
struct AutodetectedGenerateCompletions : ParsableCommand {
  Flag<bool> generateCompletionScript{false, {}};
  static void declare(Declarations<AutodetectedGenerateCompletions>& d);
};

class CommandParser {
 public:
  explicit CommandParser(CommandType root);

  // The decoded command of the deepest level, or a HelpCommand for a help
  // request. Throws CommandError.
  std::shared_ptr<ParsableCommand> parse(const std::vector<std::string>& arguments);

  const Tree& commandTree() const { return *tree_; }
  // The decoded command types, then the current node if it is not the last.
  CommandStack commandStack() const;
  // The path from the root to the first node of the type.
  CommandStack commandStack(CommandType subcommand) const;

 private:
  void descendingParse(SplitArguments& split);
  void parseCurrent(SplitArguments& split);
  std::shared_ptr<ParsableCommand> extractLastParsedValue(SplitArguments& split);
  void checkForBuiltInFlags(const SplitArguments& split, bool requireSoloArgument = false);
  void checkForCompletionScriptRequest(const SplitArguments& split);

  std::unique_ptr<Tree> tree_;
  const Tree* currentNode_;
  std::vector<DecodedArguments> decodedArguments_;
};

// Parses the arguments as the root command. Throws CommandError.
std::shared_ptr<ParsableCommand> parseAsRoot(CommandType root, const std::vector<std::string>& arguments);

template <class T>
std::shared_ptr<ParsableCommand> parseAsRoot(const std::vector<std::string>& arguments) {
  return parseAsRoot(typeOf<T>(), arguments);
}

// Carries a ParsableArguments type that is no command through the parser.
template <class T>
struct WrappedParsableCommand : ParsableCommand {
  OptionGroup<T> options;
  static CommandConfiguration configuration() {
    return {.commandName = convertedToSnakeCase(typeOf<T>()->bareName())};
  }
  static void declare(Declarations<WrappedParsableCommand>& d) { d("options", &WrappedParsableCommand::options); }
};

// Parses the arguments as a value of T: a command (the root) or any other
// ParsableArguments. A help request, or a parse that ends in another type,
// throws CommandError like any failure.
template <class T>
T parse(const std::vector<std::string>& arguments) {
  if constexpr (std::is_base_of_v<ParsableCommand, T>) {
    auto command = parseAsRoot<T>(arguments);
    if (auto value = std::dynamic_pointer_cast<T>(command)) return *value;
    if (std::dynamic_pointer_cast<HelpCommand>(command)) command->run();
  } else {
    auto command = parseAsRoot<WrappedParsableCommand<T>>(arguments);
    if (auto wrapped = std::dynamic_pointer_cast<WrappedParsableCommand<T>>(command)) return wrapped->options.value();
    if (std::dynamic_pointer_cast<HelpCommand>(command)) command->run();
  }
  throw CommandError{{typeOf<T>()}, ParserError::simple(ParserError::Case::invalidState)};
}

// One level, ignoring what it does not know: the values of the set. Exposed
// for tests of the strategies.
ParsedValues lenientParse(const ArgumentSet& set, SplitArguments& split, const std::vector<CommandType>& subcommands,
                          bool defaultCapturesAll);

}  // namespace ArgumentParser
