// The built CVDiag when its surroundings misbehave: a preferences domain
// locked by another process, on a read-only or a full disk; a diskutil that
// floods its output or leaves a grandchild holding it; a tmutil that never
// ends. The report goes on, the run ends, and the preferences file still
// holds the old registry with every other key.
#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "support/capturing_log_sink.h"
#include "support/machine_builder.h"
#include "support/run_cvdiag.h"
#include "volumes/cv_disk_volume.h"

namespace {

using Clock = std::chrono::steady_clock;
double seconds(Clock::time_point since) { return std::chrono::duration<double>(Clock::now() - since).count(); }

TEST(FaultsTest, ALockHeldElsewhereIsWaitedForABoundedTimeThenTheFileIsLeftAlone) {
  // The registry value is no dictionary, so the start rule writes.
  const char* prefs = "/Users/ada/Library/Preferences/CVDiag.plist";
  const std::string stored = "<plist><dict><key>CVDiskKnownVolumes</key><string>x</string>"
                             "<key>Other</key><true/></dict></plist>";
  testsupport::MachineBuilder m;
  m.json({{"home", "/Users/ada"}}).file(prefs, stored);
  int lock = ::open((m.hostPath(prefs).string() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(::flock(lock, LOCK_EX), 0);
  auto start = Clock::now();
  auto r = cvdiag_test::runCVDiag({"--volume-registry", "--duplicate-volume-entries"},
                                  {{"CVDIAG_MACHINE", m.folder().string()}, {"CVDIAG_DEFAULTS_LOCK_WAIT_MS", "400"}});
  double took = seconds(start);
  ::close(lock);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "CVDiag: the preferences domain CVDiag is locked by another process; left unchanged\n");
  EXPECT_NE(r.out.find("Checking for duplicates in known Volume Registry"), std::string::npos) << r.out;
  EXPECT_EQ(m.text(prefs), stored);
  // One wait for the whole run, however many writes it tried.
  EXPECT_TRUE(took >= 0.4 && took < 3.0) << took;
}

TEST(FaultsTest, ADiskutilThatFloodsOrLeavesAGrandchildEndsTheRunWhenItEnds) {
  // The grandchild holds the output pipe for a minute; the run must not wait
  // for it. The bound is loose on purpose: sanitizer builds are slow.
  const struct {
    const char* body;
    double withinSeconds;
  } cases[] = {{"head -c 16000000 /dev/zero | tr '\\0' x\n", 0},
               {"exec 2>/dev/null\n( sleep 60 & )\necho '<plist></plist>'\n", 30.0}};
  for (const auto& c : cases) {
    testsupport::MachineBuilder m;
    m.json({{"home", "/Users/ada"}}).script("/usr/sbin/diskutil", c.body);
    auto start = Clock::now();
    auto r = cvdiag_test::runCVDiag({"--disk-utility-entities"}, {{"CVDIAG_MACHINE", m.folder().string()}});
    EXPECT_NE(r.out.find("Failed to parse plist data"), std::string::npos) << r.out.substr(0, 2000);
    EXPECT_EQ(r.status, 0) << c.body;
    if (c.withinSeconds > 0) {
      EXPECT_LT(seconds(start), c.withinSeconds) << c.body;
    }
  }
}

const char* kSaveFailed =
    "error com.tamarlin.Corvane.Settings CVDiskKnownVolumes: CVDiskManager - the known volume registry could not be "
    "written to its defaults file\n";

TEST(FaultsTest, ARegistryWriteThatFailsLeavesTheFileAsItWasAndTheReportAsItWouldBe) {
  // Pruning the machine's one orphan, and replacing at start a stored value
  // that is no dictionary; each on a read-only folder, on a disk full at the
  // open of the temporary file, and on one that fills up in the middle of it.
  const std::string folder = "/Users/ada/Library/Preferences", prefs = folder + "/com.tamarlin.Corvane.plist";
  const struct {
    std::vector<std::string> flags;
    const char* stored;  // replaces the machine's file
  } writes[] = {{{"--settings-volumes", "--prune-orphans"}, nullptr},
                {{"--volume-registry"},
                 "<plist><dict><key>CVDiskKnownVolumes</key><string>x</string>"
                 "<key>SUOtherKey</key><string>kept</string></dict></plist>"}};
  for (const auto& w : writes) {
    auto run = [&](testsupport::MachineBuilder& m, const char* fault) {
      if (w.stored) m.file(prefs, w.stored);
      m.file(prefs + ".lock");  // as an earlier writer left it
      std::map<std::string, std::string> env{{"CVDIAG_MACHINE", m.folder().string()}};
      // The shim comes before the sanitizer's runtime in sanitizer builds.
      if (fault)
        env.insert({{"LD_PRELOAD", CVDIAG_FAULT_SHIM}, {"CVDIAG_FAULT", fault},
                    {"CVDIAG_FAULT_FOLDER", m.hostPath(folder).string()}, {"ASAN_OPTIONS", "verify_asan_link_order=0"}});
      return cvdiag_test::runCVDiag(w.flags, env);
    };
    testsupport::MachineBuilder healthy("faults");
    auto expected = run(healthy, nullptr);
    const std::string before = w.stored ? w.stored : testsupport::MachineBuilder("faults").text(prefs);
    ASSERT_NE(healthy.text(prefs), before) << "a healthy run writes the registry";
    for (const char* fault : {"EROFS", "ENOSPC", "ENOSPC:40"}) {
      testsupport::MachineBuilder m("faults");
      auto r = run(m, fault);
      EXPECT_EQ(r.status, 0) << fault;
      EXPECT_EQ(r.err, expected.err) << fault;
      EXPECT_EQ(r.out, expected.out) << fault;
      EXPECT_EQ(m.text(prefs), before) << fault;
      auto files = std::filesystem::directory_iterator(m.hostPath(folder));
      EXPECT_EQ(std::distance(begin(files), end(files)), 2) << fault << ": the file and its lock, no temporary";
      // The log is the healthy run's; a failed save, but not the start's
      // silent write, adds its error line before the usual "updated".
      std::string log = m.text("/var/log/cvdiag.log");
      auto at = log.find(kSaveFailed);
      if (at != std::string::npos) log.erase(at, std::strlen(kSaveFailed));
      EXPECT_EQ(at != std::string::npos, w.stored == nullptr) << fault;
      EXPECT_EQ(log, healthy.text("/var/log/cvdiag.log")) << fault;
    }
  }
}

TEST(FaultsTest, ATmutilThatNeverEndsIsGivenUpAfterTenSecondsAndLeftRunning) {
  // No report section asks tmutil, so a mounted volume is asked itself.
  testsupport::MachineBuilder m("volumes/time_machine");
  auto pidFile = m.folder() / "tmutil.pid";
  m.script("/usr/bin/tmutil", "echo $$ > '" + pidFile.string() + "'\nexec sleep 600\n");
  auto log = std::make_shared<testsupport::CapturingLogSink>();
  m.install(log);
  auto volume = CVDiskVolume::initWithBsdName("disk4s1");
  auto start = Clock::now();
  EXPECT_FALSE(volume->volumeIsIncludedInTimeMachine());
  double took = seconds(start);
  EXPECT_TRUE(took >= 10.0 && took < 13.0) << took;
  // The answer is kept: tmutil is not asked, nor waited for, again.
  start = Clock::now();
  EXPECT_FALSE(volume->volumeIsIncludedInTimeMachine());
  EXPECT_LT(seconds(start), 1.0);
  EXPECT_EQ(log->entries(), (std::vector<platform::LogEntry>{
                                {"com.tamarlin.Corvane.Volumes", "CVDisk", platform::LogLevel::Error,
                                 "tmutil timed out after 10 seconds while executing with arguments: (\n"
                                 "    isexcluded,\n    \"/Volumes/In\"\n)"}}));
  int pid = 0;
  ASSERT_TRUE(std::ifstream(pidFile) >> pid);
  EXPECT_EQ(::kill(pid, SIGKILL), 0) << "tmutil was ended, not left running";
}

}  // namespace
