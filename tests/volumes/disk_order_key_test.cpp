#include "volumes/disk_order_key.h"

#include <gtest/gtest.h>

TEST(DiskOrderKeyTest, DigitRunsWeighDownByTens) {
  EXPECT_EQ(diskOrderKey("disk7s2s1"), 7210);
  EXPECT_EQ(diskOrderKey("disk10"), 10000);
  EXPECT_EQ(diskOrderKey("disk0"), 0);
  EXPECT_EQ(diskOrderKey("disk3s1"), 3100);
  // A slice number of two digits spills into the disk's thousands.
  EXPECT_EQ(diskOrderKey("disk1s10"), 2000);
  EXPECT_EQ(diskOrderKey("disk2"), 2000);
  EXPECT_EQ(diskOrderKey("disk1s11"), 2100);
  EXPECT_GT(diskOrderKey("disk1s11"), diskOrderKey("disk2"));
  // "/dev/" adds no digits.
  EXPECT_EQ(diskOrderKey("/dev/disk4s2"), 4200);
  // Deeper pieces count in fractions and are truncated at the end.
  EXPECT_EQ(diskOrderKey("disk1s1s1s1"), 1111);
  EXPECT_EQ(diskOrderKey("disk1s1s1s1s9"), 1111);
}

TEST(DiskOrderKeyTest, NamesWithoutDigitsAndAbsentNames) {
  EXPECT_EQ(diskOrderKey(""), 0);
  EXPECT_EQ(diskOrderKey("disk"), 0);
  EXPECT_EQ(diskOrderKeyOfOptional(std::optional<std::string>()), 0);
  EXPECT_EQ(diskOrderKeyOfOptional(std::optional<std::string>("disk5")), 5000);
  // Absurdly long digit runs saturate instead of overflowing.
  EXPECT_EQ(diskOrderKey("disk99999999999999999999999999"), INT64_MAX);
}
