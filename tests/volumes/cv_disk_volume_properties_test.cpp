// Where each volume fact comes from, and what it is when no source answers.
#include <gtest/gtest.h>

#include "support/machine_builder.h"
#include "volumes/cv_disk_volume.h"
#include "volumes/number_text.h"
#include "volumes/volume_machines.h"

using namespace volumetest;

class CVDiskVolumePropertiesTest : public ::testing::Test {
 protected:
  CVDiskVolumeRef volume(const char* bsdName) {
    auto made = CVDiskVolume::initWithBsdName(bsdName);
    EXPECT_TRUE(made) << bsdName;
    return made;
  }
  testsupport::MachineBuilder machine;
};

TEST_F(CVDiskVolumePropertiesTest, FormatComesFromTheMountThenTheTypeThenTheKind) {
  auto fat16 = mounted(slice("disk2s1", "STICK", "msdos"), "/Volumes/STICK/", "MS-DOS (FAT16)");
  auto fat16Off = slice("disk2s2", "STICK2", "msdos");
  auto hfsOff = slice("disk2s3", "Archive", "hfs");
  auto typed = slice("disk2s4", "Typed", "hfs");
  typed["da"]["DAVolumeType"] = "Mac OS Extended (Journaled)";
  auto nothing = slice("disk2s5", "Nothing", "hfs");
  nothing["da"].erase("DAVolumeKind");
  auto mountedNoFormat = mounted(slice("disk2s6", "Bare", "hfs"), "/Volumes/Bare/", "x");
  mountedNoFormat["volume"]["resources"].erase("NSURLVolumeLocalizedFormatDescriptionKey");
  mountedNoFormat["da"]["DAVolumeType"] = "Mac OS Extended";
  machine.json({{"media", {fat16, fat16Off, hfsOff, typed, nothing, mountedNoFormat}}})
      .directory("/Volumes/STICK")
      .directory("/Volumes/Bare");
  machine.install();

  EXPECT_EQ(volume("disk2s1")->volumeFormatDescription(), "MS-DOS (FAT16)");
  EXPECT_EQ(volume("disk2s1")->volumePersonality(), "MS-DOS FAT16");
  EXPECT_EQ(volume("disk2s2")->volumeFormatDescription(), "MS-DOS (FAT32)");
  EXPECT_EQ(volume("disk2s2")->volumePersonality(), "MS-DOS FAT32");
  EXPECT_EQ(volume("disk2s3")->volumeFormatDescription(), "HFS");
  EXPECT_FALSE(volume("disk2s3")->volumePersonality());
  EXPECT_EQ(volume("disk2s4")->volumePersonality(), "Journaled HFS+");
  EXPECT_FALSE(volume("disk2s5")->volumeFormatDescription());
  EXPECT_FALSE(volume("disk2s5")->volumePersonality());
  // A ready volume answers from its mount alone.
  EXPECT_FALSE(volume("disk2s6")->volumeFormatDescription());

  EXPECT_TRUE(volume("disk2s1")->isForeignFileSystem());
  EXPECT_TRUE(volume("disk2s3")->isHFSFileSystem());
  EXPECT_FALSE(volume("disk2s3")->isForeignFileSystem());
  EXPECT_TRUE(volume("disk2s5")->isForeignFileSystem());
}

TEST_F(CVDiskVolumePropertiesTest, CapacitiesAndCounts) {
  auto on = mounted(slice("disk4s1", "On", "apfs"), "/Volumes/On/", "APFS");
  on["volume"]["statfs"] = {{"bsize", 4096}, {"blocks", 1000}, {"bfree", 250}, {"flags", 0}};
  on["volume"]["fileCount"] = 1234;
  on["volume"]["directoryCount"] = 56;
  auto off = slice("disk4s2", "Off", "apfs");
  auto vanished = mounted(slice("disk4s3", "Gone", "apfs"), "/Volumes/Gone/", "APFS");
  auto noSize = mounted(slice("disk4s4", "NoSize", "apfs"), "/Volumes/NoSize/", "APFS");
  noSize["volume"]["resources"].erase("NSURLVolumeTotalCapacityKey");
  noSize["volume"].erase("statfs");
  machine.json({{"media", {on, off, vanished, noSize}}})
      .directory("/Volumes/On")
      .directory("/Volumes/NoSize");
  machine.install();

  auto ready = volume("disk4s1");
  EXPECT_EQ(ready->volumeTotalCapacity(), 1000000000000);
  EXPECT_EQ(ready->volumeAvailableCapacity(), 250000000000);
  EXPECT_EQ(ready->volumeUsedCapacity(), 750 * 4096);
  EXPECT_EQ(ready->volumeFileCount(), 1234);
  EXPECT_EQ(ready->volumeDirectoryCount(), 56);

  auto unmounted = volume("disk4s2");
  EXPECT_EQ(unmounted->volumeTotalCapacity(), 209715200);  // the media size
  EXPECT_FALSE(unmounted->volumeAvailableCapacity());
  EXPECT_FALSE(unmounted->volumeUsedCapacity());
  EXPECT_FALSE(unmounted->volumeFileCount());

  // Mounted but not ready: the mount still answers, statfs is not asked.
  auto gone = volume("disk4s3");
  EXPECT_EQ(gone->volumeTotalCapacity(), 1000000000000);
  EXPECT_EQ(gone->volumeAvailableCapacity(), 250000000000);
  EXPECT_FALSE(gone->volumeUsedCapacity());

  auto fallback = volume("disk4s4");
  EXPECT_EQ(fallback->volumeTotalCapacity(), 209715200);
  EXPECT_FALSE(fallback->volumeUsedCapacity());
  EXPECT_FALSE(fallback->volumeFileCount());
}

TEST_F(CVDiskVolumePropertiesTest, StatfsFlags) {
  auto readOnly = mounted(slice("disk5s1", "RO", "hfs"), "/Volumes/RO/", "Mac OS Extended");
  readOnly["volume"]["statfs"]["flags"] = 0x1;
  auto ignored = mounted(slice("disk5s2", "Ign", "hfs"), "/Volumes/Ign/", "Mac OS Extended");
  ignored["volume"]["statfs"]["flags"] = 0x200000;
  auto noStatfs = mounted(slice("disk5s3", "NoFS", "hfs"), "/Volumes/NoFS/", "Mac OS Extended");
  noStatfs["volume"].erase("statfs");
  auto plain = mounted(slice("disk5s4", "Plain", "hfs"), "/Volumes/Plain/", "Mac OS Extended");
  machine.json({{"media", {readOnly, ignored, noStatfs, plain, slice("disk5s5", "Off", "hfs")}}})
      .directory("/Volumes/RO")
      .directory("/Volumes/Ign")
      .directory("/Volumes/NoFS")
      .directory("/Volumes/Plain");
  machine.install();

  EXPECT_FALSE(volume("disk5s1")->isWritable());
  EXPECT_TRUE(volume("disk5s1")->volumePermissionsAreEnabled());
  EXPECT_TRUE(volume("disk5s2")->isWritable());
  EXPECT_FALSE(volume("disk5s2")->volumePermissionsAreEnabled());
  EXPECT_TRUE(volume("disk5s3")->isWritable());
  EXPECT_FALSE(volume("disk5s3")->volumePermissionsAreEnabled());
  EXPECT_TRUE(volume("disk5s4")->isWritable());
  EXPECT_TRUE(volume("disk5s4")->volumePermissionsAreEnabled());
  EXPECT_TRUE(volume("disk5s5")->isWritable());
  EXPECT_FALSE(volume("disk5s5")->volumePermissionsAreEnabled());
}

TEST_F(CVDiskVolumePropertiesTest, CapabilitiesReadTheMountsResourceValues) {
  auto on = mounted(slice("disk4s1", "On", "apfs"), "/Volumes/On/", "APFS");
  auto& resources = on["volume"]["resources"];
  resources["NSURLVolumeSupportsHardLinksKey"] = true;
  resources["NSURLVolumeSupportsSparseFilesKey"] = true;
  resources["NSURLVolumeIsJournalingKey"] = false;
  resources["NSURLVolumeSupportsExtendedSecurityKey"] = true;
  resources["NSURLVolumeSupportsCaseSensitiveNamesKey"] = 1;  // not a boolean
  machine.json({{"media", {on}}}).directory("/Volumes/On").directory("/Volumes/On/Backups.backupdb");
  machine.install();

  auto v = volume("disk4s1");
  EXPECT_TRUE(v->volumeSupportsHardLinks());
  EXPECT_TRUE(v->volumeSupportsSparseFiles());
  EXPECT_FALSE(v->volumeIsJournaling());
  EXPECT_TRUE(v->volumeSupportsExtendedSecurity());
  EXPECT_TRUE(v->volumeHasExtendedSecurity());
  EXPECT_FALSE(v->volumeIsCaseSensitive());
  EXPECT_TRUE(v->isTimeMachineVolume());
  EXPECT_FALSE(v->isBootVolume());
}

TEST_F(CVDiskVolumePropertiesTest, AFailedResourceReadPrintsItsReason) {
  auto broken = mounted(slice("disk4s1", "Broken", "apfs"), "/Volumes/Broken/", "APFS");
  broken["volume"]["resourceError"] = "The volume is gone.";
  machine.json({{"media", {broken}}}).directory("/Volumes/Broken");
  machine.install();

  auto v = volume("disk4s1");
  testing::internal::CaptureStdout();
  auto format = v->volumeFormatDescription();
  auto total = v->volumeTotalCapacity();
  auto journaling = v->volumeIsJournaling();
  std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_FALSE(format);
  EXPECT_EQ(total, 209715200);
  EXPECT_FALSE(journaling);
  EXPECT_EQ(printed, "The volume is gone.\nThe volume is gone.\nThe volume is gone.\n");
}

TEST_F(CVDiskVolumePropertiesTest, MediaAndDeviceFacts) {
  auto softRAID = slice("disk6s1", "Soft", "hfs");
  softRAID["io"]["SoftRAID Volume ID"] = false;
  auto plain = slice("disk6s2", "Plain", "hfs");
  auto raid = slice("disk6s3", "Raid", "hfs");
  raid["io"]["RAID"] = false;
  raid["io"]["CoreStorage"] = true;
  raid["io"]["CoreStorage Encrypted"] = false;
  raid["io"]["Encrypted"] = true;
  auto encrypted = slice("disk6s4", "Enc", "hfs");
  encrypted["io"]["Encrypted"] = true;
  encrypted["io"]["RAID"] = "yes";  // not a boolean: no property
  auto coreStorage = slice("disk6s5", "CS", "hfs");
  coreStorage["io"]["CoreStorage"] = true;
  coreStorage["io"]["CoreStorage Encrypted"] = true;
  auto virtualDevice = slice("disk6s6", "Virt", "hfs");
  virtualDevice["da"]["DADeviceProtocol"] = "Virtual Interface";
  virtualDevice["da"]["DADeviceModel"] = "Disk Image";
  auto virtualNoModel = slice("disk6s7", "VirtNo", "hfs");
  virtualNoModel["da"]["DADeviceProtocol"] = "Virtual Interface";
  virtualNoModel["da"].erase("DADeviceInternal");
  auto removable = slice("disk6s8", "Rem", "hfs");
  removable["da"]["DAMediaRemovable"] = true;
  machine.json({{"media",
                 {softRAID, plain, raid, encrypted, coreStorage, virtualDevice, virtualNoModel,
                  removable}}});
  machine.install();

  EXPECT_TRUE(volume("disk6s1")->isSoftRAIDVolume());
  EXPECT_TRUE(volume("disk6s1")->isUnMountable());
  EXPECT_FALSE(volume("disk6s2")->isUnMountable());
  EXPECT_FALSE(volume("disk6s2")->isSoftRAIDVolume());
  EXPECT_FALSE(volume("disk6s2")->isRAIDVolume());
  EXPECT_FALSE(volume("disk6s2")->isEncrypted());
  EXPECT_TRUE(volume("disk6s3")->isRAIDVolume());
  EXPECT_FALSE(volume("disk6s3")->isEncrypted());  // CoreStorage ignores "Encrypted"
  EXPECT_TRUE(volume("disk6s4")->isEncrypted());
  EXPECT_FALSE(volume("disk6s4")->isRAIDVolume());
  EXPECT_TRUE(volume("disk6s5")->isEncrypted());
  EXPECT_EQ(volume("disk6s2")->deviceProtocol(), std::nullopt);
  EXPECT_EQ(volume("disk6s6")->deviceProtocol(), "Disk Image");
  EXPECT_FALSE(volume("disk6s7")->deviceProtocol());
  EXPECT_TRUE(volume("disk6s7")->deviceIsExternal());
  EXPECT_TRUE(volume("disk6s7")->isUnMountable());
  EXPECT_TRUE(volume("disk6s8")->isRemovable());
  EXPECT_TRUE(volume("disk6s8")->isUnMountable());
}

TEST(NumberTextTest, FileSizeAndCutDescription) {
  EXPECT_EQ(NSNumberCVDiag::fileSizeString(5000000000), "5 GB");
  EXPECT_EQ(NSNumberCVDiag::fileSizeString(0), "Zero KB");
  EXPECT_EQ(NSNumberCVDiag::fileSizeString(494384795648), "494.38 GB");
  EXPECT_EQ(NSNumberCVDiag::descriptionWithLocal(5000000000), "705032704");
  EXPECT_EQ(NSNumberCVDiag::descriptionWithLocal(-3000000000), "1294967296");
  EXPECT_EQ(NSNumberCVDiag::descriptionWithLocal(-7), "-7");
}
