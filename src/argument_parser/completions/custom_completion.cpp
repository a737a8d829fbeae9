// The call back into the tool that a completion script makes for the values
// of an argument with `custom` completion:
//
//   tool ---completion <subcommand> ... -- <argument id> <words of the line>
//
// The subcommand names lead from the root through the command tree; the id
// is a name as written ("--file", "-f") or, for an argument without names,
// its input key ("path" or "group.path"). The words of the command line, as
// the shell has them, go to the argument's callback, and its values come
// back one per line.
#include "argument_parser/characters.h"
#include "argument_parser/completion_hooks.h"
#include "argument_parser/errors.h"
#include "argument_parser/completions/script_parts.h"

namespace ArgumentParser {

namespace {

[[noreturn]] void invalidState() { throw ParserError::simple(ParserError::Case::invalidState); }

Name nameFromWord(const std::string& word) {
  if (word.starts_with("--")) return Name::makeLong(word.substr(2));
  const std::string rest = word.substr(1);
  if (characterCount(rest) == 1) return Name::makeShort(rest);
  return Name::makeLongWithSingleDash(rest);
}

InputKey keyFromWord(const std::string& word) {
  std::vector<std::string> pieces;
  std::size_t start = 0;
  while (true) {
    const auto dot = word.find('.', start);
    pieces.push_back(word.substr(start, dot == std::string::npos ? std::string::npos : dot - start));
    if (dot == std::string::npos) break;
    start = dot + 1;
  }
  std::string name = std::move(pieces.back());
  pieces.pop_back();
  return InputKey(std::move(name), std::move(pieces));
}

}  // namespace

// Words that name no command of the tree, a missing "--" or id, an id that
// names no argument, and an argument without custom completion are each an
// invalid state of the request.
std::string customCompletionResponse(const Tree& root, const std::vector<std::string>& arguments) {
  if (arguments.empty() || arguments.front() != "---completion") invalidState();

  const Tree* node = &root;
  std::size_t i = 1;
  for (; i < arguments.size() && arguments[i] != "--"; ++i) {
    node = node->child(arguments[i]);
    if (node == nullptr) invalidState();
  }
  if (i + 1 >= arguments.size()) invalidState();  // no "--", or no id behind it
  const std::string& id = arguments[i + 1];
  const std::vector<std::string> words(arguments.begin() + static_cast<std::ptrdiff_t>(i) + 2,
                                       arguments.end());

  const ArgumentSet definitions = node->element()->argumentSet(ArgumentVisibility::private_);
  const ArgumentDefinition* argument =
      id.starts_with("-") ? definitions.first(nameFromWord(id)) : definitions.first(keyFromWord(id));
  if (argument == nullptr || argument->completion.kind != CompletionKind::Kind::custom ||
      !argument->completion.callback) {
    invalidState();
  }
  return completions::joined(argument->completion.callback(words), "\n");
}

}  // namespace ArgumentParser
