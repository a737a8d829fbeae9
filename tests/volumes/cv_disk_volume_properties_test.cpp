// Where each volume fact comes from, and what it is when no source answers.
#include <gtest/gtest.h>

#include <sstream>

#include "volumes/cv_disk_volume.h"
#include "volumes/number_text.h"
#include "volumes/resource_errors.h"
#include "volumes/volume_machines.h"

using namespace volumetest;
using CVDiskVolumePropertiesTest = VolumeMachineTest;

TEST_F(CVDiskVolumePropertiesTest, FormatComesFromTheMountThenTheTypeThenTheKind) {
  auto typed = slice("disk2s4", "Typed", "hfs");
  typed["da"]["DAVolumeType"] = "Mac OS Extended (Journaled)";
  auto nothing = slice("disk2s5", "Nothing", "hfs");
  nothing["da"].erase("DAVolumeKind");
  auto mountedNoFormat = mounted(slice("disk2s6", "Bare", "hfs"), "/Volumes/Bare/", "x");
  mountedNoFormat["volume"]["resources"].erase("NSURLVolumeLocalizedFormatDescriptionKey");
  mountedNoFormat["da"]["DAVolumeType"] = "Mac OS Extended";
  install({mounted(slice("disk2s1", "STICK", "msdos"), "/Volumes/STICK/", "MS-DOS (FAT16)"),
           slice("disk2s2", "STICK2", "msdos"), slice("disk2s3", "Archive", "hfs"), typed, nothing, mountedNoFormat},
          {"/Volumes/STICK", "/Volumes/Bare"});

  using Text = std::optional<std::string>;
  struct Case {
    const char* bsdName;
    Text format, personality;
    bool foreign;
  };
  const Case cases[] = {
      {"disk2s1", "MS-DOS (FAT16)", "MS-DOS FAT16", true},
      {"disk2s2", "MS-DOS (FAT32)", "MS-DOS FAT32", true},
      {"disk2s3", "HFS", std::nullopt, false},
      {"disk2s4", "Mac OS Extended (Journaled)", "Journaled HFS+", false},
      {"disk2s5", std::nullopt, std::nullopt, true},
      {"disk2s6", std::nullopt, std::nullopt, false},  // a ready volume answers from its mount alone
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
  auto on = mounted(slice("disk4s1", "On", "apfs"), "/Volumes/On/", "APFS");
  on["volume"]["fileCount"] = 1234;
  on["volume"]["directoryCount"] = 56;
  auto noSize = mounted(slice("disk4s4", "NoSize", "apfs"), "/Volumes/NoSize/", "APFS");
  noSize["volume"]["resources"].erase("NSURLVolumeTotalCapacityKey");
  noSize["volume"].erase("statfs");
  install({on, slice("disk4s2", "Off", "apfs"), mounted(slice("disk4s3", "Gone", "apfs"), "/Volumes/Gone/", "APFS"),
           noSize},
          {"/Volumes/On", "/Volumes/NoSize"});

  using Number = std::optional<std::int64_t>;
  struct Case {
    const char* bsdName;
    Number total, available, used, files;
  };
  const Case cases[] = {
      {"disk4s1", 1000000000000, 250000000000, 750 * 4096, 1234},
      {"disk4s2", 209715200, std::nullopt, std::nullopt, std::nullopt},  // the media size
      // Mounted but not ready: the mount still answers, statfs is not asked.
      {"disk4s3", 1000000000000, 250000000000, std::nullopt, std::nullopt},
      {"disk4s4", 209715200, 250000000000, std::nullopt, std::nullopt},
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
  auto readOnly = mounted(slice("disk5s1", "RO", "hfs"), "/Volumes/RO/", "Mac OS Extended");
  readOnly["volume"]["statfs"]["flags"] = 0x1;
  auto ignored = mounted(slice("disk5s2", "Ign", "hfs"), "/Volumes/Ign/", "Mac OS Extended");
  ignored["volume"]["statfs"]["flags"] = 0x200000;
  auto noStatfs = mounted(slice("disk5s3", "NoFS", "hfs"), "/Volumes/NoFS/", "Mac OS Extended");
  noStatfs["volume"].erase("statfs");
  install({readOnly, ignored, noStatfs, mounted(slice("disk5s4", "Plain", "hfs"), "/Volumes/Plain/", "Mac OS Extended"),
           slice("disk5s5", "Off", "hfs")},
          {"/Volumes/RO", "/Volumes/Ign", "/Volumes/NoFS", "/Volumes/Plain"});

  const std::tuple<const char*, bool, bool> cases[] = {
      {"disk5s1", false, true}, {"disk5s2", true, false}, {"disk5s3", true, false},
      {"disk5s4", true, true},  {"disk5s5", true, false}};
  for (const auto& [bsdName, writable, permissions] : cases) {
    EXPECT_EQ(volume(bsdName)->isWritable(), writable) << bsdName;
    EXPECT_EQ(volume(bsdName)->volumePermissionsAreEnabled(), permissions) << bsdName;
  }
}

TEST_F(CVDiskVolumePropertiesTest, CapabilitiesThatAreAbsentOrNotBooleanAreOff) {
  auto on = mounted(slice("disk4s1", "On", "apfs"), "/Volumes/On/", "APFS");
  auto& resources = on["volume"]["resources"];
  resources["NSURLVolumeSupportsExtendedSecurityKey"] = true;
  resources["NSURLVolumeSupportsCaseSensitiveNamesKey"] = 1;  // not a boolean
  install(json::array({on}), {"/Volumes/On", "/Volumes/On/Backups.backupdb"});

  auto v = volume("disk4s1");
  EXPECT_FALSE(v->volumeSupportsSparseFiles());  // absent
  EXPECT_TRUE(v->volumeHasExtendedSecurity());
  EXPECT_FALSE(v->volumeIsCaseSensitive());
  EXPECT_TRUE(v->isTimeMachineVolume());
  EXPECT_FALSE(v->isBootVolume());
}

TEST_F(CVDiskVolumePropertiesTest, AFailedResourceReadPrintsItsReason) {
  auto broken = mounted(slice("disk4s1", "Broken", "apfs"), "/Volumes/Broken/", "APFS");
  broken["volume"]["resourceError"] = "The volume is gone.";
  install(json::array({broken}), {"/Volumes/Broken"});
  auto v = volume("disk4s1");
  std::ostringstream report;
  testing::internal::CaptureStdout();
  {
    ResourceErrorReport errors(report);
    EXPECT_FALSE(v->volumeFormatDescription());
    EXPECT_EQ(v->volumeTotalCapacity(), 209715200);
  }
  EXPECT_FALSE(v->volumeIsJournaling());  // no report open: the text goes nowhere
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(report.str(), "The volume is gone.\nThe volume is gone.\n");
}

TEST_F(CVDiskVolumePropertiesTest, MediaAndDeviceFacts) {
  auto softRAID = slice("disk6s1", "Soft", "hfs");
  softRAID["io"]["SoftRAID Volume ID"] = false;
  auto raid = slice("disk6s3", "Raid", "hfs");
  raid["io"].update({{"RAID", false}, {"CoreStorage", true}, {"CoreStorage Encrypted", false}, {"Encrypted", true}});
  auto encrypted = slice("disk6s4", "Enc", "hfs");
  encrypted["io"].update({{"Encrypted", true}, {"RAID", "yes"}});  // not a boolean: no property
  auto coreStorage = slice("disk6s5", "CS", "hfs");
  coreStorage["io"].update({{"CoreStorage", true}, {"CoreStorage Encrypted", true}});
  auto virtualDevice = slice("disk6s6", "Virt", "hfs");
  virtualDevice["da"].update({{"DADeviceProtocol", "Virtual Interface"}, {"DADeviceModel", "Disk Image"}});
  auto virtualNoModel = slice("disk6s7", "VirtNo", "hfs");
  virtualNoModel["da"]["DADeviceProtocol"] = "Virtual Interface";
  virtualNoModel["da"].erase("DADeviceInternal");
  auto removable = slice("disk6s8", "Rem", "hfs");
  removable["da"]["DAMediaRemovable"] = true;
  install({softRAID, slice("disk6s2", "Plain", "hfs"), raid, encrypted, coreStorage, virtualDevice, virtualNoModel,
           removable});

  struct Case {
    const char* bsdName;
    bool softRAID, raid, encrypted, unMountable;
  };
  const Case cases[] = {
      {"disk6s1", true, false, false, true},  {"disk6s2", false, false, false, false},
      {"disk6s3", false, true, false, false},  // CoreStorage ignores "Encrypted"
      {"disk6s4", false, false, true, false}, {"disk6s5", false, false, true, false},
      {"disk6s7", false, false, false, true}, {"disk6s8", false, false, false, true},
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
