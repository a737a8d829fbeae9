// The macOS version of mounted systems, and the Time Machine facts from tmutil.
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "volumes/volume_machines.h"

using namespace volumetest;

using CVDiskVolumeSystemTest = VolumeMachineTest;

TEST_F(CVDiskVolumeSystemTest, VersionOfTheSystemAtTheMountPoint) {
  // The boot container, then disk5s1 to disk5s5 mounted at /Volumes/Old,
  // Zero, Broken ("14"), NoBuild and Odd (a number among the texts), and
  // disk5s6, not mounted, whose folder holds a version all the same.
  install("system_versions");

  using Text = std::optional<std::string>;
  const std::tuple<const char*, Text, Text> cases[] = {
      {"disk3s1s1", "14.2.1", "14.2.1 (23C71)"},
      // Neither the unmounted system nor the data volume looks elsewhere.
      {"disk3s1", std::nullopt, std::nullopt}, {"disk3s5", std::nullopt, std::nullopt},
      {"disk5s1", "10.15", "10.15 (19A583)"}, {"disk5s2", "13.0", "13.0 (22A380)"},
      {"disk5s3", std::nullopt, std::nullopt}, {"disk5s4", "12.1", std::nullopt},
      {"disk5s5", std::nullopt, std::nullopt}, {"disk5s6", std::nullopt, std::nullopt}};
  for (const auto& [bsdName, version, extended] : cases) {
    EXPECT_EQ(volume(bsdName)->volumeOperatingSystemString(), version) << bsdName;
    EXPECT_EQ(volume(bsdName)->volumeOperatingSystemExtendedString(), extended) << bsdName;
  }
}

TEST_F(CVDiskVolumeSystemTest, TimeMachineInclusionAndSnapshotsAreAskedOnce) {
  // tmutil counts its runs in a file, so a second ask would show.
  install("time_machine");

  auto included = volume("disk4s1");
  EXPECT_TRUE(included->volumeIsIncludedInTimeMachine());
  EXPECT_TRUE(included->volumeIsIncludedInTimeMachine());
  auto snapshots = included->volumeLocalSnapshots();
  ASSERT_EQ(snapshots.size(), 2u);
  EXPECT_EQ(snapshots[0]->id(), "com.apple.TimeMachine.2023-05-02-101530.local");
  EXPECT_EQ(snapshots[1]->ts(), "2023-05-01-101530");
  EXPECT_EQ(included->volumeLocalSnapshots().size(), 2u);

  // Nothing is run for disk4s3, which is not mounted.
  for (const char* bsdName : {"disk4s2", "disk4s3"}) {
    EXPECT_FALSE(volume(bsdName)->volumeIsIncludedInTimeMachine()) << bsdName;
    EXPECT_TRUE(volume(bsdName)->volumeLocalSnapshots().empty()) << bsdName;
  }

  std::stringstream runs;
  runs << std::ifstream(machine->hostPath("/usr/bin/tmutil.runs")).rdbuf();
  EXPECT_EQ(runs.str(), "run\nrun\nrun\nrun\n");
}
