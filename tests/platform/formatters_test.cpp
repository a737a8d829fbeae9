#include "platform/formatters.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/run_cvdiag.h"

using namespace platform;

TEST(ByteCountFileStyleTest, BytesBelowAThousandThenRoundsHalfAwayFromZeroPerUnit) {
  struct Case {
    std::int64_t bytes;
    const char* text;
  } cases[] = {
      {0, "Zero KB"}, {1, "1 byte"}, {2, "2 bytes"}, {999, "999 bytes"}, {-1, "-1 byte"}, {-999, "-999 bytes"},
      {999500, "1 MB"},  // 999.5 KB rounds to 1000 KB
      {1000, "1 KB"}, {1499, "1 KB"}, {1500, "2 KB"}, {999499, "999 KB"}, {1049999, "1 MB"},
      {1050000, "1.1 MB"}, {123456789, "123.5 MB"}, {999949999, "999.9 MB"}, {999950000, "1 GB"},
      {1234567890, "1.23 GB"}, {1235000000, "1.24 GB"}, {1205000000, "1.21 GB"}, {1200000000, "1.2 GB"},
      {5000000000, "5 GB"}, {999995000000, "1 TB"}, {1500000000000, "1.5 TB"}, {1999859621888, "2 TB"},
      {1010000000000000, "1.01 PB"}, {std::numeric_limits<std::int64_t>::max(), "9.22 EB"}, {-1500, "-2 KB"},
      {-5000000000, "-5 GB"}, {std::numeric_limits<std::int64_t>::min(), "-9.22 EB"},
  };
  for (const auto& c : cases) EXPECT_EQ(byteCountFileStyle(c.bytes), c.text) << c.bytes;
}

TEST(FoundationDescriptionTest, NestedContainersIndentAndQuoteByTheTextRule) {
  Dictionary inner{{"Content", "Apple_APFS"}, {"Size", 500107862016ll}};
  Dictionary d{
      {"DeviceIdentifier", "disk3s1"},
      {"Writable", true},
      {"Internal", false},
      {"Ratio", 2.5},
      {"Partitions", Array{Value(inner), Value("x y"), Value(Array{})}},
      {"Mount Point", URL::fileURLWithPath("/Volumes/Macintosh HD", true)},
      {"UUID", *UUID::fromString("6c1d3c57-9e54-4a6b-8d37-2c0e1f7b5a10")},
      {"Blob", Bytes(std::vector<std::uint8_t>{0x00, 0xAB, 0x10})},
      {"When", Date::fromReferenceDate(0)},
      {"Quote\"d", "back\\slash\nline"},
      {"", ""},
      {"Nested", Dictionary{{"a", -7}}},
  };
  EXPECT_EQ(foundationDescription(d),
            cvdiag_test::readFile(std::string(CVDIAG_SOURCE_DIR) + "/tests/platform/golden/nested.description"));
}

TEST(FoundationDescriptionTest, ArraysOfDiskNamesAndTheAbsentDictionary) {
  EXPECT_EQ(foundationDescription(Array{"disk0", "disk0s1", "disk1"}),
            "(\n    disk0,\n    disk0s1,\n    disk1\n)");
  EXPECT_EQ(foundationDescription(Array{}), "(\n)");
  EXPECT_EQ(foundationDescription(Dictionary{}), "{\n}");
  EXPECT_EQ(absentDictionaryDescription(), "{\n    \"\" = \"\";\n}");
  EXPECT_EQ(foundationQuoted("caf\xc3\xa9"), "\"caf\xc3\xa9\"");
  EXPECT_EQ(foundationQuoted("ABC123"), "ABC123");
  EXPECT_EQ(foundationDescription(Value(18446744073709551615ull)), "18446744073709551615");
}

TEST(SmallFormattersTest, ShortestRealsSwiftTextsUTCDatesAndUngroupedNumbers) {
  const std::pair<std::string, const char*> cases[] = {
      {shortestRealDescription(0.1), "0.1"},
      {shortestRealDescription(3.0), "3"},
      {shortestRealDescription(-2.5), "-2.5"},
      {shortestRealDescription(1.0 / 3.0), "0.3333333333333333"},
      {swiftArrayDescription({}), "[]"},
      {swiftArrayDescription({"list", "-plist"}), "[\"list\", \"-plist\"]"},
      {swiftArrayDescription({"a\"b", "c\\d", "e\nf"}), "[\"a\\\"b\", \"c\\\\d\", \"e\\nf\"]"},
      {swiftDataDescription(Bytes::fromString("hello")), "5 bytes"},
      {swiftDataDescription(Bytes()), "0 bytes"},
      {dateDescription(Date::fromSecondsSince1970(0)), "1970-01-01 00:00:00 +0000"},
      {dateDescription(Date::fromReferenceDate(0.75)), "2001-01-01 00:00:00 +0000"},
      {dateDescription(Date::fromSecondsSince1970(-0.5)), "1969-12-31 23:59:59 +0000"},  // fractions cut toward the past
      {localeNumberDescription(std::int64_t{5000000000}), "5000000000"},
      {localeNumberDescription(std::int64_t{-42}), "-42"},
      {localeNumberDescription(std::uint64_t{18446744073709551615ull}), "18446744073709551615"},
      {localeNumberDescription(1234.5), "1234.5"},
  };
  for (const auto& [got, want] : cases) EXPECT_EQ(got, want);
  EXPECT_EQ(std::stod(shortestRealDescription(0.1 + 0.2)), 0.1 + 0.2);
}
