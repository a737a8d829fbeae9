// Roles and relatives of volumes in APFS containers.
#include <set>

#include <gtest/gtest.h>

#include "support/machine_builder.h"
#include "volumes/cv_disk_volume.h"
#include "volumes/volume_machines.h"

using namespace volumetest;

namespace {

CVDiskVolumeRef volume(const char* bsdName) {
  auto made = CVDiskVolume::initWithBsdName(bsdName);
  EXPECT_TRUE(made) << bsdName;
  return made;
}

std::string nameOf(const CVDiskVolumeRef& v) { return v ? v->bsdName().value_or("<none>") : "<absent>"; }

std::set<std::string> namesOf(const std::optional<CVDiskVolumeSet>& set) {
  std::set<std::string> out;
  if (set) {
    for (const auto& v : *set) out.insert(nameOf(v));
  }
  return out;
}

}  // namespace

class CVDiskVolumeRelationsTest : public ::testing::Test {
 protected:
  void installBootContainer(json extra = json::array()) {
    json media = bootContainer();
    for (auto& m : extra) media.push_back(m);
    machine.json({{"media", media}}).directory("/System/Volumes/Data");
    machine.install();
  }
  testsupport::MachineBuilder machine;
};

TEST_F(CVDiskVolumeRelationsTest, RolesComeFromTheNameThenTheFirstRoleWord) {
  auto backup = apfsVolume("disk5s1", "TM", "Backup", nullptr);
  auto twoWords = apfsVolume("disk5s2", "Two", "preboot", nullptr);
  twoWords["io"]["Role"] = {"preboot", "Data"};
  auto empty = apfsVolume("disk5s3", "Empty", nullptr, nullptr);
  empty["io"]["Role"] = json::array();
  auto notStrings = apfsVolume("disk5s4", "Odd", nullptr, nullptr);
  notStrings["io"]["Role"] = {5};
  installBootContainer({backup, twoWords, empty, notStrings});

  EXPECT_EQ(volume("disk3s1s1")->volumeRole(), VolumeRole::mountedSystemSnapshot);
  EXPECT_EQ(volume("disk3s1")->volumeRole(), VolumeRole::system);
  EXPECT_EQ(volume("disk3s4")->volumeRole(), VolumeRole::virtualMemory);
  EXPECT_EQ(volume("disk3")->volumeRole(), VolumeRole::generic);
  EXPECT_EQ(description(volume("disk5s1")->volumeRole()), "Time Machine");
  EXPECT_EQ(volume("disk5s2")->volumeRole(), VolumeRole::generic);
  EXPECT_EQ(volume("disk5s3")->volumeRole(), VolumeRole::generic);
  EXPECT_EQ(volume("disk5s4")->volumeRole(), VolumeRole::generic);
}

TEST_F(CVDiskVolumeRelationsTest, WholeDiskHasOnlyChildren) {
  installBootContainer();
  auto whole = volume("disk3");
  EXPECT_FALSE(whole->parent());
  EXPECT_FALSE(whole->siblings());
  EXPECT_EQ(namesOf(whole->children()),
            (std::set<std::string>{"disk3s1", "disk3s1s1", "disk3s2", "disk3s3", "disk3s4", "disk3s5"}));
  EXPECT_FALSE(whole->systemVolume());
  EXPECT_FALSE(whole->isBootableAPFSContainer());

  auto system = volume("disk3s1");
  EXPECT_EQ(nameOf(system->parent()), "disk3");
  EXPECT_FALSE(system->children());
  // The snapshot goes through the whole disk, so it is a sibling too.
  EXPECT_EQ(namesOf(system->siblings()),
            (std::set<std::string>{"disk3s1s1", "disk3s2", "disk3s3", "disk3s4", "disk3s5"}));
}

TEST_F(CVDiskVolumeRelationsTest, GroupMembersFindEachOther) {
  installBootContainer();
  auto system = volume("disk3s1");
  auto data = volume("disk3s5");
  auto snapshot = volume("disk3s1s1");

  EXPECT_EQ(system->systemVolume().get(), system.get());
  EXPECT_EQ(data->dataVolume().get(), data.get());
  EXPECT_EQ(nameOf(system->dataVolume()), "disk3s5");
  EXPECT_EQ(nameOf(data->systemVolume()), "disk3s1");
  EXPECT_EQ(nameOf(snapshot->systemVolume()), "disk3s1");
  EXPECT_EQ(nameOf(snapshot->dataVolume()), "disk3s5");
  EXPECT_EQ(nameOf(data->prebootVolume()), "disk3s2");
  EXPECT_EQ(nameOf(data->recoveryVolume()), "disk3s3");
  EXPECT_EQ(nameOf(data->virtualMemoryVolume()), "disk3s4");
  EXPECT_TRUE(data->isBootableAPFSContainer());
  // Helpers are outside the group, so they find no system.
  EXPECT_FALSE(volume("disk3s2")->systemVolume());
  EXPECT_EQ(nameOf(data->mountedSnapshotVolume()), "disk3s1s1");
  EXPECT_EQ(nameOf(system->mountedSnapshotVolume()), "disk3s1s1");
  EXPECT_EQ(data->volumeGroupUUID()->uuidString(), kGroupUUID);
}

TEST_F(CVDiskVolumeRelationsTest, SnapshotIsOnlySliceOneOfTheSystem) {
  json whole = wholeDisk("disk4", "AppleAPFSMedia", true);
  json system = apfsVolume("disk4s1", "Sys", "System", kGroupUUID);
  json data = apfsVolume("disk4s2", "Sys - Data", "Data", kGroupUUID);
  data["io"]["VolGroupMntFromName"] = "/dev/disk4s1s2";
  json other = apfsVolume("disk4s1s2", "Sys", "System", kGroupUUID);
  machine.json({{"media", {whole, system, data, other}}});
  machine.install();
  EXPECT_EQ(nameOf(volume("disk4s2")->systemVolume()), "disk4s1");
  EXPECT_FALSE(volume("disk4s2")->mountedSnapshotVolume());
}

TEST_F(CVDiskVolumeRelationsTest, GroupsWithoutUUIDsAndLoneSlices) {
  json whole = wholeDisk("disk4", "Drive", false);
  json hfs = slice("disk4s1", "Plain", "hfs");
  json system = apfsVolume("disk4s2", "Sys", "System", nullptr);
  json zeroGroup = apfsVolume("disk4s3", "Zero", "Preboot", "00000000-0000-0000-0000-000000000000");
  json lonelyWhole = wholeDisk("disk6", "Lonely", false);
  json lonely = slice("disk6s1", "Alone", "hfs");
  machine.json({{"media", {whole, hfs, system, zeroGroup, lonelyWhole, lonely}}});
  machine.install();

  // No group UUID on either side counts as the same group.
  EXPECT_EQ(nameOf(volume("disk4s1")->systemVolume()), "disk4s2");
  EXPECT_FALSE(volume("disk4s3")->volumeGroupUUID());
  EXPECT_EQ(nameOf(volume("disk4s3")->systemVolume()), "disk4s2");
  // A preboot volume without a recovery volume is no bootable container.
  EXPECT_EQ(nameOf(volume("disk4s1")->prebootVolume()), "disk4s3");
  EXPECT_FALSE(volume("disk4s1")->isBootableAPFSContainer());

  auto alone = volume("disk6s1");
  EXPECT_EQ(nameOf(alone->parent()), "disk6");
  EXPECT_FALSE(alone->siblings());  // absent, not empty
  EXPECT_FALSE(alone->systemVolume());
}

TEST_F(CVDiskVolumeRelationsTest, WritesReplaceTheCachedRelations) {
  installBootContainer();
  auto system = volume("disk3s1");
  EXPECT_TRUE(system->siblings());
  system->setSiblings(std::nullopt);
  EXPECT_FALSE(system->siblings());
  EXPECT_FALSE(system->dataVolume());
  EXPECT_EQ(system->systemVolume().get(), system.get());

  system->setParent(volume("disk3s5"));
  EXPECT_EQ(nameOf(system->parent()), "disk3s5");
  system->setParent(nullptr);
  EXPECT_FALSE(system->parent());
}

TEST_F(CVDiskVolumeRelationsTest, DiskImageVolumesAndTheirSystem) {
  json whole = wholeDisk("disk8", "Apple Disk Image", false);
  whole["ioParents"] = {{{"image-path", data("L1VzZXJzL2FkYS9JbWFnZXMvUHJvamVjdC5kbWc=")}}};
  json system = mounted(apfsVolume("disk8s1", "Mac", "System", kGroupUUID), "/Volumes/Mac/", "APFS");
  system["ioParents"] = whole["ioParents"];
  json dataVolume =
      mounted(apfsVolume("disk8s2", "Mac - Data", "Data", kGroupUUID), "/Volumes/Mac - Data/", "APFS");
  dataVolume["da"]["DAVolumePath"] = url("file:///Volumes/Mac%20-%20Data/");
  dataVolume["ioParents"] = whole["ioParents"];
  json urlImage = mounted(slice("disk9s1", "Web", "hfs"), "/Volumes/Web/", "Mac OS Extended");
  urlImage["ioParents"] = {{{"DiskImageURL", "file:///Users/ada/Web%20Image.dmg"}}};
  json badImage = slice("disk9s2", "Bad", "hfs");
  badImage["ioParents"] = {{{"image-path", data("/w==")}}};
  machine.json({{"media", {whole, system, dataVolume, urlImage, badImage}}})
      .directory("/Volumes/Mac")
      .directory("/Volumes/Mac - Data")
      .directory("/Volumes/Web");
  machine.install();

  EXPECT_EQ(volume("disk8s2")->imagePath()->absoluteString(), "file:///Users/ada/Images/Project.dmg");
  EXPECT_EQ(volume("disk9s1")->imagePath()->absoluteString(), "file:///Users/ada/Web%20Image.dmg");
  EXPECT_FALSE(volume("disk9s2")->imagePath());  // not UTF-8

  // Whatever slice matches, a system/data image gives its system volume.
  auto fromImage = CVDiskVolume::initWithImagePath(
      platform::URL::fileURLWithPath("/Users/ada/Images/../Images/Project.dmg", false));
  ASSERT_TRUE(fromImage);
  EXPECT_EQ(nameOf(fromImage), "disk8s1");
  EXPECT_EQ(nameOf(CVDiskVolume::initWithImagePath(
                platform::URL::fileURLWithPath("/Users/ada/Web Image.dmg", false))),
            "disk9s1");
  EXPECT_FALSE(CVDiskVolume::initWithImagePath(platform::URL::fileURLWithPath("/Users/ada/x.dmg", false)));
}
