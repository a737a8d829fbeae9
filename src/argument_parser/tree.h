#pragma once
// The command tree: a node per command type, children in subcommand order.

#include <memory>
#include <vector>

#include "argument_parser/command_configuration.h"

namespace ArgumentParser {

class Tree {
 public:
  // Builds the tree below `root`. Declaration faults (a command that is its
  // own subcommand, an alias equal to the command name) stop the program.
  static std::unique_ptr<Tree> build(CommandType root);

  explicit Tree(CommandType element, Tree* parent = nullptr) : element_(element), parent_(parent) {}

  CommandType element() const { return element_; }
  const Tree* parent() const { return parent_; }
  const std::vector<std::unique_ptr<Tree>>& children() const { return children_; }
  Tree& append(std::unique_ptr<Tree> child);

  // The child whose command name or one of whose aliases is `name`.
  const Tree* child(const std::string& name) const;
  // The first node of that type, depth first from here.
  const Tree* firstNode(CommandType type) const;
  // The types from the root down to this node.
  std::vector<CommandType> path() const;

 private:
  CommandType element_;
  Tree* parent_;  // not owning
  std::vector<std::unique_ptr<Tree>> children_;
};

}  // namespace ArgumentParser
