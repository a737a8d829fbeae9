// Where each volume fact comes from, and what it is when no source answers.
#include <gtest/gtest.h>

#include <sstream>

#include "volumes/cv_disk_volume.h"
#include "volumes/number_text.h"
#include "volumes/volume_machines.h"

using namespace volumetest;
using CVDiskVolumePropertiesTest = VolumeMachineTest;

TEST_F(CVDiskVolumePropertiesTest, FormatComesFromTheMountThenTheTypeThenTheKind) {
  install("formats");

  using Text = std::optional<std::string>;
  struct Case {
    const char* bsdName;
    Text format, personality;
    bool foreign;
  };
  const Case cases[] = {
      {"disk2s1", "MS-DOS (FAT16)", "MS-DOS FAT16", true},                  // mounted
      {"disk2s2", "MS-DOS (FAT32)", "MS-DOS FAT32", true},                  // kind msdos
      {"disk2s3", "HFS", std::nullopt, false},                              // kind hfs
      {"disk2s4", "Mac OS Extended (Journaled)", "Journaled HFS+", false},  // a volume type
      {"disk2s5", std::nullopt, std::nullopt, true},                        // no kind
      {"disk2s6", std::nullopt, std::nullopt, false},  // ready without a format: its mount alone answers
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bsdName);
    auto v = volume(c.bsdName);
    EXPECT_EQ(v->volumeFormatDescription(), c.format);
    EXPECT_EQ(v->volumePersonality(), c.personality);
    EXPECT_EQ(v->isForeignFileSystem(), c.foreign);
  }
  EXPECT_TRUE(volume("disk2s3")->isHFSFileSystem());
}

TEST_F(CVDiskVolumePropertiesTest, CapacitiesAndCounts) {
  install("capacities");

  using Number = std::optional<std::int64_t>;
  struct Case {
    const char* bsdName;
    Number total, available, used, files;
  };
  const Case cases[] = {
      {"disk4s1", 1000000000000, 250000000000, 750 * 4096, 1234},
      {"disk4s2", 209715200, std::nullopt, std::nullopt, std::nullopt},  // unmounted: the media size
      // Mounted but not ready: the mount still answers, statfs is not asked.
      {"disk4s3", 1000000000000, 250000000000, std::nullopt, std::nullopt},
      {"disk4s4", 209715200, 250000000000, std::nullopt, std::nullopt},  // no total, no statfs
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bsdName);
    auto v = volume(c.bsdName);
    EXPECT_EQ(v->volumeTotalCapacity(), c.total);
    EXPECT_EQ(v->volumeAvailableCapacity(), c.available);
    EXPECT_EQ(v->volumeUsedCapacity(), c.used);
    EXPECT_EQ(v->volumeFileCount(), c.files);
  }
  EXPECT_EQ(volume("disk4s1")->volumeDirectoryCount(), 56);
}

TEST_F(CVDiskVolumePropertiesTest, StatfsFlags) {
  install("statfs_flags");
  // Read-only, owners ignored, no statfs, plain, unmounted.
  const std::tuple<const char*, bool, bool> cases[] = {
      {"disk5s1", false, true}, {"disk5s2", true, false}, {"disk5s3", true, false},
      {"disk5s4", true, true},  {"disk5s5", true, false}};
  for (const auto& [bsdName, writable, permissions] : cases) {
    EXPECT_EQ(volume(bsdName)->isWritable(), writable) << bsdName;
    EXPECT_EQ(volume(bsdName)->volumePermissionsAreEnabled(), permissions) << bsdName;
  }
}

TEST_F(CVDiskVolumePropertiesTest, CapabilitiesThatAreAbsentOrNotBooleanAreOff) {
  install("capabilities");
  auto v = volume("disk4s1");
  EXPECT_FALSE(v->volumeSupportsSparseFiles());  // absent
  EXPECT_TRUE(v->volumeHasExtendedSecurity());
  EXPECT_FALSE(v->volumeIsCaseSensitive());  // the number 1
  EXPECT_TRUE(v->isTimeMachineVolume());
  EXPECT_FALSE(v->isBootVolume());
}

TEST_F(CVDiskVolumePropertiesTest, AFailedResourceReadLeavesItsReasonInTheContext) {
  install("resource_error");
  auto context = VolumeContext::keepingWalksAndErrors();
  auto disks = CVDiskVolume::localDisks(context);
  ASSERT_EQ(names(disks), std::vector<std::string>{"disk4s1"});
  testing::internal::CaptureStdout();
  EXPECT_FALSE(disks.front()->volumeFormatDescription());
  EXPECT_EQ(disks.front()->volumeTotalCapacity(), 209715200);
  // Each text once, in the order of the reads; taking them empties the sink.
  EXPECT_EQ(context.takeResourceErrors(), "The volume is gone.\nThe volume is gone.\n");
  EXPECT_EQ(context.takeResourceErrors(), "");
  EXPECT_FALSE(volume("disk4s1")->volumeIsJournaling());  // no context: the text goes nowhere
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST_F(CVDiskVolumePropertiesTest, MediaAndDeviceFacts) {
  install("media_facts");

  struct Case {
    const char* bsdName;
    bool softRAID, raid, encrypted, unMountable;
  };
  const Case cases[] = {
      {"disk6s1", true, false, false, true},  {"disk6s2", false, false, false, false},
      {"disk6s3", false, true, false, false},  // CoreStorage ignores "Encrypted"
      {"disk6s4", false, false, true, false},  // "RAID" is no boolean: no property
      {"disk6s5", false, false, true, false}, {"disk6s7", false, false, false, true},
      {"disk6s8", false, false, false, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.bsdName);
    auto v = volume(c.bsdName);
    EXPECT_EQ(v->isSoftRAIDVolume(), c.softRAID);
    EXPECT_EQ(v->isRAIDVolume(), c.raid);
    EXPECT_EQ(v->isEncrypted(), c.encrypted);
    EXPECT_EQ(v->isUnMountable(), c.unMountable);
  }
  EXPECT_EQ(volume("disk6s2")->deviceProtocol(), std::nullopt);
  EXPECT_EQ(volume("disk6s6")->deviceProtocol(), "Disk Image");
  EXPECT_FALSE(volume("disk6s7")->deviceProtocol());
  EXPECT_TRUE(volume("disk6s7")->deviceIsExternal());
  EXPECT_TRUE(volume("disk6s8")->isRemovable());
}

TEST(NumberTextTest, FileSizeAndCutDescription) {
  EXPECT_EQ(NSNumberCVDiag::fileSizeString(5000000000), "5 GB");
  EXPECT_EQ(NSNumberCVDiag::fileSizeString(494384795648), "494.38 GB");
  EXPECT_EQ(NSNumberCVDiag::descriptionWithLocal(5000000000), "705032704");
  EXPECT_EQ(NSNumberCVDiag::descriptionWithLocal(-3000000000), "1294967296");
  EXPECT_EQ(NSNumberCVDiag::descriptionWithLocal(-7), "-7");
}
