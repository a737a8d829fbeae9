#include "logging/Log.h"

#include <gtest/gtest.h>

#include <functional>

#include "platform/Platform.h"

using platform::LogEntry;
using platform::LogLevel;

namespace {

std::shared_ptr<platform::CapturingLogSink> installCapturingLog() {
  auto sink = std::make_shared<platform::CapturingLogSink>();
  platform::Platform p;
  p.log = sink;
  platform::install(std::move(p));
  return sink;
}

}  // namespace

TEST(LogFactoryTest, EachGroupNamesItsSubsystem) {
  using Make = std::function<std::shared_ptr<const Log>(std::string_view)>;
  const std::pair<Make, std::string> groups[] = {
      {LogFactory::setting, "com.tamarlin.Corvane.Settings"},
      {LogFactory::utility, "com.tamarlin.Corvane.Utilities"},
      {LogFactory::volume, "com.tamarlin.Corvane.Volumes"},
      {LogFactory::delegate, "com.tamarlin.Corvane.Delegates"},
      {LogFactory::view, "com.tamarlin.Corvane.Views"},
      {LogFactory::vc, "com.tamarlin.Corvane.ViewControllers"},
      {LogFactory::helper, "com.tamarlin.Corvane.Helpers"},
      {LogFactory::extension, "com.tamarlin.Corvane.Extensions"},
  };
  for (const auto& [make, subsystem] : groups) {
    auto log = make("Some Category");
    ASSERT_TRUE(log);
    EXPECT_EQ(log->osLog().subsystem, subsystem);
    EXPECT_EQ(log->osLog().category, "Some Category");
    EXPECT_NE(log, make("Some Category")) << "a new logger at each call";
  }
}

TEST(LogTest, EachLevelSendsTheWholeMessageOnce) {
  auto sink = installCapturingLog();
  auto log = LogFactory::helper("Cat");
  log->default_("d %{public}@ 100%");
  log->debug("two\nlines");
  log->info("");
  log->error("e");
  log->fault("f");
  osLogWithType(log->osLog(), LogLevel::Error, "direct");
  const std::string s = "com.tamarlin.Corvane.Helpers";
  EXPECT_EQ(sink->entries(), (std::vector<LogEntry>{
                                 {s, "Cat", LogLevel::Default, "d %{public}@ 100%"},
                                 {s, "Cat", LogLevel::Debug, "two\nlines"},
                                 {s, "Cat", LogLevel::Info, ""},
                                 {s, "Cat", LogLevel::Error, "e"},
                                 {s, "Cat", LogLevel::Fault, "f"},
                                 {s, "Cat", LogLevel::Error, "direct"},
                             }));
}

TEST(LogTest, TheLongLivedLoggersAreMadeOnce) {
  EXPECT_EQ(&knownVolumesLog(), &knownVolumesLog());
  EXPECT_EQ(&diskLog(), &diskLog());
  EXPECT_EQ(&volumeBookmarkLog(), &volumeBookmarkLog());
  EXPECT_EQ(knownVolumesLog().osLog().subsystem, "com.tamarlin.Corvane.Settings");
  EXPECT_EQ(knownVolumesLog().osLog().category, "CVDiskKnownVolumes");
  EXPECT_EQ(diskLog().osLog().subsystem, "com.tamarlin.Corvane.Volumes");
  EXPECT_EQ(diskLog().osLog().category, "CVDisk");
  EXPECT_EQ(volumeBookmarkLog().osLog().subsystem, "com.tamarlin.Corvane.Utilities");
  EXPECT_EQ(volumeBookmarkLog().osLog().category, "VolumeBookmark");
}

TEST(LogTest, APlatformWithoutALogDropsEntriesSilently) {
  platform::install(platform::Platform{});
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  diskLog().fault("nowhere");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}
