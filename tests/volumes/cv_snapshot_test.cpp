#include "volumes/cv_snapshot.h"

#include <gtest/gtest.h>

TEST(CVSnapshotTest, NamePattern) {
  auto plain = CVSnapshot::make("com.apple.TimeMachine.2023-05-01-101530");
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->ts(), "2023-05-01-101530");
  auto local = CVSnapshot::make("com.apple.TimeMachine.2023-05-01-101530.local");
  ASSERT_TRUE(local);
  EXPECT_EQ(local->id(), "com.apple.TimeMachine.2023-05-01-101530.local");
  EXPECT_EQ(local->ts(), "2023-05-01-101530");
  auto now = CVSnapshot::makeNow();
  ASSERT_TRUE(now);
  EXPECT_EQ(now->id(), "Now");
  EXPECT_EQ(now->ts(), "Now");

  for (const char* bad : {"com.apple.TimeMachine.2023-05-01", "Snapshots for volume group:", "",
                          "com.apple.TimeMachine.2023-05-01-101530.locals",
                          "xcom.apple.TimeMachine.2023-05-01-101530", "com_apple_TimeMachine.2023-05-01-101530",
                          "Now ", "now"}) {
    EXPECT_FALSE(CVSnapshot::make(bad)) << bad;
  }
}

TEST(CVSnapshotTest, TimestampIsReadInAFixedOffset) {
  auto utc = parseSnapshotTimestamp("2023-05-01-101530", 0);
  ASSERT_TRUE(utc);
  EXPECT_DOUBLE_EQ(utc->secondsSince1970, 1682936130.0);
  auto east = parseSnapshotTimestamp("2023-05-01-101530", 7200);
  ASSERT_TRUE(east);
  EXPECT_DOUBLE_EQ(east->secondsSince1970, 1682936130.0 - 7200);
  EXPECT_FALSE(parseSnapshotTimestamp("2023-13-01-101530", 0));
  EXPECT_FALSE(parseSnapshotTimestamp("2023-02-30-101530", 0));
  EXPECT_FALSE(parseSnapshotTimestamp("2023-02-01-246000", 0));
  EXPECT_FALSE(parseSnapshotTimestamp("2023-02-01", 0));
}

TEST(CVSnapshotTest, NowSortsAfterPastSnapshotsAndKeepsItsFirstMoment) {
  auto old = CVSnapshot::make("com.apple.TimeMachine.2023-05-01-101530.local");
  auto older = CVSnapshot::make("com.apple.TimeMachine.2021-01-01-000000");
  auto now = CVSnapshot::makeNow();
  EXPECT_TRUE(*older < *old);
  EXPECT_FALSE(*old < *older);
  EXPECT_TRUE(*old < *now);
  EXPECT_FALSE(*now < *old);
  auto first = now->date();
  EXPECT_EQ(now->date(), first);
  // A stamp that fits the pattern but is no date sorts first.
  auto bogus = CVSnapshot::make("com.apple.TimeMachine.2023-13-01-101530");
  ASSERT_TRUE(bogus);
  EXPECT_FALSE(bogus->date());
  EXPECT_TRUE(*bogus < *older);
}
