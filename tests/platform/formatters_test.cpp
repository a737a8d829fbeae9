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
}

TEST(SmallFormattersTest, SwiftArraysOfText) {
  const std::pair<std::string, const char*> cases[] = {
      {swiftArrayDescription({}), "[]"}, {swiftArrayDescription({"list", "-plist"}), R"(["list", "-plist"])"},
      {swiftArrayDescription({"a\"b", "c\\d", "e\nf", "it's", "\t<dict>", "cr\r", std::string("nul\0", 4)}),
       R"(["a\"b", "c\\d", "e\nf", "it\'s", "\t<dict>", "cr\r", "nul\0"])"},
      {swiftArrayDescription({"\x1b[1m\x01\x1f", "del\x7f", " ~"}), R"(["\u{1B}[1m\u{01}\u{1F}", "del\u{7F}", " ~"])"},
      {swiftArrayDescription({"caf\xc3\xa9 \xc2\x85 \xe2\x80\xa8"}), "[\"caf\xc3\xa9 \xc2\x85 \xe2\x80\xa8\"]"},
  };
  for (const auto& [got, want] : cases) EXPECT_EQ(got, want);
}

// Numbers as a Foundation description shows them: reals with the fewest
// significant digits of "%.*g" that read back the same, integers signed up to
// 2^63-1 and unsigned above.
TEST(FoundationDescriptionTest, NumbersOfEveryKindAndRange) {
  const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
  const std::pair<Value, const char*> cases[] = {
      {0.1, "0.1"}, {0.0001, "0.0001"}, {1e-05, "1e-05"}, {1e16, "1e+16"}, {0.1 + 0.2, "0.30000000000000004"},
      {3.0, "3"}, {-2.5, "-2.5"}, {100.0, "1e+02"}, {1234567.0, "1234567"}, {1.0 / 3.0, "0.3333333333333333"},
      {9007199254740992.0, "9007199254740992"}, {123456789012345680.0, "1.2345678901234568e+17"},
      {5e-324, "5e-324"}, {1.7976931348623157e308, "1.7976931348623157e+308"}, {-0.0, "-0"}, {inf, "inf"},
      {-inf, "-inf"}, {nan, "nan"}, {0, "0"}, {-1, "-1"}, {std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
      {9223372036854775807ll, "9223372036854775807"}, {9223372036854775808ull, "9223372036854775808"},
      {18446744073709551615ull, "18446744073709551615"},
  };
  for (const auto& [value, text] : cases) EXPECT_EQ(foundationDescription(value), text);
}

TEST(DateDescriptionTest, UTCInTheGregorianCalendarWhateverTheYear) {
  const std::pair<double, const char*> cases[] = {
      {0, "1970-01-01 00:00:00 +0000"}, {-0.5, "1969-12-31 23:59:59 +0000"},  // cut toward the past
      {978307200.75, "2001-01-01 00:00:00 +0000"}, {-11676096000, "1600-01-01 00:00:00 +0000"},
      {-2082844800, "1904-01-01 00:00:00 +0000"}, {-2203891201, "1900-02-28 23:59:59 +0000"},
      {-2203891200, "1900-03-01 00:00:00 +0000"}, {951825600, "2000-02-29 12:00:00 +0000"},
      {64092211200, "4001-01-01 00:00:00 +0000"}, {253402300799.999, "9999-12-31 23:59:59 +0000"},
      {253402300800, "10000-01-01 00:00:00 +0000"}, {-62135596800, "0001-01-01 00:00:00 +0000"},
      {-62135596801, "0000-12-31 23:59:59 +0000"}, {-62198755200, "-0001-01-01 00:00:00 +0000"},
  };
  for (const auto& [seconds, text] : cases) EXPECT_EQ(dateDescription(Date::fromSecondsSince1970(seconds)), text) << seconds;
  // Beyond what a count of seconds holds, a date prints as its bound.
  EXPECT_EQ(dateDescription(Date::fromSecondsSince1970(std::numeric_limits<double>::infinity())), dateDescription(Date::fromSecondsSince1970(1e300)));
}
