#include "volumes/cv_snapshot.h"

#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <regex>

namespace {

const std::regex& namePattern() {
  static const std::regex pattern(CVSnapshot::kNamePattern);
  return pattern;
}

// The offset from GMT of the current time zone at this moment.
long currentZoneOffset() {
  std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  return local.tm_gmtoff;
}

double nowSince1970() {
  using namespace std::chrono;
  return duration<double>(system_clock::now().time_since_epoch()).count();
}

// The number written by `count` decimal digits at `at`; nothing when the text
// is shorter or holds anything else there.
std::optional<int> readDigits(std::string_view text, std::size_t at, std::size_t count) {
  if (at + count > text.size()) return std::nullopt;
  int value = 0;
  for (std::size_t i = at; i < at + count; ++i) {
    char c = text[i];
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

}  // namespace

std::optional<platform::Date> parseSnapshotTimestamp(std::string_view ts, long offsetSeconds) {
  // yyyy-MM-dd-HHmmss
  if (ts.size() != 17 || ts[4] != '-' || ts[7] != '-' || ts[10] != '-') return std::nullopt;
  auto year = readDigits(ts, 0, 4), month = readDigits(ts, 5, 2), day = readDigits(ts, 8, 2);
  auto hour = readDigits(ts, 11, 2), minute = readDigits(ts, 13, 2), second = readDigits(ts, 15, 2);
  if (!year || !month || !day || !hour || !minute || !second) return std::nullopt;
  using namespace std::chrono;
  year_month_day ymd{std::chrono::year(*year), std::chrono::month(static_cast<unsigned>(*month)),
                     std::chrono::day(static_cast<unsigned>(*day))};
  if (!ymd.ok() || *hour > 23 || *minute > 59 || *second > 59) return std::nullopt;
  auto daysSince1970 = sys_days(ymd).time_since_epoch().count();
  double seconds = static_cast<double>(daysSince1970) * 86400.0 + *hour * 3600.0 + *minute * 60.0 +
                   *second - static_cast<double>(offsetSeconds);
  return platform::Date::fromSecondsSince1970(seconds);
}

std::shared_ptr<CVSnapshot> CVSnapshot::make(std::string_view name) {
  std::match_results<std::string_view::const_iterator> match;
  if (!std::regex_search(name.begin(), name.end(), match, namePattern())) return nullptr;
  std::string ts = match[1].matched ? match[1].str() : match[0].str();
  return std::shared_ptr<CVSnapshot>(new CVSnapshot(std::string(name), std::move(ts)));
}

std::shared_ptr<CVSnapshot> CVSnapshot::makeNow() { return make("Now"); }

std::optional<platform::Date> CVSnapshot::date() const {
  std::lock_guard lock(mutex_);
  if (!dateComputed_) {
    date_ = ts_ == "Now" ? std::optional(platform::Date::fromSecondsSince1970(nowSince1970()))
                         : parseSnapshotTimestamp(ts_, currentZoneOffset());
    dateComputed_ = true;
  }
  return date_;
}

std::string snapshotDateText(const platform::Date& date, long offsetSeconds) {
  static constexpr const char* kWeekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                              "Thursday", "Friday", "Saturday"};
  static constexpr const char* kMonths[] = {"January", "February", "March",     "April",
                                            "May",     "June",     "July",      "August",
                                            "September", "October", "November", "December"};
  using namespace std::chrono;
  const auto local = static_cast<std::int64_t>(std::floor(date.secondsSince1970())) + offsetSeconds;
  const auto days = static_cast<std::int64_t>(std::floor(static_cast<double>(local) / 86400.0));
  const std::int64_t secondsOfDay = local - days * 86400;
  const year_month_day ymd{sys_days{std::chrono::days{days}}};
  const weekday wd{sys_days{std::chrono::days{days}}};
  const int hour = static_cast<int>(secondsOfDay / 3600);
  const int minute = static_cast<int>(secondsOfDay / 60 % 60);
  const int second = static_cast<int>(secondsOfDay % 60);
  char time[32];
  std::snprintf(time, sizeof time, "%d:%02d:%02d %s", hour % 12 == 0 ? 12 : hour % 12, minute, second,
                hour < 12 ? "AM" : "PM");
  return std::string(kWeekdays[wd.c_encoding()]) + ", " +
         kMonths[static_cast<unsigned>(ymd.month()) - 1] + " " +
         std::to_string(static_cast<unsigned>(ymd.day())) + ", " +
         std::to_string(static_cast<int>(ymd.year())) + " at " + time;
}

std::string CVSnapshot::description() const {
  if (ts() == "Now") return "Now";
  auto moment = date();
  if (!moment) return "";
  return snapshotDateText(*moment, currentZoneOffset());
}

bool operator<(const CVSnapshot& a, const CVSnapshot& b) {
  auto left = a.date();
  auto right = b.date();
  if (!right) return false;
  if (!left) return true;
  return *left < *right;
}
