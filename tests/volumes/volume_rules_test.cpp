// The naming, ordering and parsing rules the volume model is built on.
#include "volumes/cv_snapshot.h"
#include "tools/disk_order_key.h"
#include "volumes/operating_system_version.h"
#include "volumes/volume_format.h"
#include "volumes/volume_role.h"

#include <gtest/gtest.h>

TEST(DiskOrderKeyTest, DigitRunsWeighDownByTens) {
  const std::pair<const char*, std::int64_t> cases[] = {
      {"disk7s2s1", 7210}, {"disk10", 10000}, {"disk0", 0}, {"disk3s1", 3100},
      // A slice number of two digits spills into the disk's thousands.
      {"disk1s10", 2000}, {"disk1s11", 2100},
      {"/dev/disk4s2", 4200},  // "/dev/" adds no digits
      // Deeper pieces count in fractions and are truncated at the end.
      {"disk1s1s1s1", 1111}, {"disk1s1s1s1s9", 1111},
      {"", 0}, {"disk", 0},
      {"disk99999999999999999999999999", INT64_MAX},  // saturates
  };
  for (const auto& [name, key] : cases) EXPECT_EQ(diskOrderKey(name), key) << name;
  EXPECT_EQ(diskOrderKeyOfOptional(std::nullopt), 0);
  EXPECT_EQ(diskOrderKeyOfOptional(std::optional<std::string>("disk5")), 5000);
}

TEST(VolumeFormatTest, PersonalitiesDropEncryptionAndLookupIsExact) {
  const std::pair<const char*, std::optional<std::string>> cases[] = {
      {"APFS (Encrypted)", "APFS"},
      {"APFS (Case-sensitive, Encrypted)", "Case-sensitive APFS"},
      {"Mac OS Extended (Journaled, Encrypted)", "Journaled HFS+"},
      {"Mac OS Extended (Case-sensitive, Journaled)", "Case-sensitive Journaled HFS+"},
      {"MS-DOS (FAT16)", "MS-DOS FAT16"}, {"MS-DOS (FAT)", "MS-DOS"},
      {"Universal Disk Format (UDF)", "UDF"},
      {"HFS", std::nullopt}, {"apfs", std::nullopt}, {"APFS ", std::nullopt}, {"", std::nullopt},
  };
  for (const auto& [format, personality] : cases) {
    EXPECT_EQ(personalityForFormatDescription(format), personality) << format;
  }
}

TEST(OperatingSystemVersionTest, TextDropsAZeroPatch) {
  const std::pair<const char*, const char*> cases[] = {
      {"13.0", "13.0"},     {"13.0.0", "13.0"},   {"14.2.1", "14.2.1"}, {"14.2.1.5", "14.2.1"},
      {"10..15", "10.15"},  {".11.2.", "11.2"},   {"+11.-2", "11.-2"},
      {"11.2.-3", "11.2"},  // a negative patch is below 1 and is not shown
  };
  for (const auto& [text, shown] : cases) EXPECT_EQ(OperatingSystemVersion::fromString(text).text(), shown) << text;
  auto v = OperatingSystemVersion::fromString("14.2.1");
  EXPECT_EQ(std::tuple(v.majorVersion, v.minorVersion, v.patchVersion), std::tuple(14, 2, 1));
}

TEST(CVSnapshotTest, NamePattern) {
  for (const char* id : {"com.apple.TimeMachine.2023-05-01-101530", "com.apple.TimeMachine.2023-05-01-101530.local"}) {
    auto snapshot = CVSnapshot::make(id);
    ASSERT_TRUE(snapshot) << id;
    EXPECT_EQ(snapshot->id(), id);
    EXPECT_EQ(snapshot->ts(), "2023-05-01-101530");
  }
  EXPECT_EQ(CVSnapshot::makeNow()->id(), "Now");
  EXPECT_EQ(CVSnapshot::makeNow()->ts(), "Now");
  for (const char* bad : {"com.apple.TimeMachine.2023-05-01", "Snapshots for volume group:", "",
                          "com.apple.TimeMachine.2023-05-01-101530.locals",
                          "xcom.apple.TimeMachine.2023-05-01-101530", "com_apple_TimeMachine.2023-05-01-101530",
                          "Now ", "now"}) {
    EXPECT_FALSE(CVSnapshot::make(bad)) << bad;
  }
}

TEST(CVSnapshotTest, TimestampIsReadInAFixedOffset) {
  EXPECT_DOUBLE_EQ(parseSnapshotTimestamp("2023-05-01-101530", 0)->secondsSince1970(), 1682936130.0);
  EXPECT_DOUBLE_EQ(parseSnapshotTimestamp("2023-05-01-101530", 7200)->secondsSince1970(), 1682936130.0 - 7200);
  for (const char* bad : {"2023-13-01-101530", "2023-02-30-101530", "2023-02-01-246000", "2023-02-01"}) {
    EXPECT_FALSE(parseSnapshotTimestamp(bad, 0)) << bad;
  }
}

TEST(CVSnapshotTest, NowSortsAfterPastSnapshotsAndKeepsItsFirstMoment) {
  auto old = CVSnapshot::make("com.apple.TimeMachine.2023-05-01-101530.local");
  auto older = CVSnapshot::make("com.apple.TimeMachine.2021-01-01-000000");
  auto now = CVSnapshot::makeNow();
  EXPECT_TRUE(*older < *old && *old < *now);
  EXPECT_FALSE(*old < *older || *now < *old);
  auto first = now->date();
  EXPECT_EQ(now->date(), first);
  // A stamp that fits the pattern but is no date sorts first.
  auto bogus = CVSnapshot::make("com.apple.TimeMachine.2023-13-01-101530");
  ASSERT_TRUE(bogus);
  EXPECT_FALSE(bogus->date());
  EXPECT_TRUE(*bogus < *older);
}

TEST(CVSnapshotTest, DescriptionsInFullDateAndMediumTime) {
  struct Case {
    const char* stamp;
    int readOffset, shownOffset;
    const char* text;
  };
  const Case cases[] = {
      {"2023-05-01-101530", 0, 0, "Monday, May 1, 2023 at 10:15:30 AM"},
      {"2023-05-01-101530", 0, -11 * 3600, "Sunday, April 30, 2023 at 11:15:30 PM"},
      {"2024-02-29-000005", 3600, 3600, "Thursday, February 29, 2024 at 12:00:05 AM"},
      {"1999-12-31-120000", 0, 0, "Friday, December 31, 1999 at 12:00:00 PM"}};
  for (const auto& c : cases) {
    EXPECT_EQ(snapshotDateText(*parseSnapshotTimestamp(c.stamp, c.readOffset), c.shownOffset), c.text);
  }
  EXPECT_EQ(CVSnapshot::makeNow()->description(), "Now");
  // The stamp read and written in the same zone gives back its own fields.
  EXPECT_EQ(CVSnapshot::make("com.apple.TimeMachine.2023-05-01-101530.local")->description(),
            "Monday, May 1, 2023 at 10:15:30 AM");
}
