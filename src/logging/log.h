#pragma once
// Category loggers over the platform's log. A logger names a subsystem and a
// category and has one call per level; the caller builds the whole message.
// Loggers hold nothing that changes and may be used from any thread.

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/log.h"

// What the platform's log object is made from.
struct OSLog {
  std::string subsystem;
  std::string category;
};

// Sends one entry to the installed platform's log; the same as the level
// calls of a `Log` holding `osLog`. Nothing happens when the platform has no log.
void osLogWithType(const OSLog& osLog, platform::LogLevel level, std::string_view message);

class Log {
 public:
  const OSLog& osLog() const { return osLog_; }

  // One per level. `default` is a keyword, hence the trailing underscore.
  void default_(std::string_view message) const;
  void debug(std::string_view message) const;
  void info(std::string_view message) const;
  void error(std::string_view message) const;
  void fault(std::string_view message) const;

 private:
  friend class LogFactory;
  explicit Log(OSLog osLog) : osLog_(std::move(osLog)) {}
  const OSLog osLog_;
};

// Each operation gives a new logger whose subsystem is
// "com.tamarlin.Corvane." followed by the group's word.
class LogFactory {
 public:
  LogFactory() = delete;
  static std::shared_ptr<const Log> setting(std::string_view category);    // "Settings"
  static std::shared_ptr<const Log> utility(std::string_view category);    // "Utilities"
  static std::shared_ptr<const Log> volume(std::string_view category);     // "Volumes"
  static std::shared_ptr<const Log> delegate(std::string_view category);   // "Delegates"
  static std::shared_ptr<const Log> view(std::string_view category);       // "Views"
  static std::shared_ptr<const Log> vc(std::string_view category);         // "ViewControllers"
  static std::shared_ptr<const Log> helper(std::string_view category);     // "Helpers"
  static std::shared_ptr<const Log> extension(std::string_view category);  // "Extensions"

 private:
  static std::shared_ptr<const Log> make(std::string_view group, std::string_view category);
};

// The three long-lived loggers, each made once at first use and kept for the
// process (never destroyed, so work still running at exit may log).
// CVDiskManager: setting "CVDiskKnownVolumes".
const Log& knownVolumesLog();
// CVDiskVolume and its relatives: volume "CVDisk".
const Log& diskLog();
// VolumeBookmark: utility "VolumeBookmark".
const Log& volumeBookmarkLog();
