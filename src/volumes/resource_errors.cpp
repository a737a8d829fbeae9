#include "volumes/resource_errors.h"

#include <mutex>

namespace {

std::mutex& streamMutex() {
  static std::mutex mutex;
  return mutex;
}

std::ostream*& currentStream() {
  static std::ostream* stream = nullptr;
  return stream;
}

}  // namespace

ResourceErrorReport::ResourceErrorReport(std::ostream& out) {
  std::lock_guard lock(streamMutex());
  previous_ = currentStream();
  currentStream() = &out;
}

ResourceErrorReport::~ResourceErrorReport() {
  std::lock_guard lock(streamMutex());
  currentStream() = previous_;
}

void reportResourceError(std::string_view localizedDescription) {
  std::lock_guard lock(streamMutex());
  if (auto* out = currentStream()) *out << localizedDescription << '\n';
}
