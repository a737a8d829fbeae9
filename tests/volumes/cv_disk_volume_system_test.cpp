// The macOS version of mounted systems, and the Time Machine facts from tmutil.
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "support/machine_builder.h"
#include "volumes/cv_disk_volume.h"
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

CVDiskVolumeRef volume(const char* bsdName) {
  auto made = CVDiskVolume::initWithBsdName(bsdName);
  EXPECT_TRUE(made) << bsdName;
  return made;
}

}  // namespace

class CVDiskVolumeSystemTest : public ::testing::Test {
 protected:
  testsupport::MachineBuilder machine;
};

TEST_F(CVDiskVolumeSystemTest, VersionOfTheSystemAtTheMountPoint) {
  json media = bootContainer();
  json old = mounted(slice("disk5s1", "Old", "hfs"), "/Volumes/Old/", "Mac OS Extended");
  json zero = mounted(slice("disk5s2", "Zero", "apfs"), "/Volumes/Zero/", "APFS");
  json broken = mounted(slice("disk5s3", "Broken", "apfs"), "/Volumes/Broken/", "APFS");
  json noBuild = mounted(slice("disk5s4", "NoBuild", "apfs"), "/Volumes/NoBuild/", "APFS");
  json nonString = mounted(slice("disk5s5", "Odd", "apfs"), "/Volumes/Odd/", "APFS");
  json offline = slice("disk5s6", "Offline", "apfs");
  for (auto& m : {old, zero, broken, noBuild, nonString, offline}) media.push_back(m);
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

  EXPECT_EQ(volume("disk3s1s1")->volumeOperatingSystemExtendedString(), "14.2.1 (23C71)");
  EXPECT_EQ(volume("disk3s1s1")->volumeOperatingSystemString(), "14.2.1");
  // Neither the unmounted system nor the data volume looks elsewhere.
  EXPECT_FALSE(volume("disk3s1")->volumeOperatingSystemString());
  EXPECT_FALSE(volume("disk3s5")->volumeOperatingSystemExtendedString());
  EXPECT_EQ(volume("disk5s1")->volumeOperatingSystemExtendedString(), "10.15 (19A583)");
  EXPECT_EQ(volume("disk5s2")->volumeOperatingSystemExtendedString(), "13.0 (22A380)");
  EXPECT_FALSE(volume("disk5s3")->volumeOperatingSystemString());
  EXPECT_FALSE(volume("disk5s3")->volumeOperatingSystemExtendedString());
  EXPECT_EQ(volume("disk5s4")->volumeOperatingSystemString(), "12.1");
  EXPECT_FALSE(volume("disk5s4")->volumeOperatingSystemExtendedString());
  EXPECT_FALSE(volume("disk5s5")->volumeOperatingSystemString());
  EXPECT_FALSE(volume("disk5s6")->volumeOperatingSystemString());
}

class CVDiskVolumeTimeMachineTest : public ::testing::Test {
 protected:
  void installTmutil(const std::string& script) {
    machine.file("/usr/bin/tmutil", "#!/bin/sh\n" + script);
    std::filesystem::permissions(machine.hostPath("/usr/bin/tmutil"),
                                 std::filesystem::perms::owner_all);
  }
  testsupport::MachineBuilder machine;
};

TEST_F(CVDiskVolumeTimeMachineTest, InclusionAndSnapshotsAreAskedOnce) {
  json in = mounted(slice("disk4s1", "In", "apfs"), "/Volumes/In/", "APFS");
  json out = mounted(slice("disk4s2", "Out", "apfs"), "/Volumes/Out/", "APFS");
  machine.json({{"media", {in, out, slice("disk4s3", "Off", "apfs")}}})
      .directory("/Volumes/In")
      .directory("/Volumes/Out");
  // Each run is counted in a file, so a second ask would show.
  installTmutil(
      "echo run >> \"$0.runs\"\n"
      "case \"$1 $2\" in\n"
      "  'isexcluded /Volumes/In') echo \"[Included]    $2\" ;;\n"
      "  'isexcluded /Volumes/Out') echo \"[Excluded]    $2\" ;;\n"
      "  'listlocalsnapshots /Volumes/In')\n"
      "    echo \"Snapshots for disk $2:\"\n"
      "    echo com.apple.TimeMachine.2023-05-02-101530.local\n"
      "    echo com.apple.TimeMachine.2023-05-01-101530\n"
      "    echo com.apple.TimeMachine.2023-05-01\n" 
      "    echo ;;\n"
      "esac\n");
  machine.install();

  auto included = CVDiskVolume::initWithBsdName("disk4s1");
  EXPECT_TRUE(included->volumeIsIncludedInTimeMachine());
  EXPECT_TRUE(included->volumeIsIncludedInTimeMachine());
  auto snapshots = included->volumeLocalSnapshots();
  ASSERT_EQ(snapshots.size(), 2u);
  EXPECT_EQ(snapshots[0]->id(), "com.apple.TimeMachine.2023-05-02-101530.local");
  EXPECT_EQ(snapshots[1]->ts(), "2023-05-01-101530");
  EXPECT_EQ(included->volumeLocalSnapshots().size(), 2u);

  EXPECT_FALSE(CVDiskVolume::initWithBsdName("disk4s2")->volumeIsIncludedInTimeMachine());
  EXPECT_TRUE(CVDiskVolume::initWithBsdName("disk4s2")->volumeLocalSnapshots().empty());
  // Nothing is run for a volume that is not mounted.
  auto off = CVDiskVolume::initWithBsdName("disk4s3");
  EXPECT_FALSE(off->volumeIsIncludedInTimeMachine());
  EXPECT_TRUE(off->volumeLocalSnapshots().empty());

  std::ifstream runs(machine.hostPath("/usr/bin/tmutil.runs"));
  std::string all((std::istreambuf_iterator<char>(runs)), std::istreambuf_iterator<char>());
  EXPECT_EQ(all, "run\nrun\nrun\nrun\n");

  included->setVolumeIsIncludedInTimeMachine(false);
  EXPECT_FALSE(included->volumeIsIncludedInTimeMachine());
  included->setVolumeLocalSnapshots({CVSnapshot::makeNow()});
  ASSERT_EQ(included->volumeLocalSnapshots().size(), 1u);
  EXPECT_EQ(included->volumeLocalSnapshots()[0]->ts(), "Now");
}

TEST_F(CVDiskVolumeTimeMachineTest, MissingTmutilGivesNothing) {
  json in = mounted(slice("disk4s1", "In", "apfs"), "/Volumes/In/", "APFS");
  machine.json({{"media", {in}}}).directory("/Volumes/In");
  machine.install();
  auto v = CVDiskVolume::initWithBsdName("disk4s1");
  EXPECT_FALSE(v->volumeIsIncludedInTimeMachine());
  EXPECT_TRUE(v->volumeLocalSnapshots().empty());
}
