#include <cstdlib>

#include "argument_parser/environment.h"

namespace ArgumentParser {

std::optional<std::string> processEnvironment(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  if (!value) return std::nullopt;
  return std::string(value);
}

}  // namespace ArgumentParser
