#pragma once
// The identity of a declared property: its name and the property names of
// the option groups around it.

#include <compare>
#include <string>
#include <vector>

namespace ArgumentParser {

struct InputKey {
  std::string name;
  std::vector<std::string> path;

  InputKey() = default;
  // A leading "_" of the name is removed.
  InputKey(std::string name, std::vector<std::string> path = {})
      : name(name.starts_with('_') ? name.substr(1) : std::move(name)), path(std::move(path)) {}

  // Path and name joined by ".".
  std::string description() const {
    std::string text;
    for (const auto& piece : path) text += piece + ".";
    return text + name;
  }

  bool operator==(const InputKey&) const = default;
  auto operator<=>(const InputKey& other) const {
    if (auto c = path <=> other.path; c != 0) return c;
    return name <=> other.name;
  }
};

}  // namespace ArgumentParser
