#include "tools/task_shell.h"

#include <utf8proc.h>

#include <atomic>
#include <mutex>

#include "logging/log.h"
#include "platform/dispatch.h"
#include "platform/formatters.h"
#include "platform/platform.h"

namespace {

bool isNewline(utf8proc_int32_t c) {
  return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

// The bytes of one run. The readability handler appends on a thread of the
// platform while the caller may be waiting; the caller reads only after the
// end of the output was seen, and the lock keeps the two apart even when a
// run is abandoned and its handler goes on appending.
class OutputBuffer {
 public:
  void append(const platform::Bytes& data) {
    std::lock_guard lock(mutex_);
    bytes_.append(data.asStringView());
  }
  std::string contents() const {
    std::lock_guard lock(mutex_);
    return bytes_;
  }

 private:
  mutable std::mutex mutex_;
  std::string bytes_;
};

// Calls `done` once both the child's end and the end of its output have been
// seen, in whichever order they come.
class Arrivals {
 public:
  explicit Arrivals(std::function<void()> done) : done_(std::move(done)) {}
  void arrive() {
    if (remaining_.fetch_sub(1, std::memory_order_acq_rel) == 1) done_();
  }

 private:
  std::atomic<int> remaining_{2};
  std::function<void()> done_;
};

// Appends what can be read; at the end of the stream the handler removes
// itself and tells `ended`. The termination handler does not drain the pipe,
// so the output counts as complete only here: when every writer has closed
// it, the last bytes the child wrote before exiting have been read.
std::function<void(platform::FileHandle&)> appendingHandler(std::shared_ptr<OutputBuffer> output,
                                                            std::function<void()> ended) {
  return [output = std::move(output), ended = std::move(ended)](platform::FileHandle& handle) {
    platform::Bytes data = handle.availableData();
    if (data.size() == 0) {
      handle.setReadabilityHandler({});
      ended();
      return;
    }
    output->append(data);
  };
}

// An array of text as the platform's collection description shows it.
std::string arrayDescription(const std::vector<std::string>& items) {
  platform::Array array;
  array.reserve(items.size());
  for (const auto& item : items) array.emplace_back(item);
  return platform::foundationDescription(array);
}

}  // namespace

TaskLines decodeOutputLines(std::string_view bytes) {
  std::vector<std::string> lines;
  const auto* p = reinterpret_cast<const utf8proc_uint8_t*>(bytes.data());
  utf8proc_ssize_t left = static_cast<utf8proc_ssize_t>(bytes.size());
  std::size_t lineStart = 0;
  std::size_t at = 0;
  while (left > 0) {
    utf8proc_int32_t c = p[at];
    utf8proc_ssize_t n = 1;
    if (c >= 0x80) {
      n = utf8proc_iterate(p + at, left, &c);
      if (n <= 0) return std::nullopt;
    }
    if (isNewline(c)) {
      lines.emplace_back(bytes.substr(lineStart, at - lineStart));
      lineStart = at + static_cast<std::size_t>(n);
    }
    at += static_cast<std::size_t>(n);
    left -= n;
  }
  lines.emplace_back(bytes.substr(lineStart));
  return lines;
}

std::shared_ptr<platform::Task> runCommand(const std::string& launchPath,
                                           const std::vector<std::string>& arguments,
                                           const TaskCompletion& completion) {
  const auto& tasks = platform::current().tasks;
  auto task = tasks->makeTask();
  auto pipe = tasks->makePipe();
  auto output = std::make_shared<OutputBuffer>();
  platform::DispatchGroup group;

  task->setLaunchPath(launchPath);
  task->setArguments(arguments);
  TaskLines lines;
  if (pipe) {
    task->setStandardOutput(pipe);
    task->setStandardError(pipe);
    // The group is left twice: at the end of the output and when the child ends.
    group.enter();
    group.enter();
    pipe->fileHandleForReading()->setReadabilityHandler(
        appendingHandler(output, [group] { group.leave(); }));
    task->setTerminationHandler([group](platform::Task&) { group.leave(); });
    if (task->launch()) {
      group.wait();
      lines = decodeOutputLines(output->contents());
    } else {
      // Nothing ran and the group is given up; the handler may go at once.
      pipe->fileHandleForReading()->setReadabilityHandler({});
    }
  }
  if (completion) completion(*task, lines);
  return task;
}

std::shared_ptr<platform::Task> NSTask::shellWithLaunchPath(const std::string& launchPath,
                                                            const std::vector<std::string>& arguments,
                                                            const TaskCompletion& completion) {
  return runCommand(launchPath, arguments, completion);
}

TaskLines NSTask::shellWithLaunchPath(const std::string& launchPath,
                                      const std::vector<std::string>& arguments) {
  TaskLines stored;
  platform::DispatchSemaphore done(0);
  runCommand(launchPath, arguments, [&](platform::Task&, const TaskLines& lines) {
    stored = lines;
    done.signal();
  });
  done.wait();
  return stored;
}

TaskLines runTmutil(const std::vector<std::string>& arguments, double timeoutSeconds) {
  const auto& tasks = platform::current().tasks;
  auto task = tasks->makeTask();
  auto pipe = tasks->makePipe();
  if (!pipe) return std::nullopt;
  auto output = std::make_shared<OutputBuffer>();
  platform::DispatchSemaphore finished(0);
  auto arrivals = std::make_shared<Arrivals>([finished] { finished.signal(); });

  task->setLaunchPath("/usr/bin/tmutil");
  task->setArguments(arguments);
  pipe->fileHandleForReading()->setReadabilityHandler(
      appendingHandler(output, [arrivals] { arrivals->arrive(); }));
  task->setStandardOutput(pipe);
  // Signals once the child has ended and its output is complete.
  task->setTerminationHandler([arrivals](platform::Task&) { arrivals->arrive(); });
  if (!task->launch()) {
    pipe->fileHandleForReading()->setReadabilityHandler({});
    return std::nullopt;
  }
  if (!finished.wait(platform::DispatchTime::now() + timeoutSeconds)) {
    diskLog().error("tmutil timed out after 10 seconds while executing with arguments: " +
                    arrayDescription(arguments));
    return std::nullopt;
  }
  return decodeOutputLines(output->contents());
}
