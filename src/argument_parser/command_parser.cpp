#include "argument_parser/command_parser.h"

#include <algorithm>
#include <deque>

#include "argument_parser/characters.h"
#include "argument_parser/completion_hooks.h"

namespace ArgumentParser {

// --- the framework's own commands ----------------------------------------------

CommandConfiguration HelpCommand::configuration() {
  return {.commandName = "help",
          .abstract = "Show subcommand help information.",
          .helpNames = NameSpecification::none()};
}

void HelpCommand::declare(Declarations<HelpCommand>& d) {
  d("_subcommands", &HelpCommand::subcommands)("_help", &HelpCommand::help);
}

void HelpCommand::run() { throw CommandError{commandStack, ParserError::helpRequested(visibility)}; }

void HelpCommand::buildCommandStack(const Tree& tree) {
  const Tree* node = &tree;
  while (node->parent()) node = node->parent();
  commandStack = {node->element()};
  for (const auto& name : subcommands.value()) {
    const Tree* child = node->child(name);
    if (!child) break;
    node = child;
    commandStack.push_back(node->element());
  }
}

void GenerateCompletions::declare(Declarations<GenerateCompletions>& d) {
  d("generateCompletionScript", &GenerateCompletions::generateCompletionScript);
}

void AutodetectedGenerateCompletions::declare(Declarations<AutodetectedGenerateCompletions>& d) {
  d("generateCompletionScript", &AutodetectedGenerateCompletions::generateCompletionScript);
}

// --- one level ------------------------------------------------------------------

namespace {

bool hasRepeatingPositional(const ArgumentSet& set, ParsingStrategy strategy) {
  return std::any_of(set.begin(), set.end(), [strategy](const ArgumentDefinition& d) {
    return d.isPositional() && d.isRepeating() && d.parsingStrategy == strategy;
  });
}

const ArgumentDefinition* repeatingPositional(const ArgumentSet& set, ParsingStrategy strategy) {
  for (const auto& d : set)
    if (d.isPositional() && d.isRepeating() && d.parsingStrategy == strategy) return &d;
  return nullptr;
}

bool capturesAllRemainingInput(CommandType type) {
  return type && hasRepeatingPositional(type->argumentSet(ArgumentVisibility::private_),
                                        ParsingStrategy::allRemainingInput);
}

CommandType subcommandNamed(const std::vector<CommandType>& subcommands, const std::string& name) {
  for (CommandType sub : subcommands) {
    if (sub->commandName() == name) return sub;
    const auto& aliases = sub->configuration().aliases;
    if (std::find(aliases.begin(), aliases.end(), name) != aliases.end()) return sub;
  }
  return nullptr;
}

// Whether the option element stands for a group of letters, or is one.
bool hasLetterElements(const SplitArguments& split, const SplitElement& element) {
  if (!element.index.subIndex.isComplete) return true;
  for (const auto& e : split.elements())
    if (e.index.inputIndex == element.index.inputIndex && !e.index.subIndex.isComplete) return true;
  return false;
}

// One value of a named argument and the origins it uses: the option's own
// and those of the words it was taken from.
struct TakenValue {
  InputOrigin origin;
  std::string text;
};

// The value joined to a short letter (`-ofile`): when the argument allows it
// and `element` is the first letter of a group, the word's text behind its
// first two characters; it uses also the whole word.
std::optional<TakenValue> joinedValue(const ArgumentDefinition& argument, const SplitElement& element,
                                      const InputOrigin& origin, const SplitArguments& input) {
  bool allowsJoined = std::any_of(argument.names().begin(), argument.names().end(),
                                  [](const Name& n) { return n.isShort() && n.allowingJoined; });
  const auto& index = element.index;
  if (!allowsJoined || index.subIndex.isComplete || index.subIndex.sub != 0) return std::nullopt;
  auto chars = characters(input.originalInput()[static_cast<std::size_t>(index.inputIndex.rawValue)]);
  std::string rest;
  for (std::size_t i = 2; i < chars.size(); ++i) rest += chars[i];
  return TakenValue{origin.unioned(InputOrigin(Index{index.inputIndex, SubIndex::complete()})), rest};
}

// The values that the option `element` (parsed as `parsed`, at `origin`)
// takes by its argument's parsing strategy, in order: the value attached with
// "=", else the joined one, then the words behind it that the strategy takes,
// which are marked used in `input`. The option's origin is used by every
// value. Fails with missingValueForOption when the strategy needs a value
// and none is found, and with invalidState for the strategies of positional
// arrays. An empty result is possible only for allRemainingInput.
std::vector<TakenValue> takeValues(const ArgumentDefinition& argument, const ParsedArgument& parsed,
                                   const SplitElement& element, const InputOrigin& origin, SplitArguments& input) {
  std::optional<TakenValue> attachedOrJoined;
  if (parsed.value)
    attachedOrJoined = TakenValue{origin, *parsed.value};
  else
    attachedOrJoined = joinedValue(argument, element, origin, input);
  auto behindOrigin = [&origin](std::optional<std::pair<Index, std::string>> next) -> std::optional<TakenValue> {
    if (!next) return std::nullopt;
    return TakenValue{origin.unioned(InputOrigin(next->first)), std::move(next->second)};
  };
  const auto missing = [&] { return ParserError::missingValueForOption(origin, parsed.name); };

  std::vector<TakenValue> taken;
  switch (argument.parsingStrategy) {
    case ParsingStrategy::default_:
    case ParsingStrategy::scanningForValue:
    case ParsingStrategy::unconditional: {
      if (attachedOrJoined) return {*attachedOrJoined};
      std::optional<std::pair<Index, std::string>> next;
      if (argument.parsingStrategy == ParsingStrategy::default_)
        next = input.popNextElementIfValue(origin);
      else if (argument.parsingStrategy == ParsingStrategy::scanningForValue)
        next = input.popNextValue(origin);
      else
        next = input.popNextElementAsValue(origin);
      if (!next) throw missing();
      return {*behindOrigin(std::move(next))};
    }
    case ParsingStrategy::allRemainingInput:
      if (attachedOrJoined) taken.push_back(*attachedOrJoined);
      while (auto next = behindOrigin(input.popNextElementAsValue(origin))) taken.push_back(std::move(*next));
      return taken;
    case ParsingStrategy::upToNextOption: {
      if (attachedOrJoined) taken.push_back(*attachedOrJoined);
      input.removeAll(origin);
      auto next = input.peekNext();
      if (next && next->second.isValue()) {
        while (auto value = input.popNextElementIfValue())
          taken.push_back({origin.unioned(InputOrigin(value->first)), std::move(value->second)});
      }
      if (taken.empty()) throw missing();
      return taken;
    }
    case ParsingStrategy::postTerminator:
    case ParsingStrategy::allUnrecognized:
      break;
  }
  throw ParserError::simple(ParserError::Case::invalidState);
}

void parsePositionalValues(const ArgumentSet& set, SplitArguments unused, ParsedValues& values) {
  const auto& input = unused.originalInput();
  auto textOf = [&input](const Index& index) { return input[static_cast<std::size_t>(index.inputIndex.rawValue)]; };

  if (const auto* postTerminator = repeatingPositional(set, ParsingStrategy::postTerminator)) {
    const auto& elements = unused.elements();
    for (std::size_t i = unused.firstUnused(); i < elements.size(); ++i) {
      if (!elements[i].isTerminator()) continue;
      std::vector<Index> behind;
      for (std::size_t j = i + 1; j < elements.size(); ++j) behind.push_back(elements[j].index);
      for (const auto& index : behind) postTerminator->update.unary(InputOrigin(index), std::nullopt, textOf(index), values);
      unused.removeSubrange(i, elements.size());
      break;
    }
  }

  std::deque<SplitElement> stack;
  for (std::size_t i = unused.firstUnused(); i < unused.elements().size(); ++i)
    if (unused.elements()[i].index.subIndex.isComplete) stack.push_back(unused.elements()[i]);

  for (const auto& d : set) {
    if (stack.empty()) break;
    if (!d.isPositional()) continue;
    if (d.parsingStrategy != ParsingStrategy::default_ && d.parsingStrategy != ParsingStrategy::allRemainingInput)
      continue;
    do {
      std::optional<SplitElement> taken;
      if (d.parsingStrategy == ParsingStrategy::default_) {
        // The words skipped on the way to a value leave the stack too: no
        // later array swallows them, and an unknown option among them ends
        // in its own error.
        while (!stack.empty() && !stack.front().isValue()) stack.pop_front();
        if (stack.empty()) break;
        taken = stack.front();
        stack.pop_front();
      } else {
        taken = stack.front();
        stack.pop_front();
      }
      d.update.unary(InputOrigin(taken->index), std::nullopt, textOf(taken->index), values);
    } while (d.isRepeating() && !stack.empty());
  }

  if (const auto* unrecognized = repeatingPositional(set, ParsingStrategy::allUnrecognized)) {
    for (const auto& e : stack) {
      values.capturedUnrecognizedArguments.push_back(textOf(e.index));
      unrecognized->update.unary(InputOrigin(e.index), std::nullopt, textOf(e.index), values);
    }
  }
}

}  // namespace

ParsedValues lenientParse(const ArgumentSet& set, SplitArguments& all, const std::vector<CommandType>& subcommands,
                          bool defaultCapturesAll) {
  const bool capturesAll = defaultCapturesAll || hasRepeatingPositional(set, ParsingStrategy::allRemainingInput);
  ParsedValues values(all.originalInput());
  for (const auto& d : set)
    if (d.initial) d.initial(InputOrigin(), values);

  SplitArguments input = all;
  InputOrigin allUsedOrigins;
  while (auto next = input.popNext()) {
    const auto& [origin, element] = *next;
    InputOrigin usedOrigins;
    bool endLoop = false;
    switch (element.kind) {
      case SplitElement::Kind::value: {
        if (CommandType sub = subcommandNamed(subcommands, element.value)) {
          bool subCapturesAll = capturesAllRemainingInput(sub);
          if (!subCapturesAll && defaultCapturesAll) continue;
          if (subCapturesAll) endLoop = true;
        }
        if (capturesAll) endLoop = true;
        break;
      }
      case SplitElement::Kind::option: {
        const auto& parsed = element.option;
        auto position = set.position(parsed.name);
        if (!position) {
          if (capturesAll && !hasLetterElements(all, element)) endLoop = true;
          break;
        }
        const auto& argument = set[*position];
        if (argument.isNullary()) {
          if (parsed.value) throw ParserError::unexpectedValueForOption(origin, parsed.name, *parsed.value);
          argument.update.nullary(origin, parsed.name, values);
          usedOrigins.formUnion(origin);
        } else {
          if (argument.parsingStrategy == ParsingStrategy::allRemainingInput) argument.initial(origin, values);
          usedOrigins.formUnion(origin);
          for (const auto& [from, text] : takeValues(argument, parsed, element, origin, input)) {
            argument.update.unary(from, parsed.name, text, values);
            usedOrigins.formUnion(from);
          }
        }
        break;
      }
      case SplitElement::Kind::terminator:
        break;
    }
    if (endLoop) break;
    input.removeAll(usedOrigins);
    allUsedOrigins.formUnion(usedOrigins);
  }

  SplitArguments unused = all;
  unused.removeAll(allUsedOrigins);
  parsePositionalValues(set, unused, values);
  return values;
}

// --- the parser -----------------------------------------------------------------

CommandParser::CommandParser(CommandType root) : tree_(Tree::build(root)) {
  if (!tree_->children().empty()) tree_->append(std::make_unique<Tree>(typeOf<HelpCommand>()));
  currentNode_ = tree_.get();
}

CommandStack CommandParser::commandStack() const {
  CommandStack stack;
  for (const auto& d : decodedArguments_)
    if (d.type->isCommand()) stack.push_back(d.type);
  if (stack.empty() || stack.back() != currentNode_->element()) stack.push_back(currentNode_->element());
  return stack;
}

CommandStack CommandParser::commandStack(CommandType subcommand) const {
  const Tree* node = tree_->firstNode(subcommand);
  return node ? node->path() : CommandStack{tree_->element()};
}

void CommandParser::checkForBuiltInFlags(const SplitArguments& split, bool requireSoloArgument) {
  if (requireSoloArgument && split.originalInput().size() != 1) return;
  auto stack = commandStack();
  if (split.contains(helpNames(stack, ArgumentVisibility::default_))) throw HelpRequested{ArgumentVisibility::default_};
  if (split.contains(helpNames(stack, ArgumentVisibility::hidden))) throw HelpRequested{ArgumentVisibility::hidden};
  if (split.contains(Name::makeLong("experimental-dump-help")))
    throw CommandError{stack, ParserError::simple(ParserError::Case::dumpHelpRequested)};
  bool hasVersion = std::any_of(stack.begin(), stack.end(),
                                [](CommandType c) { return !c->configuration().version.empty(); });
  if (hasVersion && split.contains(Name::makeLong("version")))
    throw CommandError{stack, ParserError::simple(ParserError::Case::versionRequested)};
}

namespace {

// Whether an option of the split is one of the set's names.
bool namesAnyOf(const SplitArguments& split, const ArgumentSet& set) {
  for (std::size_t i = split.firstUnused(); i < split.elements().size(); ++i) {
    const auto& e = split.elements()[i];
    if (e.isOption() && set.position(e.option.name)) return true;
  }
  return false;
}

}  // namespace

void CommandParser::checkForCompletionScriptRequest(const SplitArguments& split) {
  if (tree_->element()->configuration().superCommandName) return;
  // Without one of their options neither request can be made; most command
  // lines are spared the two trial parses.
  if (!namesAnyOf(split, typeOf<GenerateCompletions>()->argumentSet(ArgumentVisibility::private_)) &&
      !namesAnyOf(split, typeOf<AutodetectedGenerateCompletions>()->argumentSet(ArgumentVisibility::private_)))
    return;
  std::optional<std::optional<std::string>> request;
  try {
    CommandParser parser(typeOf<GenerateCompletions>());
    SplitArguments copy = split;
    parser.parseCurrent(copy);
    auto value = std::static_pointer_cast<GenerateCompletions>(parser.decodedArguments_.back().value);
    if (value->generateCompletionScript.value()) request = value->generateCompletionScript.value();
  } catch (...) {
  }
  if (request) throw ParserError::completionScriptRequested(*request);
  bool autodetect = false;
  try {
    CommandParser parser(typeOf<AutodetectedGenerateCompletions>());
    SplitArguments copy = split;
    parser.parseCurrent(copy);
    auto value = std::static_pointer_cast<AutodetectedGenerateCompletions>(parser.decodedArguments_.back().value);
    autodetect = value->generateCompletionScript.value();
  } catch (...) {
  }
  if (autodetect) throw ParserError::completionScriptRequested(std::nullopt);
}

void CommandParser::parseCurrent(SplitArguments& split) {
  CommandType element = currentNode_->element();
  const auto& set = element->argumentSet(ArgumentVisibility::private_);
  const auto& configuration = element->configuration();
  std::vector<CommandType> subcommands;
  for (const auto& child : currentNode_->children()) subcommands.push_back(child->element());

  SplitArguments copy = split;
  auto values = lenientParse(set, copy, subcommands, capturesAllRemainingInput(configuration.defaultSubcommand));

  if (hasRepeatingPositional(set, ParsingStrategy::allUnrecognized)) {
    try {
      SplitArguments captured(values.capturedUnrecognizedArguments);
      checkForBuiltInFlags(captured);
    } catch (const ParserError&) {
      // Captured words that do not split are no request.
    }
  }

  ArgumentDecoder decoder(values, decodedArguments_);
  std::shared_ptr<ParsableArguments> value;
  try {
    value = element->decode(decoder);
  } catch (...) {
    checkForBuiltInFlags(split);
    throw;
  }
  split.removeAll(decoder.usedOrigins);
  for (std::size_t i = decodedArguments_.size(); i < decoder.previouslyDecoded.size(); ++i)
    decodedArguments_.push_back(decoder.previouslyDecoded[i]);
  decodedArguments_.push_back({element, value});
}

void CommandParser::descendingParse(SplitArguments& split) {
  while (true) {
    parseCurrent(split);
    try {
      decodedArguments_.back().value->validate();
    } catch (...) {
      auto error = std::current_exception();
      checkForBuiltInFlags(split);
      throw CommandError{commandStack(), ParserError::userValidationError(error)};
    }
    if (auto next = split.peekNext(); next && next->second.isValue()) {
      const auto& index = next->second.index;
      const auto& word = split.originalInput()[static_cast<std::size_t>(index.inputIndex.rawValue)];
      if (const Tree* child = currentNode_->child(word)) {
        split.remove(index);
        currentNode_ = child;
        continue;
      }
    }
    checkForBuiltInFlags(split, true);
    if (CommandType fallback = currentNode_->element()->configuration().defaultSubcommand) {
      const Tree* child = nullptr;
      for (const auto& c : currentNode_->children())
        if (c->element() == fallback) child = c.get();
      if (!child) throw ParserError::simple(ParserError::Case::invalidState);
      currentNode_ = child;
      continue;
    }
    return;
  }
}

std::shared_ptr<ParsableCommand> CommandParser::extractLastParsedValue(SplitArguments& split) {
  checkForBuiltInFlags(split);
  if (split.containsNonTerminatorArguments()) {
    for (std::size_t i = split.firstUnused(); i < split.elements().size(); ++i) {
      const auto& e = split.elements()[i];
      if (e.isOption()) throw ParserError::unknownOption(InputOrigin(e.index), e.option.name);
    }
    throw ParserError::unexpectedExtraValues(split.coalescedExtraElements());
  }
  for (auto it = decodedArguments_.rbegin(); it != decodedArguments_.rend(); ++it)
    if (it->type->isCommand()) return std::static_pointer_cast<ParsableCommand>(it->value);
  throw ParserError::simple(ParserError::Case::invalidState);
}

std::shared_ptr<ParsableCommand> CommandParser::parse(const std::vector<std::string>& arguments) {
  const CommandStack rootStack{tree_->element()};
  if (!arguments.empty() && arguments.front() == "---completion") {
    std::string response;
    try {
      response = customCompletionResponse(*tree_, arguments);
    } catch (const ParserError& error) {
      throw CommandError{rootStack, error};
    } catch (...) {
      throw CommandError{rootStack, ParserError::simple(ParserError::Case::invalidState)};
    }
    throw CommandError{rootStack, ParserError::completionScriptCustomResponse(response)};
  }

  std::optional<SplitArguments> split;
  try {
    split.emplace(arguments);
  } catch (const ParserError& error) {
    throw CommandError{rootStack, error};
  } catch (...) {
    throw CommandError{rootStack, ParserError::simple(ParserError::Case::invalidState)};
  }

  try {
    checkForCompletionScriptRequest(*split);
    descendingParse(*split);
    auto result = extractLastParsedValue(*split);
    if (auto help = std::dynamic_pointer_cast<HelpCommand>(result)) help->buildCommandStack(*currentNode_);
    return result;
  } catch (const CommandError&) {
    throw;
  } catch (const ParserError& error) {
    if (arguments.empty())
      throw CommandError{commandStack(), ParserError::noArguments(std::make_exception_ptr(error))};
    throw CommandError{commandStack(), error};
  } catch (const HelpRequested& request) {
    auto help = std::make_shared<HelpCommand>();
    help->commandStack = commandStack();
    help->visibility = request.visibility;
    return help;
  } catch (...) {
    throw CommandError{commandStack(), ParserError::simple(ParserError::Case::invalidState)};
  }
}

std::shared_ptr<ParsableCommand> parseAsRoot(CommandType root, const std::vector<std::string>& arguments) {
  CommandParser parser(root);
  return parser.parse(arguments);
}

}  // namespace ArgumentParser
