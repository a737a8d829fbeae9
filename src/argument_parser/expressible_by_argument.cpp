#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "argument_parser/expressible_by_argument.h"

namespace ArgumentParser {
namespace {

template <class F>
std::string describe(F value) {
  if (std::isnan(value)) return "nan";
  if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
  char buffer[64];
  auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
  std::string text(buffer, end);
  if (text.find_first_of(".e") == std::string::npos) text += ".0";
  return text;
}

}  // namespace

std::string floatingPointDescription(double value) { return describe(value); }
std::string floatingPointDescription(float value) { return describe(value); }

std::optional<double> parseDouble(const std::string& text) {
  if (text.empty() || std::isspace(static_cast<unsigned char>(text.front()))) return std::nullopt;
  errno = 0;
  char* end = nullptr;
  double value = std::strtod(text.c_str(), &end);
  if (end != text.c_str() + text.size()) return std::nullopt;
  return value;
}

std::optional<float> parseFloat(const std::string& text) {
  if (text.empty() || std::isspace(static_cast<unsigned char>(text.front()))) return std::nullopt;
  char* end = nullptr;
  float value = std::strtof(text.c_str(), &end);
  if (end != text.c_str() + text.size()) return std::nullopt;
  return value;
}

}  // namespace ArgumentParser
