#include "argument_parser/completions/completion_shell.h"


namespace ArgumentParser {

const std::vector<CompletionShell>& CompletionShell::allCases() {
  static const std::vector<CompletionShell> cases{Kind::zsh, Kind::bash, Kind::fish};
  return cases;
}

std::string CompletionShell::rawValue() const {
  switch (kind_) {
    case Kind::zsh: return "zsh";
    case Kind::bash: return "bash";
    case Kind::fish: return "fish";
  }
  return "zsh";
}

std::optional<CompletionShell> CompletionShell::fromRawValue(std::string_view rawValue) {
  for (const auto& shell : allCases()) {
    if (shell.rawValue() == rawValue) return shell;
  }
  return std::nullopt;
}

std::optional<CompletionShell> CompletionShell::autodetected(const EnvironmentReader& environment) {
  const std::optional<std::string> value = environment("SHELL");
  if (!value) return std::nullopt;
  return fromShellVariable(*value);
}

std::optional<CompletionShell> CompletionShell::fromShellVariable(
    std::optional<std::string_view> value) {
  if (!value) return std::nullopt;
  std::string_view path = *value;
  // The last piece between slashes, empty pieces dropped: "/bin/zsh/" is zsh.
  while (!path.empty() && path.back() == '/') path.remove_suffix(1);
  const auto slash = path.rfind('/');
  const std::string_view last = slash == std::string_view::npos ? path : path.substr(slash + 1);
  if (last.empty()) return std::nullopt;
  return fromRawValue(last);
}

}  // namespace ArgumentParser
