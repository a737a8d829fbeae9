#include "logging/log.h"

#include <gtest/gtest.h>

#include <functional>

#include "platform/platform.h"
#include "support/capturing_log_sink.h"

using platform::LogEntry;
using platform::LogLevel;

TEST(LogTest, EachGroupNamesItsSubsystemAndAFreshLogger) {
  using Make = std::function<std::shared_ptr<const Log>(std::string_view)>;
  const std::pair<Make, std::string> groups[] = {
      {LogFactory::setting, "Settings"}, {LogFactory::utility, "Utilities"},
      {LogFactory::volume, "Volumes"},   {LogFactory::delegate, "Delegates"},
      {LogFactory::view, "Views"},       {LogFactory::vc, "ViewControllers"},
      {LogFactory::helper, "Helpers"},   {LogFactory::extension, "Extensions"},
  };
  for (const auto& [make, group] : groups) {
    auto log = make("Some Category");
    ASSERT_TRUE(log);
    EXPECT_EQ(log->osLog().subsystem, "com.tamarlin.Corvane." + group);
    EXPECT_EQ(log->osLog().category, "Some Category");
    EXPECT_NE(log, make("Some Category"));
  }
  EXPECT_EQ(&diskLog(), &diskLog());
  EXPECT_EQ(knownVolumesLog().osLog().category, "CVDiskKnownVolumes");
  EXPECT_EQ(volumeBookmarkLog().osLog().subsystem, "com.tamarlin.Corvane.Utilities");
}

TEST(LogTest, EachLevelSendsTheWholeMessageOnceAndNoSinkDropsThem) {
  auto sink = std::make_shared<testsupport::CapturingLogSink>();
  platform::Platform p;
  p.log = sink;
  platform::install(std::move(p));
  auto log = LogFactory::helper("Cat");
  log->default_("d %{public}@ 100%");
  log->debug("two\nlines");
  log->info("");
  log->error("e");
  log->fault("f");
  osLogWithType(log->osLog(), LogLevel::Error, "direct");
  const std::string s = "com.tamarlin.Corvane.Helpers";
  EXPECT_EQ(sink->entries(), (std::vector<LogEntry>{{s, "Cat", LogLevel::Default, "d %{public}@ 100%"},
                                                    {s, "Cat", LogLevel::Debug, "two\nlines"},
                                                    {s, "Cat", LogLevel::Info, ""},
                                                    {s, "Cat", LogLevel::Error, "e"},
                                                    {s, "Cat", LogLevel::Fault, "f"},
                                                    {s, "Cat", LogLevel::Error, "direct"}}));

  platform::install(platform::Platform{});
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  diskLog().fault("nowhere");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}
