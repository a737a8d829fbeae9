#include "tools/task_shell.h"

#include <atomic>
#include <mutex>

#include "logging/log.h"
#include "platform/dispatch.h"
#include "platform/formatters.h"
#include "platform/platform.h"
#include "text/text.h"

namespace {

bool isNewline(char32_t c) {
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

// How long the end of the output may lag behind the child's end. The child's
// last bytes are in the pipe when it exits, so this is only waited out when
// something it started still holds the pipe open; then the run ends with what
// the child wrote rather than when that grandchild lets go.
constexpr double kOutputGraceSeconds = 1.0;

// After the child has ended: waits for the end of its output, at most the
// grace, and then removes the readability handler, so that whatever still
// holds the pipe writes into it with nobody reading and nothing kept. Gives
// the output as it stands then; a handler call already under way finishes,
// and what it appends is not looked at.
std::string outputAfterTheEnd(platform::Pipe& pipe, platform::DispatchSemaphore& outputEnded,
                              const OutputBuffer& output) {
  outputEnded.wait(platform::DispatchTime::now() + kOutputGraceSeconds);
  pipe.fileHandleForReading()->setReadabilityHandler({});
  return output.contents();
}

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
  std::size_t lineStart = 0;
  for (std::size_t at = 0; at < bytes.size();) {
    auto codePoint = text::decodeAt(bytes, at);
    if (!codePoint) return std::nullopt;
    if (isNewline(codePoint->value)) {
      lines.emplace_back(bytes.substr(lineStart, at - lineStart));
      lineStart = at + codePoint->byteLength;
    }
    at += codePoint->byteLength;
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
  platform::DispatchSemaphore ended(0), outputEnded(0);

  task->setLaunchPath(launchPath);
  task->setArguments(arguments);
  TaskLines lines;
  if (pipe) {
    task->setStandardOutput(pipe);
    task->setStandardError(pipe);
    pipe->fileHandleForReading()->setReadabilityHandler(
        appendingHandler(output, [outputEnded] { outputEnded.signal(); }));
    task->setTerminationHandler([ended](platform::Task&) { ended.signal(); });
    if (task->launch()) {
      ended.wait();
      lines = decodeOutputLines(outputAfterTheEnd(*pipe, outputEnded, *output));
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
  platform::DispatchSemaphore ended(0), outputEnded(0);

  task->setLaunchPath("/usr/bin/tmutil");
  task->setArguments(arguments);
  pipe->fileHandleForReading()->setReadabilityHandler(
      appendingHandler(output, [outputEnded] { outputEnded.signal(); }));
  task->setStandardOutput(pipe);
  task->setTerminationHandler([ended](platform::Task&) { ended.signal(); });
  if (!task->launch()) {
    pipe->fileHandleForReading()->setReadabilityHandler({});
    return std::nullopt;
  }
  if (!ended.wait(platform::DispatchTime::now() + timeoutSeconds)) {
    diskLog().error("tmutil timed out after 10 seconds while executing with arguments: " +
                    arrayDescription(arguments));
    return std::nullopt;
  }
  return decodeOutputLines(outputAfterTheEnd(*pipe, outputEnded, *output));
}
