#include "volumes/volume_text.h"

#include <gtest/gtest.h>

TEST(VolumeTextTest, LabelsAreTwentySevenCharacters) {
  EXPECT_EQ(infoLabel("Name"), "   Name                  : ");
  EXPECT_EQ(infoLabel("Volume Localized Name"), "   Volume Localized Name : ");
  EXPECT_EQ(infoLabel("Volume Localized Name").size(), 27u);
  // A name that fills the width is not cut.
  EXPECT_EQ(infoLabel("1234567890123456789012"), "   1234567890123456789012: ");
}

TEST(VolumeTextTest, BlockHasNoFinalLineFeed) {
  EXPECT_EQ(infoBlock("Head \n", {{"A", "1"}, {"B", ""}, {"C", "x y"}}),
            "Head \n"
            "   A                     : 1\n"
            "   B                     : \n"
            "   C                     : x y");
  EXPECT_EQ(infoBlock("Head \n", {}), "Head \n");
}

TEST(VolumeTextTest, DescriptionOfAMountedSystem) {
  VolumeDescriptionParts parts;
  parts.isReady = true;
  parts.name = "Macintosh HD";
  parts.mountRelativePath = "/";
  parts.bsdName = "disk3s1s1";
  parts.formatDescription = "APFS";
  parts.deviceProtocol = "PCI-Express";
  parts.operatingSystem = "14.2.1 (23C71)";
  parts.totalCapacity = "494.38 GB";
  parts.availableCapacity = "100 GB";
  parts.fileCount = "1234";
  parts.directoryCount = "-5";
  EXPECT_EQ(volumeDescriptionText(parts),
            "Volume: \u201CMacintosh HD\u201D mount: \u201C/\u201D device: disk3s1s1 file system: "
            "\u201CAPFS\u201D protocol: PCI-Express macOS: 14.2.1 (23C71) capacity: 494.38 GB "
            "available: 100 GB files: 1234 directories: -5");
}

TEST(VolumeTextTest, DescriptionLeavesOutAbsentPieces) {
  VolumeDescriptionParts parts;
  EXPECT_EQ(volumeDescriptionText(parts), "Disk: \u201C\u201D");
  parts.bsdName = "disk4";
  parts.totalCapacity = "2 TB";
  EXPECT_EQ(volumeDescriptionText(parts), "Disk: \u201C\u201D device: disk4 capacity: 2 TB");
}
