#include "volumes/volume_role.h"

#include <gtest/gtest.h>

TEST(VolumeRoleTest, RoleWordsAreComparedExactly) {
  EXPECT_EQ(volumeRoleFromRoleWord("PreBoot"), VolumeRole::preboot);
  EXPECT_EQ(volumeRoleFromRoleWord("Preboot"), VolumeRole::preboot);
  EXPECT_EQ(volumeRoleFromRoleWord("preboot"), VolumeRole::generic);
  EXPECT_EQ(volumeRoleFromRoleWord("VM"), VolumeRole::virtualMemory);
  EXPECT_EQ(volumeRoleFromRoleWord("Backup"), VolumeRole::timeMachine);
  EXPECT_EQ(volumeRoleFromRoleWord("System"), VolumeRole::system);
  EXPECT_EQ(volumeRoleFromRoleWord("Data"), VolumeRole::data);
  EXPECT_EQ(volumeRoleFromRoleWord(""), VolumeRole::generic);
  // The snapshot role and the texts that differ from their words have no word.
  EXPECT_EQ(volumeRoleFromRoleWord("Mounted System Snapshot"), VolumeRole::generic);
  EXPECT_EQ(volumeRoleFromRoleWord("Time Machine"), VolumeRole::generic);
  EXPECT_EQ(volumeRoleFromRoleWord("Virtual Memory"), VolumeRole::generic);
}

TEST(VolumeRoleTest, OnlyRawValuesZeroToNineAreRoles) {
  EXPECT_EQ(volumeRoleFromRawValue(0), VolumeRole::preboot);
  EXPECT_EQ(volumeRoleFromRawValue(9), VolumeRole::generic);
  EXPECT_FALSE(volumeRoleFromRawValue(-1).has_value());
  EXPECT_FALSE(volumeRoleFromRawValue(10).has_value());
  // The texts that differ from the registry's words.
  EXPECT_EQ(description(VolumeRole::virtualMemory), "Virtual Memory");
  EXPECT_EQ(description(VolumeRole::mountedSystemSnapshot), "Mounted System Snapshot");
}

TEST(VolumeRoleTest, SliceOfASliceIsAMountedSnapshot) {
  EXPECT_TRUE(isMountedSnapshotBSDName("disk3s1s1"));
  EXPECT_TRUE(isMountedSnapshotBSDName("disk12s3s14"));
  EXPECT_TRUE(isMountedSnapshotBSDName("/dev/disk3s1s1"));  // unanchored
  EXPECT_FALSE(isMountedSnapshotBSDName("disk3"));
  EXPECT_FALSE(isMountedSnapshotBSDName("disk3s1"));
  EXPECT_FALSE(isMountedSnapshotBSDName("disk3s"));
  EXPECT_FALSE(isMountedSnapshotBSDName("disks1s1"));
}
