#include "platform/machine/property_list_codec.h"

#include <gtest/gtest.h>

#include <cmath>

#include "support/run_cvdiag.h"

using namespace platform;
using namespace platform::machine;

namespace {

Result<Value> decode(const std::vector<std::uint8_t>& b) { return decodePropertyList(b); }
Result<Value> decode(const std::string& s) {
  return decodePropertyList(std::span(reinterpret_cast<const std::uint8_t*>(s.data()), s.size()));
}

Dictionary sample() {
  return Dictionary{
      {"text", "Macintosh HD"},
      {"empty", ""},
      {"unicode", "caf\xc3\xa9 \xf0\x9f\x92\xbe"},
      {"yes", true},
      {"no", false},
      {"negative", -5},
      {"min", std::numeric_limits<std::int64_t>::min()},
      {"large", 2000398934016ll},
      {"real", 2.5},
      {"data", Bytes(std::vector<std::uint8_t>{0, 1, 2, 255})},
      {"noData", Bytes()},
      {"date", *Date::fromISO8601("2024-03-01T10:00:00Z")},
      {"early", *Date::fromISO8601("1970-01-01T00:00:00Z")},
      {"list", Array{1, "two", Array{}, Dictionary{}}},
      {"nested", Dictionary{{"inner", Dictionary{{"deep", Array{Value(true)}}}}}},
  };
}

std::string nestedXML(std::size_t depth) {
  std::string s = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
  for (std::size_t i = 0; i < depth; ++i) s += "<array>";
  for (std::size_t i = 0; i < depth; ++i) s += "</array>";
  return s + "\n</plist>\n";
}

// `depth` nested arrays, the innermost empty, in a binary list whose
// references and offsets take four bytes: what the codec's writer refuses.
std::vector<std::uint8_t> nestedBinary(std::uint32_t depth) {
  std::vector<std::uint8_t> out{'b', 'p', 'l', 'i', 's', 't', '0', '0'};
  auto put = [&out](std::uint64_t value, int bytes) {
    for (int i = bytes; i-- > 0;) out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
  };
  for (std::uint32_t i = 0; i + 1 < depth; ++i) {
    out.push_back(0xA1);
    put(i + 1, 4);
  }
  out.push_back(0xA0);
  const std::uint64_t table = out.size();
  for (std::uint32_t i = 0; i < depth; ++i) put(8 + 5 * i, 4);
  put(0, 6);
  put(0x0404, 2);  // the sizes of an offset and of a reference
  put(depth, 8);
  put(0, 8);
  put(table, 8);
  return out;
}

}  // namespace

TEST(PropertyListCodecTest, EveryKindRoundTripsThroughBinaryAndXML) {
  for (auto format : {PropertyListFormat::Binary, PropertyListFormat::XML}) {
    auto bytes = encodePropertyList(Value(sample()), format);
    ASSERT_TRUE(bytes) << bytes.error().localizedDescription;
    auto back = decodePropertyList(bytes->bytes());
    ASSERT_TRUE(back) << back.error().localizedDescription;
    EXPECT_EQ(*back, Value(sample())) << static_cast<int>(format);
  }
  auto binary = encodePropertyList(Value(sample()), PropertyListFormat::Binary);
  EXPECT_EQ(std::string(binary->asStringView().substr(0, 8)), "bplist00");
  // URLs and UUIDs are written as their texts.
  Dictionary d{{"url", URL::fileURLWithPath("/Volumes/A B", true)},
               {"uuid", *UUID::fromString("6C1D3C57-9E54-4A6B-8D37-2C0E1F7B5A10")}};
  auto texts = decodePropertyList(encodePropertyList(Value(d), PropertyListFormat::Binary)->bytes());
  ASSERT_TRUE(texts);
  EXPECT_EQ(*texts, Value(Dictionary{{"url", "file:///Volumes/A%20B/"}, {"uuid", "6C1D3C57-9E54-4A6B-8D37-2C0E1F7B5A10"}}));
}

TEST(PropertyListCodecTest, ReadsHandWrittenXMLWithNegativeNumbersAndDates) {
  // A comment holding tags, a negative number, a date, an empty array, escapes.
  auto v = decode(cvdiag_test::readFile(std::string(CVDIAG_SOURCE_DIR) + "/tests/platform/golden/hand-written.plist"));
  ASSERT_TRUE(v) << v.error().localizedDescription;
  EXPECT_EQ(*v, Value(Dictionary{{"ProductVersion", "14.2.1"},
                                 {"Offset", -12},
                                 {"When", *Date::fromISO8601("2024-03-01T10:00:00Z")},
                                 {"Empty", Array{}},
                                 {"Escaped", "a & b <c>"}}));
}

TEST(PropertyListCodecTest, ReadsBinaryListsOfOtherWritersWithSharedValues) {
  // Keys and values shared between two dictionaries, as real writers do:
  // one-byte references and a UTF-16 name.
  auto v =
      decode(cvdiag_test::readFile(std::string(CVDIAG_SOURCE_DIR) + "/tests/platform/golden/shared-values.bplist"));
  ASSERT_TRUE(v) << v.error().localizedDescription;
  Value entry(Dictionary{{"Name", "D\xc3\xa9j\xc3\xa0 \xf0\x9f\x92\xbe"}});
  EXPECT_EQ(*v, Value(Array{entry, entry, entry}));
}

TEST(PropertyListCodecTest, MalformedAndTruncatedInputIsRefusedWithoutCrashing) {
  EXPECT_FALSE(decode(std::string()));
  EXPECT_FALSE(decode(std::string("not a property list")));
  EXPECT_FALSE(decode(std::string("bplist00")));
  EXPECT_FALSE(decode(std::string("<plist><dict><key>a</key>")));
  auto good = encodePropertyList(Value(sample()), PropertyListFormat::Binary)->bytes();
  for (std::size_t n = 0; n < good.size(); ++n) {
    std::vector<std::uint8_t> cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(n));
    EXPECT_FALSE(decode(cut)) << n;
  }
  auto xml = std::string(encodePropertyList(Value(sample()), PropertyListFormat::XML)->asStringView());
  for (std::size_t n = 0; n + 12 < xml.size(); n += 7) (void)decode(xml.substr(0, n));
}

TEST(PropertyListCodecTest, NestingIsAllowedTo512AndRefusedBeyond) {
  auto ok = decode(nestedBinary(kMaxPropertyListDepth));
  EXPECT_TRUE(ok) << ok.error().localizedDescription;
  EXPECT_FALSE(decode(nestedBinary(kMaxPropertyListDepth + 1)));
  EXPECT_FALSE(decode(nestedBinary(100000)));

  auto xmlOk = decode(nestedXML(kMaxPropertyListDepth));
  EXPECT_TRUE(xmlOk) << xmlOk.error().localizedDescription;
  EXPECT_FALSE(decode(nestedXML(kMaxPropertyListDepth + 1)));
  EXPECT_FALSE(decode(nestedXML(500000)));

  Value deep = Array{};
  for (std::size_t i = 0; i < kMaxPropertyListDepth + 2; ++i) deep = Array{deep};
  EXPECT_FALSE(encodePropertyList(deep, PropertyListFormat::Binary));
}

TEST(PropertyListCodecTest, OversizedXMLBadDatesBadTextAndUnwritableValuesAreRefused) {
  auto doc = [](const std::string& body) { return "<?xml version=\"1.0\"?><plist version=\"1.0\">" + body + "</plist>"; };
  auto text = [&](const std::string& t) { return doc("<dict><key>k</key><string>" + t + "</string></dict>"); };
  auto ok = decode(doc("<date>2030-06-01T00:00:00Z</date>"));
  ASSERT_TRUE(ok) << ok.error().localizedDescription;
  EXPECT_EQ(*ok, Value(*Date::fromISO8601("2030-06-01T00:00:00Z")));
  const std::string refused[] = {
      std::string(kMaxPropertyListBytes + 1, ' '),
      doc("<date>1900-01-01T00:00:00Z</date>"),
      doc("<date>9999-12-31T23:59:59Z</date>"),
      doc("<date>yesterday</date>"),
      text("bad \xff\xfe bytes"),
      text("\xc3"),
      doc("<dict><key>\xff</key><true/></dict>"),
  };
  for (const auto& r : refused) EXPECT_FALSE(decode(r)) << r.substr(0, 80);
  // A character reference to NUL is dropped or refused, never kept.
  if (auto withNul = decode(text("a&#0;b"))) {
    const std::string* s = lookup(*withNul->dictionary(), "k")->string();
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(s->find('\0'), std::string::npos);
  }
  EXPECT_FALSE(encodePropertyList(Value("bad \xff utf8"), PropertyListFormat::Binary));
  EXPECT_FALSE(encodePropertyList(Value(std::string("nul\0inside", 10)), PropertyListFormat::XML));
  EXPECT_FALSE(encodePropertyList(Value(Dictionary{{std::string("k\xc3", 2), 1}}), PropertyListFormat::Binary));
  EXPECT_FALSE(encodePropertyList(Value(Date{1e13}), PropertyListFormat::Binary));
}

TEST(PropertyListCodecTest, DatesBeforeTheReferenceDateKeepTheirFraction) {
  for (double s : {-100.25, -1.5, -978307200.0, 0.75, 12345.000001}) {
    Value date(Date::fromReferenceDate(s));
    for (auto format : {PropertyListFormat::Binary, PropertyListFormat::XML}) {
      auto back = decodePropertyList(encodePropertyList(date, format)->bytes());
      ASSERT_TRUE(back) << s;
      // XML keeps the second the date falls in.
      double expected = format == PropertyListFormat::XML ? std::floor(s) : s;
      EXPECT_NEAR(back->date()->secondsSinceReferenceDate(), expected, 1e-6) << s << " " << static_cast<int>(format);
    }
  }
}
