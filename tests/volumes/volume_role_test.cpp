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

TEST(VolumeRoleTest, TextsOfEveryRawValue) {
  const char* texts[] = {"Preboot", "Recovery", "Virtual Memory", "Installer", "Time Machine",
                         "System",  "Data",     "Update",         "Mounted System Snapshot",
                         "Generic"};
  for (std::int64_t raw = 0; raw <= 9; ++raw) {
    auto role = volumeRoleFromRawValue(raw);
    ASSERT_TRUE(role.has_value()) << raw;
    EXPECT_EQ(description(*role), texts[raw]);
  }
  EXPECT_FALSE(volumeRoleFromRawValue(-1).has_value());
  EXPECT_FALSE(volumeRoleFromRawValue(10).has_value());
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
