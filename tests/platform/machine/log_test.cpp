#include "platform/log.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "platform/machine/factories.h"
#include "support/machine_builder.h"
#include "support/run_cvdiag.h"

using platform::LogEntry;
using platform::LogLevel;

namespace {

std::vector<std::string> fileLines(const std::filesystem::path& path) {
  const std::string text = cvdiag_test::readFile(path);
  std::vector<std::string> lines;
  std::size_t start = 0;
  for (std::size_t nl; (nl = text.find('\n', start)) != std::string::npos; start = nl + 1) {
    lines.push_back(text.substr(start, nl - start));
  }
  EXPECT_EQ(start, text.size()) << "the file ends with a whole line";
  return lines;
}

}  // namespace

TEST(LogLineTest, NamesLevelSubsystemAndCategoryAndEscapesLineFeeds) {
  EXPECT_EQ(platform::logLine({"com.tamarlin.Corvane.Settings", "CVDiskKnownVolumes", LogLevel::Default,
                               "Failed to deserialize\nOutput: (\n)"}),
            "default com.tamarlin.Corvane.Settings CVDiskKnownVolumes: Failed to deserialize\\nOutput: (\\n)");
  EXPECT_EQ(platform::logLine({"s", "c", LogLevel::Debug, ""}), "debug s c: ");
  EXPECT_EQ(platform::logLine({"s", "c", LogLevel::Info, "\n\n"}), "info s c: \\n\\n");
  EXPECT_EQ(platform::logLine({"s", "c", LogLevel::Error, "back\\slash\ttab"}), "error s c: back\\slash\ttab");
  EXPECT_EQ(platform::logLine({"s", "c", LogLevel::Fault, "x"}), "fault s c: x");
}

TEST(MachineLogTest, AppendsOneLinePerEntryToTheMachinesLogFile) {
  testsupport::MachineBuilder machine;
  auto log = platform::machine::makeMachineLog(machine.load());
  auto file = machine.hostPath("/var/log/cvdiag.log");
  ASSERT_FALSE(std::filesystem::exists(file.parent_path()));
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  log->write({"com.tamarlin.Corvane.Volumes", "CVDisk", LogLevel::Error, "tmutil timed out\n(\n)"});
  log->write({"com.tamarlin.Corvane.Utilities", "VolumeBookmark", LogLevel::Info, "ok"});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(fileLines(file), (std::vector<std::string>{
                                 "error com.tamarlin.Corvane.Volumes CVDisk: tmutil timed out\\n(\\n)",
                                 "info com.tamarlin.Corvane.Utilities VolumeBookmark: ok",
                             }));
  // A second sink on the same machine (another run of the tool) appends.
  platform::machine::makeMachineLog(machine.load())->write({"s", "c", LogLevel::Fault, "again"});
  EXPECT_EQ(fileLines(file).back(), "fault s c: again");
}

TEST(MachineLogTest, ConcurrentEntriesNeverInterleaveWithinALine) {
  testsupport::MachineBuilder machine;
  auto log = platform::machine::makeMachineLog(machine.load());
  constexpr int kThreads = 6, kEach = 150;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      // Long enough that one write could be split by a careless writer.
      std::string body(20000 + t * 1000, static_cast<char>('a' + t));
      for (int i = 0; i < kEach; ++i) log->write({"s", "c" + std::to_string(t), LogLevel::Info, body});
    });
  }
  for (auto& th : threads) th.join();
  std::set<std::string> expected;
  for (int t = 0; t < kThreads; ++t) {
    expected.insert("info s c" + std::to_string(t) + ": " +
                    std::string(20000 + t * 1000, static_cast<char>('a' + t)));
  }
  auto lines = fileLines(machine.hostPath("/var/log/cvdiag.log"));
  EXPECT_EQ(lines.size(), static_cast<std::size_t>(kThreads * kEach));
  for (const auto& line : lines) ASSERT_TRUE(expected.count(line)) << line.substr(0, 80);
}
