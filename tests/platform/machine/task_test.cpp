#include "platform/task.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <filesystem>
#include <mutex>

#include "platform/dispatch.h"
#include "platform/machine/factories.h"
#include "support/machine_builder.h"

using platform::DispatchSemaphore;
using platform::DispatchTime;

namespace {

// Collects a pipe's bytes and tells when its end was seen.
struct Collector {
  std::mutex mutex;
  std::string bytes;
  int endCalls = 0;
  DispatchSemaphore ended;

  void attach(platform::Pipe& pipe) {
    pipe.fileHandleForReading()->setReadabilityHandler([this](platform::FileHandle& h) {
      auto data = h.availableData();
      std::lock_guard lock(mutex);
      if (data.size() == 0) {
        ++endCalls;
        ended.signal();
      } else {
        bytes += data.asStringView();
      }
    });
  }
  std::string text() {
    std::lock_guard lock(mutex);
    return bytes;
  }
};

bool isReaped(int pid) {
  errno = 0;
  int status = 0;
  return ::waitpid(pid, &status, WNOHANG) == -1 && errno == ECHILD &&
         !std::filesystem::exists("/proc/" + std::to_string(pid));
}

class MachineTaskTest : public ::testing::Test {
 protected:
  testsupport::MachineBuilder machine;
  std::shared_ptr<platform::TaskLauncher> tasks = platform::machine::makeMachineTaskLauncher(machine.load());
};

}  // namespace

TEST_F(MachineTaskTest, RunsTheProgramAtTheMacPathWithItsArgumentsAndReapsIt) {
  machine.script("/usr/bin/tool",
                      "for a in \"$@\"; do printf '<%s>' \"$a\"; done\nprintf 'err' >&2\nexit 3\n");
  auto task = tasks->makeTask();
  auto pipe = tasks->makePipe();
  Collector out;
  out.attach(*pipe);
  DispatchSemaphore terminated;
  std::atomic<bool> runningInHandler{true};
  task->setLaunchPath("/usr/bin/tool");
  task->setArguments({"a b", "", "/Volumes/X"});
  task->setStandardOutput(pipe);
  task->setStandardError(pipe);
  task->setTerminationHandler([&](platform::Task& t) {
    runningInHandler = t.isRunning();
    terminated.signal();
  });
  EXPECT_EQ(task->standardOutput(), pipe);
  ASSERT_TRUE(task->launch());
  ASSERT_TRUE(terminated.wait(DispatchTime::now() + 10));
  ASSERT_TRUE(out.ended.wait(DispatchTime::now() + 10));
  EXPECT_EQ(out.text(), "<a b><></Volumes/X>err");
  EXPECT_EQ(task->terminationStatus(), 3);
  EXPECT_FALSE(runningInHandler.load());
  EXPECT_FALSE(task->isRunning());
  ASSERT_TRUE(task->processIdentifier().has_value());
  EXPECT_TRUE(isReaped(*task->processIdentifier()));
  EXPECT_FALSE(task->launch()) << "a task is launched once";
  EXPECT_EQ(out.endCalls, 1) << "the end of the stream is told once";
}

TEST_F(MachineTaskTest, AProgramThatCannotStartCallsNoHandlerAndEndsItsPipe) {
  machine.file("/usr/bin/notexecutable", "#!/bin/sh\necho hi\n");
  for (const char* path : {"/usr/bin/missing", "/usr/bin/notexecutable", "/usr/bin"}) {
    SCOPED_TRACE(path);
    auto task = tasks->makeTask();
    auto pipe = tasks->makePipe();
    Collector out;
    out.attach(*pipe);
    std::atomic<bool> terminated{false};
    task->setLaunchPath(path);
    task->setStandardOutput(pipe);
    task->setTerminationHandler([&](platform::Task&) { terminated = true; });
    EXPECT_FALSE(task->launch());
    EXPECT_TRUE(out.ended.wait(DispatchTime::now() + 10));
    EXPECT_FALSE(task->isRunning());
    EXPECT_FALSE(task->processIdentifier().has_value());
    EXPECT_FALSE(task->terminationStatus().has_value());
    EXPECT_FALSE(terminated.load());
    EXPECT_EQ(out.text(), "");
  }
}
