#include "tools/task_shell.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <csignal>
#include <fstream>
#include <thread>

#include "platform/log.h"
#include "support/capturing_log_sink.h"
#include "support/machine_builder.h"

using Lines = std::vector<std::string>;

TEST(DecodeOutputLinesTest, SplitsAtEveryNewlineCharacterOfUTF8Text) {
  const std::pair<std::string, TaskLines> cases[] = {
      {"", Lines{""}}, {"one", Lines{"one"}}, {"one\n", Lines{"one", ""}},
      {"a\nb\n\nc", Lines{"a", "b", "", "c"}}, {"a\r\nb", Lines{"a", "", "b"}},
      {"v\vf\fr\rend", Lines{"v", "f", "r", "end"}},
      {"nel\xC2\x85ls\xE2\x80\xA8ps\xE2\x80\xA9", Lines{"nel", "ls", "ps", ""}},
      {"tab\tand\xC2\xA0nbsp \xE2\x80\xA7", Lines{"tab\tand\xC2\xA0nbsp \xE2\x80\xA7"}},
      {std::string("nul\0inside\n", 11), Lines{std::string("nul\0inside", 10), ""}},
      {"Gr\xC3\xBC\xC3\x9F" "e \xF0\x9F\x98\x80\n", Lines{"Gr\xC3\xBC\xC3\x9F" "e \xF0\x9F\x98\x80", ""}},
      {"ok\n\x80", std::nullopt}, {"latin1 caf\xE9\n", std::nullopt},  // not UTF-8
  };
  for (const auto& [bytes, lines] : cases) EXPECT_EQ(decodeOutputLines(bytes), lines) << bytes;
}

namespace {

class TaskShellTest : public ::testing::Test {
 protected:
  void SetUp() override { machine.install(log); }

  testsupport::MachineBuilder machine;
  std::shared_ptr<testsupport::CapturingLogSink> log = std::make_shared<testsupport::CapturingLogSink>();
};

}  // namespace

TEST_F(TaskShellTest, GivesBothStreamsMixedInOrderAndIgnoresTheExitStatus) {
  struct Case {
    const char* script;
    TaskLines lines;
  };
  const Case cases[] = {
      {"echo out1\necho err1 >&2\necho out2\necho err2 >&2\nprintf 'last'\n",
       Lines{"out1", "err1", "out2", "err2", "last"}},
      {"exit 0\n", Lines{""}},
      {"echo \"Could not find disk: $2\" >&2\nexit 1\n", Lines{"Could not find disk: disk99", ""}},
      {"printf 'caf\\351\\n'\n", std::nullopt},  // not UTF-8
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.script);
    machine.script("/usr/sbin/diskutil", c.script);
    EXPECT_EQ(NSTask::shellWithLaunchPath("/usr/sbin/diskutil", {"info", "disk99"}), c.lines);
  }
}

TEST_F(TaskShellTest, KeepsWhatTheChildWritesJustBeforeItExits) {
  // The tail comes after a burst and right before the exit, on both streams;
  // the termination may be seen before the last bytes are read.
  machine.script("/usr/bin/tail",
                      "yes line | head -n 20000\nprintf 'tail-out\\n'\nprintf 'tail-err' >&2\nexit 0\n");
  for (int run = 0; run < 10; ++run) {
    SCOPED_TRACE(run);
    auto lines = NSTask::shellWithLaunchPath("/usr/bin/tail", {});
    ASSERT_TRUE(lines.has_value());
    ASSERT_EQ(lines->size(), 20002u);
    EXPECT_EQ((*lines)[19999], "line");
    EXPECT_EQ((*lines)[20000], "tail-out");
    EXPECT_EQ((*lines)[20001], "tail-err");
  }
}

TEST_F(TaskShellTest, TheCompletionRunsOnTheCallersThreadWithTheReapedTask) {
  machine.script("/usr/sbin/diskutil", "echo \"$1,$2\"\nexit 4\n");
  std::optional<std::thread::id> calledOn;
  TaskLines seen;
  std::optional<int> statusInCompletion;
  auto task = NSTask::shellWithLaunchPath(
      "/usr/sbin/diskutil", {"list", "-plist"}, [&](platform::Task& t, const TaskLines& lines) {
        calledOn = std::this_thread::get_id();
        seen = lines;
        statusInCompletion = t.terminationStatus();
      });
  EXPECT_EQ(calledOn, std::this_thread::get_id());
  EXPECT_EQ(seen, (Lines{"list,-plist", ""}));
  EXPECT_EQ(statusInCompletion, 4);
  ASSERT_TRUE(task);
  EXPECT_FALSE(task->isRunning());
  errno = 0;
  EXPECT_EQ(::waitpid(*task->processIdentifier(), nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD) << "the child was reaped";
}

TEST_F(TaskShellTest, TmutilGivesStandardOutputOnlyAndAbsentWithoutALogLine) {
  EXPECT_EQ(runTmutil({"listlocalsnapshots", "/"}), std::nullopt);  // missing
  machine.script("/usr/bin/tmutil", "printf '\\377'\n");
  EXPECT_EQ(runTmutil({"listlocalsnapshots", "/"}), std::nullopt);
  machine.script("/usr/bin/tmutil",
                      "echo \"[Included]   $2\"\necho 'tmutil: this goes to the tool' >&2\necho \"$1\"\n");
  testing::internal::CaptureStderr();
  auto lines = runTmutil({"isexcluded", "/Volumes/Backup"});
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "tmutil: this goes to the tool\n");
  EXPECT_EQ(lines, (Lines{"[Included]   /Volumes/Backup", "isexcluded", ""}));
  EXPECT_TRUE(log->entries().empty());
}

// Not terminated either: see the next test.
TEST_F(TaskShellTest, TmutilThatOutlivesItsBoundLogsAndGivesAbsent) {
  machine.script("/usr/bin/tmutil", "echo started\nsleep 1\n");
  EXPECT_EQ(runTmutil({"listlocalsnapshots", "/Volumes/Backup Disk"}, 0.2), std::nullopt);
  auto entries = log->entries();
  ASSERT_EQ(entries.size(), 1u);
  EXPECT_EQ(entries[0], (platform::LogEntry{
                            "com.tamarlin.Corvane.Volumes", "CVDisk", platform::LogLevel::Error,
                            "tmutil timed out after 10 seconds while executing with arguments: (\n"
                            "    listlocalsnapshots,\n"
                            "    \"/Volumes/Backup Disk\"\n"
                            ")"}));
}

TEST_F(TaskShellTest, ATmutilChildStillRunningDoesNotKeepTheToolFromExiting) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // The test's process runs again for the statement below, with a machine of
  // its own; the file that takes the child's pid is the first process's.
  auto pidFile = machine.folder() / "tmutil.pid";
  ::setenv("CVDIAG_TEST_PID_FILE", pidFile.c_str(), 0);
  // The child drops every descriptor it inherited from the test harness, so
  // that only the tool's own process can be waited for.
  machine.script("/usr/bin/tmutil",
                      "echo $$ > \"$CVDIAG_TEST_PID_FILE\"\n"
                      "for fd in $(ls /proc/$$/fd); do [ \"$fd\" -gt 2 ] && eval \"exec $fd>&-\"; done\n"
                      "exec sleep 60\n",
                      "/bin/bash");
  auto started = std::chrono::steady_clock::now();
  EXPECT_EXIT(
      {
        machine.install(log);
        bool absent = !runTmutil({"isexcluded", "/"}, 0.2).has_value();
        std::filesystem::remove_all(machine.folder());  // no unwinding behind std::exit
        std::exit(absent ? 5 : 6);
      },
      testing::ExitedWithCode(5), "");
  // A tool that waited for its child would have taken the child's whole minute.
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(30));
  ::unsetenv("CVDIAG_TEST_PID_FILE");
  std::ifstream in(pidFile);
  int pid = 0;
  ASSERT_TRUE(in >> pid);
  EXPECT_EQ(::kill(pid, SIGKILL), 0) << "the child ran on after the tool had exited";
}
