#include "volumes/volume_format.h"

#include <gtest/gtest.h>

TEST(VolumeFormatTest, TableDropsEncryptionFromPersonalities) {
  EXPECT_EQ(volumeFormatTable().size(), 19u);
  EXPECT_EQ(personalityForFormatDescription("APFS (Encrypted)"), "APFS");
  EXPECT_EQ(personalityForFormatDescription("APFS (Case-sensitive, Encrypted)"),
            "Case-sensitive APFS");
  EXPECT_EQ(personalityForFormatDescription("Mac OS Extended (Journaled, Encrypted)"),
            "Journaled HFS+");
  EXPECT_EQ(personalityForFormatDescription("Mac OS Extended (Case-sensitive, Journaled)"),
            "Case-sensitive Journaled HFS+");
  EXPECT_EQ(personalityForFormatDescription("MS-DOS (FAT16)"), "MS-DOS FAT16");
  EXPECT_EQ(personalityForFormatDescription("MS-DOS (FAT)"), "MS-DOS");
  EXPECT_EQ(personalityForFormatDescription("Universal Disk Format (UDF)"), "UDF");
}

TEST(VolumeFormatTest, LookupIsExact) {
  EXPECT_FALSE(personalityForFormatDescription("HFS").has_value());
  EXPECT_FALSE(personalityForFormatDescription("apfs").has_value());
  EXPECT_FALSE(personalityForFormatDescription("APFS ").has_value());
  EXPECT_FALSE(personalityForFormatDescription("").has_value());
}

TEST(VolumeFormatTest, KindOfAnUnmountedVolume) {
  EXPECT_EQ(formatDescriptionFromVolumeKind("hfs"), "HFS");
  EXPECT_EQ(formatDescriptionFromVolumeKind("exfat"), "EXFAT");
  EXPECT_EQ(formatDescriptionFromVolumeKind("msdos"), "MS-DOS (FAT32)");
  EXPECT_EQ(formatDescriptionFromVolumeKind("MsDos"), "MS-DOS (FAT32)");
  EXPECT_EQ(formatDescriptionFromVolumeKind("apfs"), "APFS");
  EXPECT_EQ(formatDescriptionFromVolumeKind(""), "");
}
