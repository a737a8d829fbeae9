#pragma once
// One local Time Machine snapshot, known by its name
// ("com.apple.TimeMachine.2023-05-01-101530.local") or the moment "Now".
// Objects are shared; equality is identity, order is by date.

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "platform/value.h"

class CVSnapshot {
 public:
  // A snapshot from its name; nothing when the name does not fit the pattern
  // of snapshot names (a heading or an empty line of tmutil's output).
  static std::shared_ptr<CVSnapshot> make(std::string_view name);
  // The snapshot "Now".
  static std::shared_ptr<CVSnapshot> makeNow();

  // The whole snapshot name.
  const std::string& id() const { return id_; }
  // The time stamp text ("2023-05-01-101530"), or "Now".
  const std::string& ts() const { return ts_; }

  // The moment of the snapshot, read on first use in the zone offset that
  // the current time zone has at that moment; "Now" keeps the moment of its
  // first read. Nothing for a stamp that is no real date (month 13).
  std::optional<platform::Date> date() const;

  // "Now", or the date in the full date style and the medium time style.
  std::string description() const;

  // Earlier dates first; a snapshot without a date sorts before all others.
  friend bool operator<(const CVSnapshot& a, const CVSnapshot& b);

  // The name pattern, exposed for tests of the matching rules.
  static constexpr const char* kNamePattern =
      R"(^com\.apple\.TimeMachine\.(\d{4}-\d{2}-\d{2}-\d{6})(\.local)?$|(^Now$))";

 private:
  CVSnapshot(std::string id, std::string ts) : id_(std::move(id)), ts_(std::move(ts)) {}

  const std::string id_;
  const std::string ts_;
  // Guards the date, worked out at its first read.
  mutable std::mutex mutex_;
  mutable bool dateComputed_ = false;
  mutable std::optional<platform::Date> date_;
};

// A moment in the full date style and the medium time style of the tool's
// locale, in a zone `offsetSeconds` east of GMT:
// "Monday, May 1, 2023 at 10:15:30 AM".
std::string snapshotDateText(const platform::Date& date, long offsetSeconds);

// Parses "yyyy-MM-dd-HHmmss" as a moment in a zone `offsetSeconds` east of
// GMT; nothing for text of another shape or a field out of range.
std::optional<platform::Date> parseSnapshotTimestamp(std::string_view ts, long offsetSeconds);
