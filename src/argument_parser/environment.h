#pragma once
// The process environment as the framework reads it (COLUMNS, LINES, SHELL).

#include <functional>
#include <optional>
#include <string>

namespace ArgumentParser {

using EnvironmentReader = std::function<std::optional<std::string>(const std::string& name)>;
// getenv.
std::optional<std::string> processEnvironment(const std::string& name);

}  // namespace ArgumentParser
