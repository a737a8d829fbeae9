// The built CVDiag when its surroundings misbehave: a preferences domain
// locked by another process, a diskutil that floods its output or leaves a
// grandchild holding it. The report goes on, the run ends, and the
// preferences file still holds the old registry with every other key.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>

#include <gtest/gtest.h>

#include "support/machine_builder.h"
#include "support/run_cvdiag.h"

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

}  // namespace
