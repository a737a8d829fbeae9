// Roles and relatives of volumes in APFS containers. The boot container:
// system disk3s1 (mounted through its snapshot disk3s1s1 at "/"), preboot,
// recovery, VM and data disk3s5, the data mounted at /System/Volumes/Data.
#include <set>

#include <gtest/gtest.h>

#include "volumes/volume_machines.h"

using namespace volumetest;

namespace {

std::set<std::string> namesOf(const std::optional<CVDiskVolumeSet>& set) {
  std::set<std::string> out;
  for (const auto& v : set.value_or(CVDiskVolumeSet{})) out.insert(v->bsdName().value_or("<none>"));
  return out;
}

using CVDiskVolumeRelationsTest = VolumeMachineTest;

}  // namespace

TEST_F(CVDiskVolumeRelationsTest, RolesComeFromTheNameThenTheFirstRoleWord) {
  install("roles");  // the boot container and volumes of other role words
  const std::pair<const char*, VolumeRole> cases[] = {
      {"disk3s1s1", VolumeRole::mountedSystemSnapshot},
      {"disk3s1", VolumeRole::system},
      {"disk3s4", VolumeRole::virtualMemory},
      {"disk3", VolumeRole::generic},
      {"disk5s1", VolumeRole::timeMachine},
      {"disk5s2", VolumeRole::generic},   // "preboot", "Data"
      {"disk5s3", VolumeRole::generic},   // no words
      {"disk5s4", VolumeRole::generic},   // a number
      {"disk5s5", VolumeRole::generic}};  // "System", 5: not an array of strings
  for (const auto& [bsdName, role] : cases) EXPECT_EQ(volume(bsdName)->volumeRole(), role) << bsdName;
}

// The golden information blocks show the boot container's parents, group
// members and bootability; these are the relations they do not.
TEST_F(CVDiskVolumeRelationsTest, WholeDiskHasOnlyChildren) {
  install("boot_container");
  auto whole = volume("disk3");
  EXPECT_FALSE(whole->siblings());
  EXPECT_EQ(namesOf(whole->children()),
            (std::set<std::string>{"disk3s1", "disk3s1s1", "disk3s2", "disk3s3", "disk3s4", "disk3s5"}));

  auto system = volume("disk3s1");
  EXPECT_FALSE(system->children());
  // The snapshot goes through the whole disk, so it is a sibling too.
  EXPECT_EQ(namesOf(system->siblings()),
            (std::set<std::string>{"disk3s1s1", "disk3s2", "disk3s3", "disk3s4", "disk3s5"}));
}

TEST_F(CVDiskVolumeRelationsTest, GroupMembersFindEachOther) {
  install("boot_container");
  auto system = volume("disk3s1");
  auto data = volume("disk3s5");
  EXPECT_EQ(system->systemVolume().get(), system.get());
  EXPECT_EQ(data->dataVolume().get(), data.get());
  // Helpers are outside the group, so they find no system.
  EXPECT_FALSE(volume("disk3s2")->systemVolume());
  EXPECT_EQ(nameOf(data->mountedSnapshotVolume()), "disk3s1s1");
  EXPECT_EQ(nameOf(system->mountedSnapshotVolume()), "disk3s1s1");
}

TEST_F(CVDiskVolumeRelationsTest, GroupsWithoutUUIDsLoneSlicesAndOtherSnapshots) {
  // disk4: a slice, a system and a preboot volume of the zero group UUID;
  // disk6: one slice; disk7: a group whose data mounts from disk7s1s2.
  install("loose_groups");

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
  // Only slice one of the system is its mounted snapshot.
  EXPECT_EQ(nameOf(volume("disk7s2")->systemVolume()), "disk7s1");
  EXPECT_FALSE(volume("disk7s2")->mountedSnapshotVolume());
}

TEST_F(CVDiskVolumeRelationsTest, DiskImageVolumesAndTheirSystem) {
  // disk8: a system/data image by its path; disk9s1 by its URL.
  install("disk_images");
  EXPECT_EQ(volume("disk8s2")->imagePath()->absoluteString(), "file:///Users/ada/Images/Project.dmg");
  EXPECT_EQ(volume("disk9s1")->imagePath()->absoluteString(), "file:///Users/ada/Web%20Image.dmg");
  EXPECT_FALSE(volume("disk9s2")->imagePath());  // not UTF-8

  // Whatever slice matches, a system/data image gives its system volume.
  const std::pair<const char*, const char*> images[] = {
      {"/Users/ada/Images/../Images/Project.dmg", "disk8s1"}, {"/Users/ada/Web Image.dmg", "disk9s1"},
      {"/Users/ada/x.dmg", "<absent>"}};
  for (const auto& [path, bsdName] : images) {
    EXPECT_EQ(nameOf(CVDiskVolume::initWithImagePath(platform::URL::fileURLWithPath(path, false))), bsdName) << path;
  }
}
