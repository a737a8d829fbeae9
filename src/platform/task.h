#pragma once
// NSTask with NSPipe and NSFileHandle: launching a program and reading its output.
//
// Thread safety: every operation may be called from any thread. Handlers run
// on threads of the platform, never on the caller's.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/value.h"

namespace platform {

// The read end of a pipe.
class FileHandle {
 public:
  virtual ~FileHandle() = default;

  // Installs the handler that is called, one call at a time on a thread of
  // the platform, whenever bytes can be read, and one last time at the end
  // of the stream (when every writer has closed the pipe), where
  // `availableData` gives no bytes; after that it is not called again.
  // An empty function removes the handler; a call already running finishes.
  // The handler may install or remove handlers itself.
  virtual void setReadabilityHandler(std::function<void(FileHandle&)> handler) = 0;
  // The bytes that can be read now, waiting for the first one when there is
  // none yet; empty at the end of the stream (or when reading fails).
  virtual Bytes availableData() = 0;
};

// A pipe: what a child writes to its write end can be read from `fileHandleForReading`.
class Pipe {
 public:
  virtual ~Pipe() = default;
  virtual std::shared_ptr<FileHandle> fileHandleForReading() = 0;
};

// One child process. Set it up, then `launch` it once.
class Task {
 public:
  virtual ~Task() = default;

  // A Mac path ("/usr/sbin/diskutil"); the program run is the one at that
  // path on the machine.
  virtual void setLaunchPath(std::string path) = 0;
  virtual std::string launchPath() const = 0;
  // The arguments behind the program's own name, passed as they are.
  virtual void setArguments(std::vector<std::string> arguments) = 0;
  virtual std::vector<std::string> arguments() const = 0;
  // Where the child's standard output and error go. Unset: the tool's own.
  // One pipe may take both; then they arrive mixed, in the order written.
  virtual void setStandardOutput(std::shared_ptr<Pipe> pipe) = 0;
  virtual void setStandardError(std::shared_ptr<Pipe> pipe) = 0;
  virtual std::shared_ptr<Pipe> standardOutput() const = 0;
  virtual std::shared_ptr<Pipe> standardError() const = 0;
  // Called once on a thread of the platform after the child has ended and
  // been reaped; not called when `launch` fails.
  virtual void setTerminationHandler(std::function<void(Task&)> handler) = 0;

  // Starts the child. False when it cannot be started (no such program, not
  // executable, launched before): then no handler is ever called, and the
  // pipes given to the task are closed for writing so their readers see the
  // end of the stream. The child's standard input is empty.
  virtual bool launch() = 0;

  // While launched and not yet reaped.
  virtual bool isRunning() const = 0;
  // The process identifier once launched.
  virtual std::optional<int> processIdentifier() const = 0;
  // The exit status, or 128 + the signal that ended the child; nothing while
  // it runs or when it never started.
  virtual std::optional<int> terminationStatus() const = 0;
};

class TaskLauncher {
 public:
  virtual ~TaskLauncher() = default;
  virtual std::shared_ptr<Task> makeTask() = 0;
  // A new pipe; nothing when the system has no descriptors left.
  virtual std::shared_ptr<Pipe> makePipe() = 0;
};

}  // namespace platform
