#include "platform/log.h"

namespace platform {

std::string_view logLevelName(LogLevel level) {
  switch (level) {
    case LogLevel::Default: return "default";
    case LogLevel::Debug: return "debug";
    case LogLevel::Info: return "info";
    case LogLevel::Error: return "error";
    case LogLevel::Fault: return "fault";
  }
  return "default";
}

std::string logLine(const LogEntry& entry) {
  std::string line;
  line.reserve(entry.subsystem.size() + entry.category.size() + entry.message.size() + 16);
  line += logLevelName(entry.level);
  line += ' ';
  line += entry.subsystem;
  line += ' ';
  line += entry.category;
  line += ": ";
  for (char c : entry.message) {
    if (c == '\n') {
      line += "\\n";
    } else {
      line += c;
    }
  }
  return line;
}

}  // namespace platform
