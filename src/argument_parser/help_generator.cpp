#include "argument_parser/help_generator.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <climits>

#include "argument_parser/characters.h"
#include "argument_parser/errors.h"

namespace ArgumentParser {

// --- text operations --------------------------------------------------------

namespace {

std::string join(const std::vector<std::string>& chars, std::size_t from, std::size_t to) {
  std::string text;
  for (std::size_t i = from; i < to; ++i) text += chars[i];
  return text;
}

std::vector<std::string> splitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t start = 0;
  while (true) {
    auto nl = text.find('\n', start);
    if (nl == std::string::npos) {
      lines.push_back(text.substr(start));
      return lines;
    }
    lines.push_back(text.substr(start, nl - start));
    start = nl + 1;
  }
}

std::string joinLines(const std::vector<std::string>& lines, int indent) {
  std::string result;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (i > 0) result += '\n';
    if (!lines[i].empty()) result += std::string(static_cast<std::size_t>(indent), ' ') + lines[i];
  }
  return result;
}

}  // namespace

std::string wrapped(const std::string& text, int columns, int wrappingIndent) {
  const int width = columns - wrappingIndent;
  if (width < 1) return {};
  const auto chars = characters(text);
  const std::size_t n = chars.size();
  const auto w = static_cast<std::size_t>(width);
  std::vector<std::string> lines;
  std::size_t pos = 0;
  while (true) {
    const std::size_t chunkEnd = std::min(pos + w, n);
    std::optional<std::size_t> lastNewline;
    std::optional<std::size_t> lastBlank;
    for (std::size_t i = pos; i < chunkEnd; ++i) {
      if (chars[i] == "\n") lastNewline = i;
      if (chars[i] == " ") lastBlank = i;
    }
    if (lastNewline) {
      auto pieces = splitLines(join(chars, pos, *lastNewline));
      lines.insert(lines.end(), pieces.begin(), pieces.end());
      pos = *lastNewline + 1;
      continue;
    }
    if (chunkEnd == n) break;
    if (lastBlank) {
      lines.push_back(join(chars, pos, *lastBlank));
      pos = *lastBlank + 1;
      continue;
    }
    auto blank = std::find(chars.begin() + static_cast<std::ptrdiff_t>(chunkEnd), chars.end(), " ");
    if (blank == chars.end()) break;
    auto at = static_cast<std::size_t>(blank - chars.begin());
    lines.push_back(join(chars, pos, at));
    pos = at + 1;
  }
  lines.push_back(join(chars, pos, n));
  return joinLines(lines, wrappingIndent);
}

std::string indentingEachLine(const std::string& text, int indent) { return joinLines(splitLines(text), indent); }

std::string hangingIndent(const std::string& text) {
  auto nl = text.find('\n');
  if (nl == std::string::npos) return text;
  return text.substr(0, nl) + "\n" + indentingEachLine(text.substr(nl + 1), 7);
}

// --- the command stack --------------------------------------------------------

std::vector<Name> helpNames(const CommandStack& stack, ArgumentVisibility visibility) {
  std::optional<NameSpecification> nameSpec;
  for (auto it = stack.rbegin(); it != stack.rend() && !nameSpec; ++it)
    nameSpec = (*it)->configuration().helpNames;
  auto names = nameSpec.value_or(NameSpecification::shortAndLong()).makeNames("help");
  if (visibility != ArgumentVisibility::default_) {
    const std::string suffix = visibility == ArgumentVisibility::hidden ? "-hidden" : "-private";
    std::vector<Name> changed;
    for (auto name : names) {
      if (name.isShort()) continue;
      name.text += suffix;
      changed.push_back(name);
    }
    names = changed;
  }
  std::stable_sort(names.begin(), names.end(), [](const Name& a, const Name& b) { return b < a; });
  return names;
}

std::optional<Name> primaryHelpName(const CommandStack& stack) {
  return preferredName(helpNames(stack, ArgumentVisibility::default_));
}

namespace {

// A flag that the framework answers itself (help, version): shown in help,
// optional, and never stored.
ArgumentDefinition builtInFlag(std::vector<Name> names, const char* key, const char* abstract) {
  ArgumentDefinition flag;
  flag.kind = ArgumentDefinition::Kind::named(std::move(names));
  flag.help.options = ArgumentDefinition::Help::isOptional;
  flag.help.keys = {InputKey(key)};
  flag.help.abstract = abstract;
  flag.update = ArgumentDefinition::Update::makeNullary([](auto&, auto&, auto&) {});
  flag.initial = [](const InputOrigin&, ParsedValues&) {};
  return flag;
}

}  // namespace

ArgumentSet argumentsForHelp(const CommandStack& stack, ArgumentVisibility visibility) {
  ArgumentSet set = stack.back()->argumentSet(visibility);
  bool hasVersion = std::any_of(stack.begin(), stack.end(),
                                [](CommandType c) { return !c->configuration().version.empty(); });
  if (hasVersion) set.append(builtInFlag({Name::makeLong("version")}, "", "Show the version."));
  auto names = helpNames(stack, ArgumentVisibility::default_);
  if (!names.empty()) set.append(builtInFlag(std::move(names), "help", "Show help information."));
  return set;
}

std::string commandNames(const CommandStack& stack) {
  std::string text;
  for (CommandType c : stack) {
    if (!text.empty()) text += ' ';
    text += c->commandName();
  }
  return text;
}

// --- usage --------------------------------------------------------------------

namespace {

std::string bareSynopsis(const ArgumentDefinition& argument) {
  if (argument.isPositional()) return "<" + argument.valueName() + ">";
  auto name = argument.preferredName();
  if (!name) fatalError("preferredName cannot be nil for named arguments");
  std::string text = name->synopsisString();
  if (argument.isUnary()) text += " <" + argument.valueName() + ">";
  return text;
}

std::string decorated(const ArgumentDefinition& argument, bool withOptionalMark) {
  std::string text = bareSynopsis(argument);
  if (argument.isRepeating()) text += " ...";
  if (withOptionalMark && argument.isOptional()) text = "[" + text + "]";
  if (argument.parsingStrategy == ParsingStrategy::postTerminator) text = "-- " + text;
  return text;
}

}  // namespace

std::string synopsis(const ArgumentDefinition& argument) { return decorated(argument, true); }
std::string synopsisWithoutOptionalMark(const ArgumentDefinition& argument) { return decorated(argument, false); }

std::string label(const ArgumentDefinition& argument) {
  if (argument.isPositional()) return "<" + argument.valueName() + ">";
  std::vector<Name> ordered;
  for (const auto& n : argument.names())
    if (n.isShort()) ordered.push_back(n);
  for (const auto& n : argument.names())
    if (!n.isShort()) ordered.push_back(n);
  std::string text;
  for (const auto& n : ordered) {
    if (!text.empty()) text += ", ";
    text += n.synopsisString();
  }
  if (argument.isUnary()) text += " <" + argument.valueName() + ">";
  return text;
}

std::string UsageGenerator::synopsis() const {
  // Definitions of the `default` kind stand for no command-line input.
  std::vector<const ArgumentDefinition*> shown;
  for (const auto& d : definition)
    if (!d.isDefaultKind()) shown.push_back(&d);
  if (shown.empty()) return toolName;
  auto joined = [](const std::vector<const ArgumentDefinition*>& list) {
    std::string text;
    for (const auto* d : list) {
      if (!text.empty()) text += ' ';
      text += ArgumentParser::synopsis(*d);
    }
    return text;
  };
  if (shown.size() < 13) return toolName + " " + joined(shown);
  std::vector<const ArgumentDefinition*> required;
  for (const auto* d : shown)
    if (d->isPositional() || !d->isOptional()) required.push_back(d);
  if (!required.empty() && required.size() <= 12) return toolName + " [<options>] " + joined(required);
  return toolName + " <options>";
}

// --- help ---------------------------------------------------------------------

std::string HelpGenerator::Section::Header::text() const {
  switch (kind) {
    case Kind::title:
      return name;
    case Kind::groupedSubcommands:
      return name + " Subcommands";
    case Kind::positionalArguments:
      return "Arguments";
    case Kind::subcommands:
      return "Subcommands";
    case Kind::options:
      return "Options";
  }
  return name;
}

namespace {

constexpr int labelIndent = 2;
constexpr int abstractColumn = 26;
constexpr int discussionIndent = 8;

std::string defaultText(const ArgumentDefinition& d) {
  std::string values;
  for (const auto& v : d.help.allValueStrings) values += (values.empty() ? "" : ", ") + v;
  std::optional<std::string> value = d.help.defaultValue;
  if (value && value->empty()) value.reset();
  if (!values.empty() && value) return "(values: " + values + "; default: " + *value + ")";
  if (!values.empty()) return "(values: " + values + ")";
  if (value) return "(default: " + *value + ")";
  return {};
}

HelpGenerator::Section::Element subcommandElement(CommandType sub, CommandType defaultSubcommand) {
  const auto& configuration = sub->configuration();
  std::string text = sub->commandName();
  for (const auto& alias : configuration.aliases) text += ", " + alias;
  if (sub == defaultSubcommand) text += " (default)";
  return {text, configuration.abstract, {}};
}

}  // namespace

std::string HelpGenerator::Section::rendered(int screenWidth) const {
  if (elements.empty()) return {};
  std::string text = uppercased(header.text()) + ":\n";
  for (const auto& element : elements) {
    std::string padded = std::string(labelIndent, ' ') + element.label;
    std::string wrappedAbstract = wrapped(element.abstract, screenWidth, abstractColumn);
    std::string tail = element.discussion.empty()
                           ? std::string()
                           : wrapped(element.discussion, screenWidth, discussionIndent) + "\n";
    std::string renderedAbstract;
    if (!element.abstract.empty()) {
      auto paddedCount = characterCount(padded);
      if (paddedCount >= static_cast<std::size_t>(abstractColumn)) {
        renderedAbstract = "\n" + wrappedAbstract;
      } else {
        auto chars = characters(wrappedAbstract);
        for (std::size_t i = paddedCount; i < chars.size(); ++i) renderedAbstract += chars[i];
      }
    }
    text += padded + renderedAbstract + "\n" + tail;
  }
  return text;
}

namespace {

// The usage of the stack's last command: its configured text, else the
// synopsis of its arguments behind the tool's name.
std::string usageOf(const CommandStack& stack, ArgumentVisibility visibility) {
  if (stack.empty()) fatalError("Help generation requested with an empty command stack");
  CommandType command = stack.back();
  const auto& configuration = command->configuration();
  if (configuration.usage) return *configuration.usage;

  std::string toolName = commandNames(stack);
  if (const auto& super = stack.front()->configuration().superCommandName) toolName = *super + " " + toolName;
  std::string usage = UsageGenerator{toolName, command->argumentSet(visibility)}.synopsis();
  if (!configuration.subcommands().empty()) {
    if (!usage.ends_with(' ')) usage += ' ';
    usage += "<subcommand>";
  }
  return usage;
}

std::string withUsageLabel(const std::string& usage) {
  if (usage.empty()) return {};
  return "Usage: " + hangingIndent(usage);
}

}  // namespace

std::string usageMessage(const CommandStack& stack, ArgumentVisibility visibility) {
  return withUsageLabel(usageOf(stack, visibility));
}

HelpGenerator::HelpGenerator(CommandStack commandStack, ArgumentVisibility visibility)
    : commandStack_(std::move(commandStack)) {
  usage_ = usageOf(commandStack_, visibility);
  const auto& configuration = commandStack_.back()->configuration();

  abstract_ = configuration.abstract;
  if (!configuration.discussion.empty()) {
    if (!abstract_.empty()) abstract_ += "\n";
    abstract_ += "\n" + configuration.discussion;
  }

  std::vector<Section::Element> positional;
  std::vector<Section::Element> options;
  std::vector<std::pair<std::string, std::vector<Section::Element>>> titled;

  const auto arguments = argumentsForHelp(commandStack_, visibility);
  const auto& content = arguments.content();
  for (std::size_t i = 0; i < content.size();) {
    const auto& d = content[i];
    if (d.isDefaultKind()) {
      ++i;
      continue;
    }
    std::string text;
    std::string abstract;
    std::size_t end = i + 1;
    if (d.help.isComposite) {
      while (end < content.size() && content[end].help.keys == d.help.keys) ++end;
      for (std::size_t j = i; j < end; ++j) {
        text += (j == i ? "" : "/") + label(content[j]);
        if (abstract.empty()) abstract = content[j].help.abstract;
      }
    } else {
      text = label(d);
      abstract = d.help.abstract;
    }
    auto defaults = defaultText(d);
    std::string fullAbstract = abstract;
    if (!defaults.empty()) fullAbstract += (fullAbstract.empty() ? "" : " ") + defaults;
    Section::Element element{text, fullAbstract, d.help.discussion};
    if (!d.help.parentTitle.empty()) {
      auto found = std::find_if(titled.begin(), titled.end(),
                                [&](const auto& entry) { return entry.first == d.help.parentTitle; });
      if (found == titled.end()) {
        titled.push_back({d.help.parentTitle, {}});
        found = titled.end() - 1;
      }
      found->second.push_back(std::move(element));
    } else if (d.isPositional()) {
      positional.push_back(std::move(element));
    } else {
      options.push_back(std::move(element));
    }
    i = end;
  }

  using Kind = Section::Header::Kind;
  sections_.push_back({{Kind::positionalArguments, {}}, positional, {}, false});
  for (auto& [title, elements] : titled) sections_.push_back({{Kind::title, title}, elements, {}, false});
  sections_.push_back({{Kind::options, {}}, options, {}, false});
  if (!configuration.ungroupedSubcommands.empty()) {
    std::vector<Section::Element> subs;
    for (CommandType sub : configuration.ungroupedSubcommands)
      if (sub->configuration().shouldDisplay) subs.push_back(subcommandElement(sub, configuration.defaultSubcommand));
    sections_.push_back({{Kind::subcommands, {}}, subs, {}, true});
  }
  for (const auto& group : configuration.groupedSubcommands) {
    std::vector<Section::Element> subs;
    for (CommandType sub : group.subcommands)
      if (sub->configuration().shouldDisplay) subs.push_back(subcommandElement(sub, configuration.defaultSubcommand));
    sections_.push_back({{Kind::groupedSubcommands, group.name}, subs, {}, true});
  }
}

std::string HelpGenerator::rendered(std::optional<int> screenWidth) const {
  const int width = screenWidth.value_or(terminalWidth());
  std::string renderedSections;
  bool first = true;
  for (const auto& section : sections_) {
    auto text = section.rendered(width);
    if (text.empty()) continue;
    if (!first) renderedSections += "\n";
    renderedSections += text;
    first = false;
  }
  std::string renderedAbstract;
  if (!abstract_.empty()) renderedAbstract = wrapped("OVERVIEW: " + abstract_, width, 0) + "\n\n";

  std::string helpSubcommandMessage;
  auto firstSubcommands =
      std::find_if(sections_.begin(), sections_.end(), [](const Section& s) { return s.isSubcommands; });
  if (firstSubcommands != sections_.end() && !firstSubcommands->elements.empty()) {
    std::vector<std::string> names;
    if (auto super = commandStack_.front()->configuration().superCommandName) names.push_back(*super);
    for (CommandType c : commandStack_) names.push_back(c->commandName());
    names.insert(names.begin() + 1, "help");
    std::string joined;
    for (const auto& n : names) joined += (joined.empty() ? "" : " ") + n;
    helpSubcommandMessage = "\n  See '" + joined + " <subcommand>' for detailed help.";
  }

  std::string renderedUsage;
  if (!usage_.empty()) renderedUsage = "USAGE: " + hangingIndent(usage_) + "\n\n";
  return renderedAbstract + renderedUsage + renderedSections + helpSubcommandMessage;
}

std::string HelpGenerator::usageMessage() const { return withUsageLabel(usage_); }

std::optional<std::string> usageString(CommandType command) { return command->configuration().usage; }

// --- terminal -------------------------------------------------------------------

namespace {
// A decimal integer with at most one sign, "+" or "-", in front of its digits.
std::optional<int> decimal(const std::optional<std::string>& text) {
  if (!text || text->empty()) return std::nullopt;
  std::string_view digits = *text;
  const bool negative = digits.front() == '-';
  if (negative || digits.front() == '+') digits.remove_prefix(1);
  if (digits.empty() || digits.front() < '0' || digits.front() > '9') return std::nullopt;
  long long value = 0;
  auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (ec != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  if (negative) value = -value;
  if (value < INT_MIN || value > INT_MAX) return std::nullopt;
  return static_cast<int>(value);
}
}  // namespace

int terminalWidth(const EnvironmentReader& environment) {
  auto columns = decimal(environment("COLUMNS"));
  auto lines = decimal(environment("LINES"));
  if (columns && lines) return *columns;
  winsize size{};
  if (!columns && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0) return size.ws_col;
  return columns.value_or(80);
}

}  // namespace ArgumentParser
