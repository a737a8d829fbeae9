#pragma once
// A log sink that keeps every entry in memory, in the order written.

#include <mutex>
#include <vector>

#include "platform/log.h"

namespace testsupport {

class CapturingLogSink final : public platform::LogSink {
 public:
  void write(const platform::LogEntry& entry) override {
    std::lock_guard lock(mutex_);
    entries_.push_back(entry);
  }
  std::vector<platform::LogEntry> entries() const {
    std::lock_guard lock(mutex_);
    return entries_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<platform::LogEntry> entries_;
};

}  // namespace testsupport
