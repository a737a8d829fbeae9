#include "platform/value.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace platform {

namespace {

bool keepsInPath(unsigned char c) {
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
  switch (c) {
    case '-': case '.': case '_': case '~': case '!': case '$': case '&': case '\'':
    case '(': case ')': case '*': case '+': case ',': case ';': case '=': case ':':
    case '@': case '/':
      return true;
    default:
      return false;
  }
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The part of a URL's text after "scheme://authority": the encoded path.
std::string_view encodedPathOf(std::string_view text) {
  auto scheme = text.find("://");
  if (scheme == std::string_view::npos) return {};
  auto rest = text.substr(scheme + 3);
  auto slash = rest.find('/');
  if (slash == std::string_view::npos) return {};
  return rest.substr(slash);
}

}  // namespace

std::string percentEncodePath(std::string_view path) {
  static const char* hex = "0123456789ABCDEF";
  std::string out;
  out.reserve(path.size());
  for (unsigned char c : path) {
    if (keepsInPath(c)) {
      out.push_back(static_cast<char>(c));
    } else {
      out.push_back('%');
      out.push_back(hex[c >> 4]);
      out.push_back(hex[c & 15]);
    }
  }
  return out;
}

std::string percentDecode(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size()) {
      int hi = hexDigit(text[i + 1]);
      int lo = hexDigit(text[i + 2]);
      if (hi >= 0 && lo >= 0) {
        out.push_back(static_cast<char>(hi * 16 + lo));
        i += 2;
        continue;
      }
    }
    out.push_back(text[i]);
  }
  return out;
}

std::optional<URL> URL::fromString(std::string_view absoluteText) {
  auto colon = absoluteText.find(':');
  if (colon == std::string_view::npos || colon == 0) return std::nullopt;
  for (std::size_t i = 0; i < colon; ++i) {
    char c = absoluteText[i];
    bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
              (i > 0 && ((c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.'));
    if (!ok) return std::nullopt;
  }
  return URL(std::string(absoluteText));
}

URL URL::fileURLWithPath(std::string_view path, bool isDirectory) {
  std::string p(path);
  if (p.empty() || p.front() != '/') p.insert(p.begin(), '/');
  if (isDirectory && p.back() != '/') p.push_back('/');
  return URL("file://" + percentEncodePath(p));
}

bool URL::isFileURL() const { return text_.rfind("file:", 0) == 0; }

std::string URL::pathWithTrailingSlash() const { return percentDecode(encodedPathOf(text_)); }

std::string URL::path() const {
  std::string p = pathWithTrailingSlash();
  while (p.size() > 1 && p.back() == '/') p.pop_back();
  return p;
}

URL URL::appendingPathComponent(std::string_view component, bool isDirectory) const {
  std::string p = pathWithTrailingSlash();
  if (p.empty() || p.back() != '/') p.push_back('/');
  p.append(component);
  return fileURLWithPath(p, isDirectory);
}

std::string URL::lastPathComponent() const {
  std::string p = path();
  if (p == "/") return "/";
  auto slash = p.rfind('/');
  return slash == std::string::npos ? p : p.substr(slash + 1);
}

std::optional<UUID> UUID::fromString(std::string_view text) {
  if (text.size() != 36) return std::nullopt;
  std::array<std::uint8_t, 16> bytes{};
  std::size_t b = 0;
  for (std::size_t i = 0; i < 36;) {
    if (i == 8 || i == 13 || i == 18 || i == 23) {
      if (text[i] != '-') return std::nullopt;
      ++i;
      continue;
    }
    int hi = hexDigit(text[i]);
    int lo = hexDigit(text[i + 1]);
    if (hi < 0 || lo < 0) return std::nullopt;
    bytes[b++] = static_cast<std::uint8_t>(hi * 16 + lo);
    i += 2;
  }
  return UUID(bytes);
}

std::string UUID::uuidString() const {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(36);
  for (std::size_t i = 0; i < bytes_.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text.push_back('-');
    text.push_back(kHex[bytes_[i] >> 4]);
    text.push_back(kHex[bytes_[i] & 0x0F]);
  }
  return text;
}

namespace {

// Days from 1970-01-01 to a day of the proleptic Gregorian calendar, and back
// (the era arithmetic counts in 400-year cycles of 146097 days).
std::int64_t daysFromCivil(std::int64_t y, int m, int d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const auto yoe = static_cast<std::int64_t>(y - era * 400);
  const std::int64_t doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

void civilFromDays(std::int64_t z, Date::Civil& out) {
  z += 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const std::int64_t doe = z - era * 146097;
  const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const std::int64_t mp = (5 * doy + 2) / 153;
  out.day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  out.month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  out.year = yoe + era * 400 + (out.month <= 2);
}

constexpr std::int64_t kReferenceDay = 11323;  // 2001-01-01, in days from 1970
constexpr std::int64_t kSecondsPerDay = 86400;

std::int64_t floorDiv(std::int64_t a, std::int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

// Reads exactly `count` decimal digits at `at`.
std::optional<int> digits(std::string_view text, std::size_t at, std::size_t count) {
  if (at + count > text.size()) return std::nullopt;
  int value = 0;
  for (std::size_t i = at; i < at + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
    value = value * 10 + (text[i] - '0');
  }
  return value;
}

}  // namespace

Date Date::fromCivil(const Civil& c) {
  // Carry months into years first, then everything else through seconds.
  std::int64_t year = c.year + floorDiv(c.month - 1, 12);
  const int month = static_cast<int>(c.month - 1 - floorDiv(c.month - 1, 12) * 12) + 1;
  const std::int64_t days = daysFromCivil(year, month, 1) + (c.day - 1) - kReferenceDay;
  const std::int64_t seconds = std::int64_t{c.hour} * 3600 + std::int64_t{c.minute} * 60 + c.second;
  return Date(static_cast<double>(days) * kSecondsPerDay + static_cast<double>(seconds));
}

std::optional<Date::Civil> Date::civil() const {
  const double whole = std::floor(sinceReference_);
  if (!(std::fabs(whole) < 9.0e18)) return std::nullopt;
  const auto seconds = static_cast<std::int64_t>(whole);
  const std::int64_t days = floorDiv(seconds, kSecondsPerDay);
  const std::int64_t rest = seconds - days * kSecondsPerDay;
  Civil out;
  civilFromDays(days + kReferenceDay, out);
  out.hour = static_cast<int>(rest / 3600);
  out.minute = static_cast<int>(rest / 60 % 60);
  out.second = static_cast<int>(rest % 60);
  return out;
}

std::optional<Date> Date::fromISO8601(std::string_view text) {
  // YYYY-MM-DDTHH:MM:SS, then an optional fraction, then Z.
  auto y = digits(text, 0, 4), mo = digits(text, 5, 2), d = digits(text, 8, 2), h = digits(text, 11, 2),
       mi = digits(text, 14, 2), s = digits(text, 17, 2);
  if (!y || !mo || !d || !h || !mi || !s || text[4] != '-' || text[7] != '-' || text[10] != 'T' ||
      text[13] != ':' || text[16] != ':')
    return std::nullopt;
  if (*mo < 1 || *mo > 12 || *d < 1 || *d > 31 || *h > 23 || *mi > 59 || *s > 60) return std::nullopt;
  std::size_t at = 19;
  double fraction = 0;
  if (at < text.size() && text[at] == '.') {
    std::size_t end = at + 1;
    while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
    if (end == at + 1) return std::nullopt;
    fraction = std::strtod(std::string(text.substr(at, end - at)).c_str(), nullptr);
    at = end;
  }
  if (at + 1 != text.size() || text[at] != 'Z') return std::nullopt;
  Date whole = fromCivil(Civil{*y, *mo, *d, *h, *mi, *s});
  return Date(whole.sinceReference_ + fraction);
}

std::optional<bool> Value::boolean() const {
  if (auto b = std::get_if<bool>(&v_)) return *b;
  return std::nullopt;
}

std::optional<std::int64_t> Value::asInt64() const {
  if (auto i = std::get_if<std::int64_t>(&v_)) return *i;
  if (auto u = std::get_if<std::uint64_t>(&v_)) {
    if (*u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
      return std::nullopt;
    return static_cast<std::int64_t>(*u);
  }
  if (auto d = std::get_if<double>(&v_)) {
    if (!std::isfinite(*d) || *d >= 9.2233720368547758e18 || *d < -9.2233720368547758e18)
      return std::nullopt;
    return static_cast<std::int64_t>(*d);
  }
  return std::nullopt;
}

std::optional<std::uint64_t> Value::asUInt64() const {
  if (auto u = std::get_if<std::uint64_t>(&v_)) return *u;
  if (auto i = std::get_if<std::int64_t>(&v_)) {
    if (*i < 0) return std::nullopt;
    return static_cast<std::uint64_t>(*i);
  }
  if (auto d = std::get_if<double>(&v_)) {
    if (!std::isfinite(*d) || *d < 0 || *d >= 1.8446744073709552e19) return std::nullopt;
    return static_cast<std::uint64_t>(*d);
  }
  return std::nullopt;
}

std::optional<double> Value::asDouble() const {
  if (auto d = std::get_if<double>(&v_)) return *d;
  if (auto i = std::get_if<std::int64_t>(&v_)) return static_cast<double>(*i);
  if (auto u = std::get_if<std::uint64_t>(&v_)) return static_cast<double>(*u);
  return std::nullopt;
}

bool operator==(const Value& a, const Value& b) {
  // Numbers compare by value across kinds, as boxed numbers do.
  if (a.isNumber() && b.isNumber() && a.kind() != b.kind()) {
    if (a.kind() == Value::Kind::Real || b.kind() == Value::Kind::Real)
      return a.asDouble() == b.asDouble();
    auto ai = a.asInt64(), bi = b.asInt64();
    if (ai && bi) return *ai == *bi;
    return a.asUInt64() == b.asUInt64() && a.asUInt64().has_value();
  }
  return a.v_ == b.v_;
}

const Value* lookup(const Dictionary& dictionary, std::string_view key) {
  auto it = dictionary.find(key);
  return it == dictionary.end() ? nullptr : &it->second;
}

}  // namespace platform
