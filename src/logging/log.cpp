#include "logging/log.h"

#include "platform/platform.h"

void osLogWithType(const OSLog& osLog, platform::LogLevel level, std::string_view message) {
  const auto& sink = platform::current().log;
  if (!sink) return;
  sink->write(platform::LogEntry{osLog.subsystem, osLog.category, level, std::string(message)});
}

void Log::default_(std::string_view message) const {
  osLogWithType(osLog_, platform::LogLevel::Default, message);
}
void Log::debug(std::string_view message) const {
  osLogWithType(osLog_, platform::LogLevel::Debug, message);
}
void Log::info(std::string_view message) const {
  osLogWithType(osLog_, platform::LogLevel::Info, message);
}
void Log::error(std::string_view message) const {
  osLogWithType(osLog_, platform::LogLevel::Error, message);
}
void Log::fault(std::string_view message) const {
  osLogWithType(osLog_, platform::LogLevel::Fault, message);
}

std::shared_ptr<const Log> LogFactory::make(std::string_view group, std::string_view category) {
  std::string subsystem = "com.tamarlin.Corvane.";
  subsystem += group;
  return std::shared_ptr<const Log>(new Log(OSLog{std::move(subsystem), std::string(category)}));
}

std::shared_ptr<const Log> LogFactory::setting(std::string_view c) { return make("Settings", c); }
std::shared_ptr<const Log> LogFactory::utility(std::string_view c) { return make("Utilities", c); }
std::shared_ptr<const Log> LogFactory::volume(std::string_view c) { return make("Volumes", c); }
std::shared_ptr<const Log> LogFactory::delegate(std::string_view c) { return make("Delegates", c); }
std::shared_ptr<const Log> LogFactory::view(std::string_view c) { return make("Views", c); }
std::shared_ptr<const Log> LogFactory::vc(std::string_view c) { return make("ViewControllers", c); }
std::shared_ptr<const Log> LogFactory::helper(std::string_view c) { return make("Helpers", c); }
std::shared_ptr<const Log> LogFactory::extension(std::string_view c) { return make("Extensions", c); }

// Function-local statics: the language makes their first use once-only.
const Log& knownVolumesLog() {
  static const auto* log = new std::shared_ptr<const Log>(LogFactory::setting("CVDiskKnownVolumes"));
  return **log;
}
const Log& diskLog() {
  static const auto* log = new std::shared_ptr<const Log>(LogFactory::volume("CVDisk"));
  return **log;
}
const Log& volumeBookmarkLog() {
  static const auto* log = new std::shared_ptr<const Log>(LogFactory::utility("VolumeBookmark"));
  return **log;
}
