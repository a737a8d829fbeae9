// Child processes of a machine folder: the launch path is a Mac path, and the
// program run is the file at that path inside the folder.
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <thread>

#include "platform/task.h"
#include "platform/machine/factories.h"

extern char** environ;

namespace platform::machine {

namespace {

void closeRetrying(int fd) {
  if (fd >= 0) ::close(fd);  // on Linux the descriptor is gone even on EINTR
}

// The read end of a pipe. While a readability handler is installed, one
// detached thread watches the descriptor and calls it; that thread keeps the
// handle alive, so a handle whose owner has gone still delivers to the end.
class MachineFileHandle final : public FileHandle,
                                public std::enable_shared_from_this<MachineFileHandle> {
 public:
  explicit MachineFileHandle(int fd) : fd_(fd) {}
  ~MachineFileHandle() override { closeRetrying(fd_); }

  void setReadabilityHandler(std::function<void(FileHandle&)> handler) override {
    std::lock_guard lock(mutex_);
    handler_ = std::move(handler);
    if (!handler_ || watching_ || ended_) return;
    watching_ = true;
    try {
      std::thread([self = shared_from_this()] { self->watch(); }).detach();
    } catch (const std::system_error&) {
      watching_ = false;  // no thread: the handler is never called
    }
  }

  Bytes availableData() override {
    std::vector<std::uint8_t> buffer(kChunk);
    ssize_t n;
    do {
      n = ::read(fd_, buffer.data(), buffer.size());
    } while (n < 0 && errno == EINTR);
    if (n <= 0) {
      std::lock_guard lock(mutex_);
      ended_ = true;
      return Bytes();
    }
    buffer.resize(static_cast<std::size_t>(n));
    return Bytes(std::move(buffer));
  }

 private:
  static constexpr std::size_t kChunk = 64 * 1024;
  // How often a watcher blocked on a silent pipe looks whether its handler
  // was removed.
  static constexpr int kRecheckMilliseconds = 100;

  void watch() {
    for (;;) {
      std::function<void(FileHandle&)> handler;
      {
        std::lock_guard lock(mutex_);
        if (!handler_ || ended_) {
          watching_ = false;
          return;
        }
        handler = handler_;
      }
      pollfd p{fd_, POLLIN, 0};
      int ready = ::poll(&p, 1, kRecheckMilliseconds);
      if (ready < 0 && errno != EINTR) {
        std::lock_guard lock(mutex_);
        ended_ = true;
        watching_ = false;
        return;
      }
      if (ready <= 0) continue;
      {
        // Removed while we waited: do not call the old handler.
        std::lock_guard lock(mutex_);
        if (!handler_) continue;
        handler = handler_;
      }
      handler(*this);
    }
  }

  const int fd_;
  std::mutex mutex_;
  std::function<void(FileHandle&)> handler_;
  bool watching_ = false;
  bool ended_ = false;
};

class MachinePipe final : public Pipe {
 public:
  MachinePipe(int readFd, int writeFd)
      : reader_(std::make_shared<MachineFileHandle>(readFd)), writeFd_(writeFd) {}
  ~MachinePipe() override { closeWriteEnd(); }

  std::shared_ptr<FileHandle> fileHandleForReading() override { return reader_; }

  // The write end, or -1 once closed.
  int writeEnd() {
    std::lock_guard lock(mutex_);
    return writeFd_;
  }
  void closeWriteEnd() {
    std::lock_guard lock(mutex_);
    closeRetrying(writeFd_);
    writeFd_ = -1;
  }

 private:
  std::shared_ptr<MachineFileHandle> reader_;
  std::mutex mutex_;
  int writeFd_;
};

class MachineTask final : public Task, public std::enable_shared_from_this<MachineTask> {
 public:
  explicit MachineTask(MachineRef machine) : machine_(std::move(machine)) {}

  void setLaunchPath(std::string path) override {
    std::lock_guard lock(mutex_);
    launchPath_ = std::move(path);
  }
  std::string launchPath() const override {
    std::lock_guard lock(mutex_);
    return launchPath_;
  }
  void setArguments(std::vector<std::string> arguments) override {
    std::lock_guard lock(mutex_);
    arguments_ = std::move(arguments);
  }
  std::vector<std::string> arguments() const override {
    std::lock_guard lock(mutex_);
    return arguments_;
  }
  void setStandardOutput(std::shared_ptr<Pipe> pipe) override {
    std::lock_guard lock(mutex_);
    stdout_ = std::move(pipe);
  }
  void setStandardError(std::shared_ptr<Pipe> pipe) override {
    std::lock_guard lock(mutex_);
    stderr_ = std::move(pipe);
  }
  std::shared_ptr<Pipe> standardOutput() const override {
    std::lock_guard lock(mutex_);
    return stdout_;
  }
  std::shared_ptr<Pipe> standardError() const override {
    std::lock_guard lock(mutex_);
    return stderr_;
  }
  void setTerminationHandler(std::function<void(Task&)> handler) override {
    std::lock_guard lock(mutex_);
    terminationHandler_ = std::move(handler);
  }

  bool launch() override {
    std::unique_lock lock(mutex_);
    if (state_ != State::Ready) return false;
    auto out = std::dynamic_pointer_cast<MachinePipe>(stdout_);
    auto err = std::dynamic_pointer_cast<MachinePipe>(stderr_);
    bool started = (stdout_ == nullptr || out != nullptr) && (stderr_ == nullptr || err != nullptr) &&
                   spawn(out.get(), err.get());
    // The child has its own copies now; ours must go, or the readers would
    // never see the end of the stream.
    if (out) out->closeWriteEnd();
    if (err) err->closeWriteEnd();
    if (!started) {
      state_ = State::Failed;
      return false;
    }
    state_ = State::Running;
    try {
      std::thread([self = shared_from_this()] { self->reap(); }).detach();
    } catch (const std::system_error&) {
      lock.unlock();
      reap();  // no thread: wait here rather than leave a zombie
    }
    return true;
  }

  bool isRunning() const override {
    std::lock_guard lock(mutex_);
    return state_ == State::Running;
  }
  std::optional<int> processIdentifier() const override {
    std::lock_guard lock(mutex_);
    if (state_ == State::Running || state_ == State::Ended) return pid_;
    return std::nullopt;
  }
  std::optional<int> terminationStatus() const override {
    std::lock_guard lock(mutex_);
    return status_;
  }

 private:
  enum class State { Ready, Running, Ended, Failed };

  // Called with the lock held.
  bool spawn(MachinePipe* out, MachinePipe* err) {
    std::string program = machine_->hostPath(launchPath_).string();
    std::vector<std::string> argvText;
    argvText.push_back(launchPath_);
    argvText.insert(argvText.end(), arguments_.begin(), arguments_.end());
    std::vector<char*> argv;
    for (auto& a : argvText) argv.push_back(a.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    if (posix_spawn_file_actions_init(&actions) != 0) return false;
    bool ok = posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0) == 0;
    if (out != nullptr) {
      int fd = out->writeEnd();
      ok = ok && fd >= 0 && posix_spawn_file_actions_adddup2(&actions, fd, STDOUT_FILENO) == 0;
    }
    if (err != nullptr) {
      int fd = err->writeEnd();
      ok = ok && fd >= 0 && posix_spawn_file_actions_adddup2(&actions, fd, STDERR_FILENO) == 0;
    }
    pid_t pid = 0;
    ok = ok && ::posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&actions);
    if (ok) pid_ = pid;
    return ok;
  }

  void reap() {
    int raw = 0;
    pid_t done;
    do {
      done = ::waitpid(pid_, &raw, 0);
    } while (done < 0 && errno == EINTR);
    std::function<void(Task&)> handler;
    {
      std::lock_guard lock(mutex_);
      if (done == pid_) {
        status_ = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
      }
      state_ = State::Ended;
      handler = terminationHandler_;
    }
    if (handler) handler(*this);
  }

  MachineRef machine_;
  mutable std::mutex mutex_;
  std::string launchPath_;
  std::vector<std::string> arguments_;
  std::shared_ptr<Pipe> stdout_;
  std::shared_ptr<Pipe> stderr_;
  std::function<void(Task&)> terminationHandler_;
  State state_ = State::Ready;
  pid_t pid_ = 0;
  std::optional<int> status_;
};

class MachineTaskLauncher final : public TaskLauncher {
 public:
  explicit MachineTaskLauncher(MachineRef machine) : machine_(std::move(machine)) {}
  std::shared_ptr<Task> makeTask() override { return std::make_shared<MachineTask>(machine_); }
  std::shared_ptr<Pipe> makePipe() override {
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0) return nullptr;
    return std::make_shared<MachinePipe>(fds[0], fds[1]);
  }

 private:
  MachineRef machine_;
};

}  // namespace

std::shared_ptr<TaskLauncher> makeMachineTaskLauncher(MachineRef machine) {
  return std::make_shared<MachineTaskLauncher>(std::move(machine));
}

}  // namespace platform::machine
