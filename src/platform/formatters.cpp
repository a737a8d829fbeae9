#include "platform/formatters.h"

#include <charconv>
#include <cmath>
#include <ctime>
#include <limits>

namespace platform {

namespace {

bool isPlainText(std::string_view text) {
  if (text.empty()) return false;
  for (unsigned char c : text) {
    bool alnum = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!alnum) return false;
  }
  return true;
}

void appendEscaped(std::string& out, std::string_view text) {
  for (char c : text) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      default: out.push_back(c);
    }
  }
}

std::string blanks(int n) { return std::string(static_cast<std::size_t>(n < 0 ? 0 : n), ' '); }

std::string bytesDescription(const Bytes& data) {
  static const char* hex = "0123456789abcdef";
  std::string out = "{length = " + std::to_string(data.size()) + ", bytes = 0x";
  for (std::uint8_t b : data.bytes()) {
    out.push_back(hex[b >> 4]);
    out.push_back(hex[b & 15]);
  }
  out += "}";
  return out;
}

}  // namespace

std::string foundationQuoted(std::string_view text) {
  if (isPlainText(text)) return std::string(text);
  std::string out = "\"";
  appendEscaped(out, text);
  out += "\"";
  return out;
}

std::string foundationDescription(const Array& array, int indent) {
  std::string out = "(\n";
  for (std::size_t i = 0; i < array.size(); ++i) {
    out += blanks(indent + 4);
    out += foundationDescription(array[i], indent + 4);
    if (i + 1 < array.size()) out += ",";
    out += "\n";
  }
  out += blanks(indent) + ")";
  return out;
}

std::string foundationDescription(const Dictionary& dictionary, int indent) {
  std::string out = "{\n";
  for (const auto& [key, value] : dictionary) {
    out += blanks(indent + 4);
    out += foundationQuoted(key);
    out += " = ";
    out += foundationDescription(value, indent + 4);
    out += ";\n";
  }
  out += blanks(indent) + "}";
  return out;
}

std::string foundationDescription(const Value& value, int indent) {
  switch (value.kind()) {
    case Value::Kind::String: return foundationQuoted(*value.string());
    case Value::Kind::Boolean: return *value.boolean() ? "1" : "0";
    case Value::Kind::Integer: return std::to_string(*value.asInt64());
    case Value::Kind::Unsigned: return std::to_string(*value.asUInt64());
    case Value::Kind::Real: return shortestRealDescription(*value.asDouble());
    case Value::Kind::Url: return foundationQuoted(urlDescription(*value.url()));
    case Value::Kind::Uuid: return foundationQuoted(value.uuid()->uuidString());
    case Value::Kind::Data: return bytesDescription(*value.data());
    case Value::Kind::DateTime: return foundationQuoted(dateDescription(*value.date()));
    case Value::Kind::List: return foundationDescription(*value.array(), indent);
    case Value::Kind::Map: return foundationDescription(*value.dictionary(), indent);
    case Value::Kind::Uid: return "{value = " + std::to_string(value.uid()->value) + "}";
  }
  return {};
}

std::string absentDictionaryDescription() {
  return foundationDescription(Dictionary{{"", Value("")}});
}

std::string swiftArrayDescription(const std::vector<std::string>& strings) {
  std::string out = "[";
  for (std::size_t i = 0; i < strings.size(); ++i) {
    if (i > 0) out += ", ";
    out += "\"";
    appendEscaped(out, strings[i]);
    out += "\"";
  }
  out += "]";
  return out;
}

std::string swiftDataDescription(const Bytes& data) { return std::to_string(data.size()) + " bytes"; }

std::string urlDescription(const URL& url) { return url.absoluteString(); }

std::string urlRelativePath(const URL& url) { return url.path(); }

std::string dateDescription(const Date& date) {
  double seconds = std::floor(date.secondsSince1970());
  // Beyond what the calendar functions take, the date has no text of its own;
  // clamp so that every date still prints as a date.
  constexpr double kLimit = 253402300799.0;  // 9999-12-31 23:59:59
  if (!(seconds >= -kLimit)) seconds = -kLimit;
  if (seconds > kLimit) seconds = kLimit;
  std::time_t t = static_cast<std::time_t>(seconds);
  std::tm tm{};
  gmtime_r(&t, &tm);
  char buf[64];
  std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d +0000", tm.tm_year + 1900,
                tm.tm_mon + 1, tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
  return buf;
}

std::string localeNumberDescription(std::int64_t number) { return std::to_string(number); }
std::string localeNumberDescription(std::uint64_t number) { return std::to_string(number); }
std::string localeNumberDescription(double number) { return shortestRealDescription(number); }

std::string shortestRealDescription(double number) {
  char buf[64];
  auto [end, ec] = std::to_chars(buf, buf + sizeof buf, number);
  if (ec != std::errc()) return std::to_string(number);
  return std::string(buf, end);
}

std::string byteCountFileStyle(std::int64_t byteCount) {
  if (byteCount == 0) return "Zero KB";
  const bool negative = byteCount < 0;
  // The magnitude, also for the smallest signed value.
  const std::uint64_t n =
      negative ? std::uint64_t{0} - static_cast<std::uint64_t>(byteCount) : static_cast<std::uint64_t>(byteCount);
  const std::string sign = negative ? "-" : "";
  if (n == 1) return sign + "1 byte";
  if (n < 1000) return sign + std::to_string(n) + " bytes";

  static const char* const units[] = {"KB", "MB", "GB", "TB", "PB", "EB"};
  static const int fractionDigits[] = {0, 1, 2, 2, 2, 2};
  int unit = 0;
  std::uint64_t scale = 1000;  // bytes in one unit
  while (unit < 5 && n / scale >= 1000) {
    scale *= 1000;
    ++unit;
  }
  for (;;) {
    std::uint64_t step = scale;  // bytes in one step of the last fraction digit
    std::uint64_t steps = 1;     // steps in one unit
    for (int i = 0; i < fractionDigits[unit]; ++i) {
      step /= 10;
      steps *= 10;
    }
    std::uint64_t q = n / step;
    std::uint64_t r = n % step;
    if (r >= step - r) ++q;  // half away from zero
    if (q >= 1000 * steps && unit < 5) {
      scale *= 1000;
      ++unit;
      continue;
    }
    std::string text = std::to_string(q / steps);
    std::uint64_t fraction = q % steps;
    int digits = fractionDigits[unit];
    while (digits > 0 && fraction % 10 == 0) {
      fraction /= 10;
      --digits;
    }
    if (digits > 0) {
      std::string f = std::to_string(fraction);
      text += "." + std::string(static_cast<std::size_t>(digits) - f.size(), '0') + f;
    }
    return sign + text + " " + units[unit];
  }
}

}  // namespace platform
