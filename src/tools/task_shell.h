#pragma once
// Running external programs and collecting what they write, as text lines.
//
// Both forms block the calling thread until the child has ended and its whole
// output is in; a completion runs on the calling thread before the operation
// returns. The exit status of a child is read nowhere: a program that fails
// hands over its message as its output. The installed platform must have a
// task launcher.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/task.h"

using TaskLines = std::optional<std::vector<std::string>>;
using TaskCompletion = std::function<void(platform::Task& task, const TaskLines& lines)>;

// The output of a child as lines: absent when `bytes` is not valid UTF-8,
// otherwise the text split at every newline character of the platform's set:
// U+000A to U+000D, U+0085, U+2028 and U+2029. Each of them ends a line, so
// CR LF gives an empty line between, a final newline gives a last empty line,
// and no output at all gives one empty line.
TaskLines decodeOutputLines(std::string_view bytes);

// Runs the program at `launchPath` (a Mac path) with `arguments`, its standard
// output and error mixed into one pipe in the order written, waits without
// limit for its end, then for the end of its output at most one second more,
// and calls `completion` (if any) with the task and the lines. The output
// ends when every process holding the pipe has closed it; a background
// process that the program leaves behind with the pipe does not keep the run
// waiting beyond that second: the reader is removed then, and what the
// background process writes later is neither read nor kept. A program that
// cannot be started gives absent lines. Gives the task back.
std::shared_ptr<platform::Task> runCommand(const std::string& launchPath,
                                           const std::vector<std::string>& arguments,
                                           const TaskCompletion& completion = {});

// The category on the platform's task: class operations.
struct NSTask {
  NSTask() = delete;
  // `runCommand`: the finished task.
  static std::shared_ptr<platform::Task> shellWithLaunchPath(const std::string& launchPath,
                                                             const std::vector<std::string>& arguments,
                                                             const TaskCompletion& completion);
  // The lines of `runCommand`, handed over through a semaphore.
  static TaskLines shellWithLaunchPath(const std::string& launchPath,
                                       const std::vector<std::string>& arguments);
};

// Runs /usr/bin/tmutil with `arguments`, its standard output only (standard
// error stays the tool's own), waiting at most `timeoutSeconds` (10 in the
// tool; tests pass less) for it to end, and then for its output as
// `runCommand` does, with the reader removed after that second. On
// time-out it logs "tmutil timed out after 10 seconds while executing with
// arguments: <arguments>" at error level on the volume logger "CVDisk" and
// gives absent; the child runs on with its handlers, and neither it nor its
// pipe keeps the tool from exiting. A program that cannot be started gives
// absent and no log line.
inline constexpr double kTmutilTimeoutSeconds = 10.0;
TaskLines runTmutil(const std::vector<std::string>& arguments,
                    double timeoutSeconds = kTmutilTimeoutSeconds);
