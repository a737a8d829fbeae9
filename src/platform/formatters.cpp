#include "platform/formatters.h"

#include <charconv>
#include <cmath>
#include <cstdio>
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

struct CivilDate {
  std::int64_t year;
  unsigned month;  // 1 to 12
  unsigned day;    // 1 to 31
};

// The proleptic Gregorian date of a count of days from 1970-01-01, by whole
// 400-year eras (146097 days each) so that any year comes out right, leap
// years of the centuries included.
CivilDate civilFromDays(std::int64_t days) {
  days += 719468;  // from 0000-03-01, so that a leap day ends its year
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const auto dayOfEra = static_cast<std::uint64_t>(days - era * 146097);
  const std::uint64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::uint64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::uint64_t shiftedMonth = (5 * dayOfYear + 2) / 153;  // March is 0
  const auto day = static_cast<unsigned>(dayOfYear - (153 * shiftedMonth + 2) / 5 + 1);
  const auto month = static_cast<unsigned>(shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9);
  const std::int64_t year = static_cast<std::int64_t>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0);
  return {year, month, day};
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
    case Value::Kind::Real: return realDescription(*value.asDouble());
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
  static const char* hex = "0123456789ABCDEF";
  std::string out = "[";
  for (std::size_t i = 0; i < strings.size(); ++i) {
    if (i > 0) out += ", ";
    out += "\"";
    // Only ASCII needs escaping, so the walk can go byte by byte: the bytes
    // of a longer UTF-8 sequence are all above 0x7F and stay as they are.
    for (char c : strings[i]) {
      const auto byte = static_cast<unsigned char>(c);
      switch (c) {
        case '\\': out += "\\\\"; break;
        case '"': out += "\\\""; break;
        case '\'': out += "\\'"; break;
        case '\0': out += "\\0"; break;
        case '\t': out += "\\t"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        default:
          if (byte < 0x20 || byte == 0x7F) {
            out += "\\u{";
            out.push_back(hex[byte >> 4]);
            out.push_back(hex[byte & 15]);
            out += "}";
          } else {
            out.push_back(c);
          }
      }
    }
    out += "\"";
  }
  out += "]";
  return out;
}

std::string swiftDataDescription(const Bytes& data) { return std::to_string(data.size()) + " bytes"; }

std::string urlDescription(const URL& url) { return url.absoluteString(); }

std::string urlRelativePath(const URL& url) { return url.path(); }

std::string dateDescription(const Date& date) {
  // Whole seconds, cut toward the past, kept inside what a 64-bit count of
  // seconds holds (about 292 billion years either way).
  constexpr double kLimit = 9.2e18;
  double floored = std::floor(date.secondsSince1970());
  if (!(floored >= -kLimit)) floored = -kLimit;
  if (floored > kLimit) floored = kLimit;
  const auto seconds = static_cast<std::int64_t>(floored);
  std::int64_t days = seconds / 86400;
  std::int64_t secondOfDay = seconds % 86400;
  if (secondOfDay < 0) {
    secondOfDay += 86400;
    --days;
  }
  const CivilDate civil = civilFromDays(days);
  // The year has at least four digits; years before 1 (0 is 1 BC) carry a minus sign.
  char year[32];
  std::snprintf(year, sizeof year, "%s%04lld", civil.year < 0 ? "-" : "",
                static_cast<long long>(civil.year < 0 ? -civil.year : civil.year));
  char rest[48];
  std::snprintf(rest, sizeof rest, "-%02u-%02u %02d:%02d:%02d +0000", civil.month, civil.day,
                static_cast<int>(secondOfDay / 3600), static_cast<int>(secondOfDay / 60 % 60),
                static_cast<int>(secondOfDay % 60));
  return std::string(year) + rest;
}

std::string localeNumberDescription(std::int64_t number) { return std::to_string(number); }
std::string localeNumberDescription(std::uint64_t number) { return std::to_string(number); }

std::string realDescription(double number) {
  if (std::isnan(number)) return "nan";
  char text[40];
  for (int precision = 1; precision <= 17; ++precision) {
    std::snprintf(text, sizeof text, "%.*g", precision, number);
    double back = 0;
    const char* end = text + std::char_traits<char>::length(text);
    auto [at, error] = std::from_chars(text, end, back);
    if (error == std::errc() && at == end && back == number) break;
  }
  return text;
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
