#include "platform/value.h"

#include <gtest/gtest.h>

using namespace platform;

TEST(URLTest, FileURLsEncodeTheirPathKeepTheDirectorySlashAndParsingNeedsAScheme) {
  URL u = URL::fileURLWithPath("/Volumes/Macintosh HD", true);
  EXPECT_EQ(u.absoluteString(), "file:///Volumes/Macintosh%20HD/");
  EXPECT_EQ(u.path(), "/Volumes/Macintosh HD");
  EXPECT_EQ(URL::fileURLWithPath("/", true).absoluteString(), "file:///");
  EXPECT_EQ(URL::fileURLWithPath("/", true).path(), "/");
  EXPECT_EQ(URL::fileURLWithPath("/caf\xc3\xa9?#%", false).absoluteString(), "file:///caf%C3%A9%3F%23%25");
  EXPECT_EQ(u.appendingPathComponent("x y", false).path(), "/Volumes/Macintosh HD/x y");
  EXPECT_EQ(u.lastPathComponent(), "Macintosh HD");
  EXPECT_EQ(URL::fromString("file:///Volumes/Data/")->path(), "/Volumes/Data");
  EXPECT_FALSE(URL::fromString("/Volumes/Data"));
  EXPECT_FALSE(URL::fromString(":x"));
}

TEST(UUIDAndDateTest, ParseStrictlyAndPrintUpperCase) {
  EXPECT_EQ(UUID::fromString("8f6e6d7a-1b2c-4d3e-9f40-0a1b2c3d4e5f")->uuidString(),
            "8F6E6D7A-1B2C-4D3E-9F40-0A1B2C3D4E5F");
  for (const char* bad : {"8f6e6d7a1b2c-4d3e-9f40-0a1b2c3d4e5f0", "8f6e6d7a-1b2c-4d3e-9f40-0a1b2c3d4e5g", ""})
    EXPECT_FALSE(UUID::fromString(bad)) << bad;
  EXPECT_EQ(Date::fromISO8601("2001-01-01T00:00:00Z")->secondsSinceReferenceDate(), 0);
  EXPECT_EQ(Date::fromISO8601("2024-03-01T10:00:00Z")->secondsSince1970(), 1709287200);
  EXPECT_FALSE(Date::fromISO8601("2024-03-01 10:00:00"));
  EXPECT_FALSE(Date::fromISO8601("2024-13-01T10:00:00Z"));
}

TEST(ValueTest, AccessorsGiveOnlyTheirOwnKindAndNumbersCompareByValue) {
  Value s("text"), b(true), i(-5), u(18446744073709551615ull);
  EXPECT_FALSE(s.boolean());
  EXPECT_FALSE(b.asInt64());
  EXPECT_FALSE(i.asUInt64());
  EXPECT_FALSE(u.asInt64());
  EXPECT_EQ(u.asUInt64(), 18446744073709551615ull);
  EXPECT_EQ(Value(3), Value(3.0));
  EXPECT_EQ(Value(3), Value(3ull));
  EXPECT_NE(Value(-1), Value(18446744073709551615ull));
}
