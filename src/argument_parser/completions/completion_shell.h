#pragma once
// The shells for which the framework writes completion scripts.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "argument_parser/environment.h"

namespace ArgumentParser {

class CompletionShell {
 public:
  enum class Kind { zsh, bash, fish };

  constexpr CompletionShell(Kind kind) : kind_(kind) {}

  static CompletionShell zsh() { return Kind::zsh; }
  static CompletionShell bash() { return Kind::bash; }
  static CompletionShell fish() { return Kind::fish; }

  // zsh, bash, fish: the order in which the shells are listed to the user.
  static const std::vector<CompletionShell>& allCases();
  // Exactly "zsh", "bash" or "fish"; anything else is no shell.
  static std::optional<CompletionShell> fromRawValue(std::string_view rawValue);
  // The shell named by the last non-empty piece of the path in the
  // environment variable SHELL ("/usr/local/bin/fish" is fish). An unset or
  // empty SHELL, or another shell, is no shell.
  static std::optional<CompletionShell> autodetected(
      const EnvironmentReader& environment = processEnvironment);
  // The same rule for a given value of SHELL (absent: unset).
  static std::optional<CompletionShell> fromShellVariable(std::optional<std::string_view> value);

  Kind kind() const { return kind_; }
  std::string rawValue() const;

  bool operator==(const CompletionShell&) const = default;

 private:
  Kind kind_;
};

}  // namespace ArgumentParser
