#pragma once
// The unified log: entries with a subsystem, a category and a level.
//
// Entries never reach standard output or standard error. A sink may be used
// from any thread; entries from several threads are each written whole.

#include <string>
#include <string_view>

#include "platform/value.h"

namespace platform {

enum class LogLevel { Default, Debug, Info, Error, Fault };

// "default", "debug", "info", "error" or "fault".
std::string_view logLevelName(LogLevel level);

struct LogEntry {
  std::string subsystem;
  std::string category;
  LogLevel level = LogLevel::Default;
  std::string message;

  friend bool operator==(const LogEntry&, const LogEntry&) = default;
};

class LogSink {
 public:
  virtual ~LogSink() = default;
  // Records one entry. Never fails in a way the caller sees: an entry that
  // cannot be stored is dropped.
  virtual void write(const LogEntry& entry) = 0;
};

// The line a machine's log file holds for an entry, without its line feed:
// "<level> <subsystem> <category>: <message>", every line feed of the message
// written as the two characters "\n".
std::string logLine(const LogEntry& entry);

}  // namespace platform
