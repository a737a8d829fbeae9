#pragma once
// What a command says about itself, and the type-erased handle of a command
// type through which the framework reads it (there is no reflection: a type
// registers its declared properties in declaration order, see
// parsable_command.h).

#include <array>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "argument_parser/argument_definition.h"
#include "argument_parser/name.h"

namespace ArgumentParser {

class CommandTypeInfo;
// A command (or arguments) type, as the framework sees it. Compare handles by
// identity: one handle per type (`typeOf<T>()`).
using CommandType = const CommandTypeInfo*;

struct CommandGroup {
  std::string name{};
  std::vector<CommandType> subcommands{};
};

// Fields in constructor order, so designated initializers read as the
// declaration: {.commandName = "tool", .abstract = "…"}.
struct CommandConfiguration {
  std::optional<std::string> commandName{};  // absent: derived from the type name
  std::optional<std::string> superCommandName{};
  std::string abstract{};
  std::optional<std::string> usage{};  // replaces the generated usage; empty hides it
  std::string discussion{};
  std::string version{};  // non-empty enables --version
  bool shouldDisplay = true;
  std::vector<CommandType> ungroupedSubcommands{};
  std::vector<CommandGroup> groupedSubcommands{};
  CommandType defaultSubcommand = nullptr;
  std::optional<NameSpecification> helpNames{};  // absent: inherited
  std::vector<std::string> aliases{};

  // The ungrouped subcommands, then those of each group in group order.
  std::vector<CommandType> subcommands() const {
    std::vector<CommandType> all = ungroupedSubcommands;
    for (const auto& group : groupedSubcommands) all.insert(all.end(), group.subcommands.begin(), group.subcommands.end());
    return all;
  }
};

class ParsableArguments;
class ArgumentDecoder;

class CommandTypeInfo {
 public:
  struct Functions {
    std::function<CommandConfiguration()> configuration;
    std::function<ArgumentSet(ArgumentVisibility, const std::vector<std::string>& parentPath)> argumentSet;
    std::function<std::shared_ptr<ParsableArguments>(ArgumentDecoder&, const std::vector<std::string>& codingPath)>
        decode;
  };

  CommandTypeInfo(std::string typeName, bool isCommand, std::string errorLabel, Functions functions);

  // The qualified type name ("tools::Repeat"), for fatal messages.
  const std::string& typeName() const { return typeName_; }
  // The type's own name without namespaces.
  std::string bareName() const;
  bool isCommand() const { return isCommand_; }
  // Text in front of error messages ("Error").
  const std::string& errorLabel() const { return errorLabel_; }

  // The command's configuration; a type that declares none has the defaults.
  // Made once, on first use, and kept: the parser asks for it at every step.
  const CommandConfiguration& configuration() const;
  // `configuration.commandName`, else the bare type name converted to a long name.
  std::string commandName() const;

  // The definitions of the type's declared properties in declaration order,
  // skipping those below `visibility`; keys get `parentPath` as their path.
  ArgumentSet argumentSet(ArgumentVisibility visibility, const std::vector<std::string>& parentPath) const {
    return functions_.argumentSet(visibility, parentPath);
  }
  // The same with no parent path, made once per visibility and kept.
  const ArgumentSet& argumentSet(ArgumentVisibility visibility) const;
  // Builds a value of the type from the decoder's values. Throws ParserError
  // (noValue, userValidationError) or InternalParseError.
  std::shared_ptr<ParsableArguments> decode(ArgumentDecoder& decoder,
                                            const std::vector<std::string>& codingPath = {}) const {
    return functions_.decode(decoder, codingPath);
  }

 private:
  std::string typeName_;
  bool isCommand_;
  std::string errorLabel_;
  Functions functions_;
  // What the functions made, for every thread that asks after the first.
  mutable std::once_flag configurationMade_;
  mutable std::optional<CommandConfiguration> configuration_;
  mutable std::array<std::once_flag, 3> argumentSetMade_;
  mutable std::array<std::optional<ArgumentSet>, 3> argumentSets_;
};

}  // namespace ArgumentParser
