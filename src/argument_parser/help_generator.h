#pragma once
// Renderers of the command tree: usage synopsis, help text, and the text
// operations they use. They read commands only through CommandTypeInfo and
// ArgumentSet; nothing here reads the command line.

#include <optional>
#include <string>
#include <vector>

#include "argument_parser/argument_definition.h"
#include "argument_parser/command_configuration.h"
#include "argument_parser/environment.h"

namespace ArgumentParser {

using CommandStack = std::vector<CommandType>;

// --- text operations --------------------------------------------------------
std::string wrapped(const std::string& text, int columns, int wrappingIndent = 0);
std::string indentingEachLine(const std::string& text, int indent);
// The first line unchanged, every later one indented by 7 ("USAGE: ").
std::string hangingIndent(const std::string& text);

// --- the command stack --------------------------------------------------------
// The help names of the stack: the last command's `helpNames` that is
// present, else [-h, --help]; at another visibility than default, long names
// get "-<visibility>" and short names drop out. Sorted descending by synopsis.
std::vector<Name> helpNames(const CommandStack& stack, ArgumentVisibility visibility);
// The preferred help name at default visibility.
std::optional<Name> primaryHelpName(const CommandStack& stack);
// The last command's set at the visibility, then the version flag (a
// command of the stack has a version), then the help flag (help names exist).
ArgumentSet argumentsForHelp(const CommandStack& stack, ArgumentVisibility visibility);
// The command names of the stack joined by blanks.
std::string commandNames(const CommandStack& stack);

// --- usage --------------------------------------------------------------------
// The synopsis of one argument: "[--flag]", "<value>", "[--file <file> ...]".
std::string synopsis(const ArgumentDefinition& argument);
// Without the optional brackets, for messages.
std::string synopsisWithoutOptionalMark(const ArgumentDefinition& argument);
// The label in help: "-h, --help", "--count <count>", "<file>".
std::string label(const ArgumentDefinition& argument);

struct UsageGenerator {
  std::string toolName;
  const ArgumentSet& definition;  // a command's own set, not copied for each message
  std::string synopsis() const;
};

// --- help ---------------------------------------------------------------------
class HelpGenerator {
 public:
  struct Section {
    struct Header {
      enum class Kind { title, groupedSubcommands, positionalArguments, subcommands, options };
      Kind kind = Kind::options;
      std::string name;  // title or group name
      std::string text() const;
    };
    struct Element {
      std::string label;
      std::string abstract;
      std::string discussion;
    };
    Header header;
    std::vector<Element> elements;
    std::string discussion;
    bool isSubcommands = false;
    std::string rendered(int screenWidth) const;
  };
  struct DiscussionSection {
    std::string title;
    std::string content;
  };

  // The stack must not be empty.
  HelpGenerator(CommandStack commandStack, ArgumentVisibility visibility);

  const CommandStack& commandStack() const { return commandStack_; }
  const std::string& abstract() const { return abstract_; }
  const std::string& usage() const { return usage_; }
  const std::vector<Section>& sections() const { return sections_; }

  // The whole help text; absent width: the terminal's.
  std::string rendered(std::optional<int> screenWidth = std::nullopt) const;
  // "Usage: " and the usage, or empty.
  std::string usageMessage() const;

 private:
  CommandStack commandStack_;
  std::string abstract_;
  std::string usage_;
  std::vector<Section> sections_;
  std::vector<DiscussionSection> discussionSections_;
};

// The usage message of the stack's last command (as HelpGenerator's), made
// without the rest of the help. The stack must not be empty.
std::string usageMessage(const CommandStack& stack, ArgumentVisibility visibility);

// The command's configured usage text alone.
std::optional<std::string> usageString(CommandType command);

// The columns of the terminal: COLUMNS, then the terminal of standard output,
// then 80. `getenv` is injectable for tests.
int terminalWidth(const EnvironmentReader& environment = processEnvironment);

}  // namespace ArgumentParser
