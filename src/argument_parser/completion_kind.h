#pragma once
// How a shell completes the value of an argument.

#include <functional>
#include <string>
#include <vector>

namespace ArgumentParser {

struct CompletionKind {
  enum class Kind { list, file, shellCommand, custom, default_, directory };
  using Callback = std::function<std::vector<std::string>(const std::vector<std::string>&)>;

  Kind kind = Kind::default_;
  std::vector<std::string> values;  // the words of `list`, the extensions of `file`
  std::string command;              // `shellCommand`
  Callback callback;                // `custom`

  static CompletionKind list(std::vector<std::string> words) { return {Kind::list, std::move(words), {}, {}}; }
  static CompletionKind file(std::vector<std::string> extensions = {}) {
    return {Kind::file, std::move(extensions), {}, {}};
  }
  static CompletionKind shellCommand(std::string command) { return {Kind::shellCommand, {}, std::move(command), {}}; }
  static CompletionKind custom(Callback callback) { return {Kind::custom, {}, {}, std::move(callback)}; }
  static CompletionKind default_() { return {}; }
  static CompletionKind directory() { return {Kind::directory, {}, {}, {}}; }
};

}  // namespace ArgumentParser
