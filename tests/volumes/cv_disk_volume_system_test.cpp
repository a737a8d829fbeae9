// The macOS version of mounted systems, and the Time Machine facts from tmutil.
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "volumes/volume_machines.h"

using namespace volumetest;

namespace {

std::string systemVersion(const std::string& version, const std::string& build) {
  std::string plist =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n";
  if (!version.empty()) plist += "<key>ProductVersion</key><string>" + version + "</string>\n";
  if (!build.empty()) plist += "<key>ProductBuildVersion</key><string>" + build + "</string>\n";
  plist += "<key>ProductName</key><string>macOS</string>\n</dict>\n</plist>\n";
  return plist;
}

}  // namespace

using CVDiskVolumeSystemTest = VolumeMachineTest;

TEST_F(CVDiskVolumeSystemTest, VersionOfTheSystemAtTheMountPoint) {
  json media = bootContainer();
  int n = 0;
  for (const char* name : {"Old", "Zero", "Broken", "NoBuild", "Odd"}) {
    media.push_back(mounted(slice("disk5s" + std::to_string(++n), name, "apfs"), "/Volumes/" + std::string(name) + "/",
                            "APFS"));
  }
  media.push_back(slice("disk5s6", "Offline", "apfs"));
  const std::string path = "/System/Library/CoreServices/SystemVersion.plist";
  machine.json({{"media", media}})
      .directory("/System/Volumes/Data")
      .file(path, systemVersion("14.2.1", "23C71"))
      .file("/Volumes/Old" + path, systemVersion("10..15", "19A583"))
      .file("/Volumes/Zero" + path, systemVersion("13.0.0", "22A380"))
      .file("/Volumes/Broken" + path, systemVersion("14", "23A344"))
      .file("/Volumes/NoBuild" + path, systemVersion("12.1", ""))
      .file("/Volumes/Odd" + path,
            "<plist version=\"1.0\"><dict><key>ProductVersion</key><string>12.1</string>"
            "<key>ProductBuildVersion</key><string>21C52</string>"
            "<key>Count</key><integer>3</integer></dict></plist>")
      .file("/Volumes/Offline" + path, systemVersion("14.0", "23A344"));
  machine.install();

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
  json in = mounted(slice("disk4s1", "In", "apfs"), "/Volumes/In/", "APFS");
  json out = mounted(slice("disk4s2", "Out", "apfs"), "/Volumes/Out/", "APFS");
  // Each run is counted in a file, so a second ask would show.
  machine.directory("/usr/bin");
  std::filesystem::copy_file(std::string(CVDIAG_SOURCE_DIR) + "/tests/volumes/data/counting_tmutil.sh",
                             machine.hostPath("/usr/bin/tmutil"));
  std::filesystem::permissions(machine.hostPath("/usr/bin/tmutil"), std::filesystem::perms::owner_all);
  install({in, out, slice("disk4s3", "Off", "apfs")}, {"/Volumes/In", "/Volumes/Out"});

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
  runs << std::ifstream(machine.hostPath("/usr/bin/tmutil.runs")).rdbuf();
  EXPECT_EQ(runs.str(), "run\nrun\nrun\nrun\n");
}
