#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "argument_parser/parsable_command.h"
#include "argument_parser/tree.h"

namespace ArgumentParser {

CommandTypeInfo::CommandTypeInfo(std::string typeName, bool isCommand, std::string errorLabel, Functions functions)
    : typeName_(std::move(typeName)),
      isCommand_(isCommand),
      errorLabel_(std::move(errorLabel)),
      functions_(std::move(functions)) {}

const CommandConfiguration& CommandTypeInfo::configuration() const {
  std::call_once(configurationMade_, [this] { configuration_ = functions_.configuration(); });
  return *configuration_;
}

const ArgumentSet& CommandTypeInfo::argumentSet(ArgumentVisibility visibility) const {
  const auto at = static_cast<std::size_t>(visibility);
  std::call_once(argumentSetMade_.at(at), [this, visibility, at] { argumentSets_[at] = functions_.argumentSet(visibility, {}); });
  return *argumentSets_[at];
}

std::string CommandTypeInfo::bareName() const {
  auto at = typeName_.rfind("::");
  return at == std::string::npos ? typeName_ : typeName_.substr(at + 2);
}

std::string CommandTypeInfo::commandName() const {
  const auto& configured = configuration().commandName;
  if (configured) return *configured;
  return convertedToSnakeCase(bareName());
}

std::string demangledTypeName(const char* mangled) {
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> demangled(abi::__cxa_demangle(mangled, nullptr, nullptr, &status),
                                                   std::free);
  return status == 0 && demangled ? std::string(demangled.get()) : std::string(mangled);
}

ArgumentSet filtered(const ArgumentSet& set, ArgumentVisibility visibility) {
  ArgumentSet result;
  for (const auto& d : set)
    if (d.help.visibility <= visibility) result.append(d);
  return result;
}

Tree& Tree::append(std::unique_ptr<Tree> child) {
  child->parent_ = this;
  children_.push_back(std::move(child));
  return *children_.back();
}

namespace {

struct TreeFault {
  enum class Kind { recursiveSubcommand, aliasMatchingCommand } kind;
  CommandType type;
};

void buildChildren(Tree& node) {
  for (CommandType sub : node.element()->configuration().subcommands()) {
    if (sub == node.element()) throw TreeFault{TreeFault::Kind::recursiveSubcommand, sub};
    const auto& aliases = sub->configuration().aliases;
    if (std::find(aliases.begin(), aliases.end(), sub->commandName()) != aliases.end())
      throw TreeFault{TreeFault::Kind::aliasMatchingCommand, sub};
    auto& child = node.append(std::make_unique<Tree>(sub));
    buildChildren(child);
  }
}

}  // namespace

std::unique_ptr<Tree> Tree::build(CommandType root) {
  auto tree = std::make_unique<Tree>(root);
  try {
    buildChildren(*tree);
  } catch (const TreeFault& fault) {
    if (fault.kind == TreeFault::Kind::recursiveSubcommand)
      fatalError("The ParsableCommand \"" + fault.type->typeName() + "\" can't have itself as its own subcommand.");
    fatalError("The ParsableCommand \"" + fault.type->typeName() +
               "\" can't have an alias with the same name as the command itself.");
  } catch (const std::exception& error) {
    fatalError(std::string("Unexpected error: ") + error.what() + ".");
  }
  return tree;
}

const Tree* Tree::child(const std::string& name) const {
  for (const auto& c : children_) {
    if (c->element()->commandName() == name) return c.get();
    const auto& aliases = c->element()->configuration().aliases;
    if (std::find(aliases.begin(), aliases.end(), name) != aliases.end()) return c.get();
  }
  return nullptr;
}

const Tree* Tree::firstNode(CommandType type) const {
  if (element_ == type) return this;
  for (const auto& c : children_)
    if (auto* found = c->firstNode(type)) return found;
  return nullptr;
}

std::vector<CommandType> Tree::path() const {
  std::vector<CommandType> result;
  for (const Tree* node = this; node; node = node->parent_) result.insert(result.begin(), node->element_);
  return result;
}

}  // namespace ArgumentParser
