// The log of a machine folder: one line per entry in /var/log/cvdiag.log of
// the machine. On the host, the system log.
#include <fcntl.h>
#include <sys/file.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <mutex>

#include "platform/log.h"
#include "platform/machine/factories.h"

namespace platform::machine {

namespace {

// Each entry opens the file for appending, takes an exclusive lock on it and
// writes its whole line, so lines from threads and processes never
// interleave, and a file that someone removes or rotates is made anew.
class FileLogSink final : public LogSink {
 public:
  explicit FileLogSink(std::filesystem::path file) : file_(std::move(file)) {}

  void write(const LogEntry& entry) override {
    std::string line = logLine(entry);
    line += '\n';
    int fd = ::open(file_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0 && errno == ENOENT) {
      std::error_code ignored;
      std::filesystem::create_directories(file_.parent_path(), ignored);
      fd = ::open(file_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644);
    }
    if (fd < 0) return;
    while (::flock(fd, LOCK_EX) != 0 && errno == EINTR) {
    }
    const char* p = line.data();
    std::size_t left = line.size();
    while (left > 0) {
      ssize_t n = ::write(fd, p, left);
      if (n < 0 && errno == EINTR) continue;
      if (n <= 0) break;
      p += n;
      left -= static_cast<std::size_t>(n);
    }
    ::close(fd);  // releases the lock
  }

 private:
  std::filesystem::path file_;
};

int syslogPriority(LogLevel level) {
  switch (level) {
    case LogLevel::Default: return LOG_NOTICE;
    case LogLevel::Debug: return LOG_DEBUG;
    case LogLevel::Info: return LOG_INFO;
    case LogLevel::Error: return LOG_ERR;
    case LogLevel::Fault: return LOG_CRIT;
  }
  return LOG_NOTICE;
}

// The system log. Without LOG_CONS or LOG_PERROR nothing reaches the
// terminal, also when no log daemon listens.
class SystemLogSink final : public LogSink {
 public:
  void write(const LogEntry& entry) override {
    static std::once_flag opened;
    std::call_once(opened, [] { ::openlog("CVDiag", LOG_PID, LOG_USER); });
    std::string text = logLine(entry);
    // The level is told by the priority; the line keeps subsystem and category.
    text.erase(0, logLevelName(entry.level).size() + 1);
    ::syslog(syslogPriority(entry.level), "%s", text.c_str());
  }
};

}  // namespace

std::shared_ptr<LogSink> makeMachineLog(MachineRef machine) {
  if (machine->isHost) return std::make_shared<SystemLogSink>();
  return std::make_shared<FileLogSink>(machine->hostPath("/var/log/cvdiag.log"));
}

}  // namespace platform::machine
