#include "platform/machine/property_list_codec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "platform/user_defaults.h"
#include "support/machine_builder.h"
#include "support/run_cvdiag.h"

using namespace platform;
using namespace platform::machine;

namespace {

const std::string kCorpusScript = std::string(CVDIAG_SOURCE_DIR) + "/tests/platform/machine/plist_corpus.py";

Result<Value> decode(std::string_view s) {
  return decodePropertyList(std::span(reinterpret_cast<const std::uint8_t*>(s.data()), s.size()));
}

std::string hex(std::string_view bytes) {
  std::string out;
  for (unsigned char c : bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    out += kDigits[c >> 4];
    out += kDigits[c & 15];
  }
  return out;
}

std::string unhex(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i + 1 < text.size(); i += 2) out.push_back(static_cast<char>(std::stoi(std::string(text.substr(i, 2)), nullptr, 16)));
  return out;
}

// The dump form of plist_corpus.py.
std::string dump(const Value& v) {
  switch (v.kind()) {
    case Value::Kind::String: return "s" + hex(*v.string());
    case Value::Kind::Boolean: return *v.boolean() ? "T" : "F";
    case Value::Kind::Integer: return "i" + std::to_string(*v.asInt64());
    case Value::Kind::Unsigned: return "i" + std::to_string(*v.asUInt64());
    case Value::Kind::Real: {
      double d = *v.asDouble();
      std::uint64_t bits;
      std::memcpy(&bits, &d, 8);
      char text[17];
      std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(bits));
      return std::string("r") + text;
    }
    case Value::Kind::DateTime: {
      // Microseconds, as python's date arithmetic rounds them.
      const double s = v.date()->secondsSinceReferenceDate(), whole = std::floor(s);
      return "d" + std::to_string(static_cast<std::int64_t>(whole) * 1000000 + std::llround((s - whole) * 1e6));
    }
    case Value::Kind::Data: return "x" + hex(v.data()->asStringView());
    case Value::Kind::Uid: return "u" + std::to_string(v.uid()->value);
    case Value::Kind::List: {
      std::string out = "[";
      for (const auto& e : *v.array()) out += (out.size() > 1 ? "," : "") + dump(e);
      return out + "]";
    }
    case Value::Kind::Map: {
      std::string out = "{";
      for (const auto& [k, e] : *v.dictionary()) out += (out.size() > 1 ? "," : "") + dump(Value(k)) + ":" + dump(e);
      return out + "}";
    }
    default: return "?";
  }
}

// A binary list of the given objects (hexadecimal, one-byte references),
// the first one the top.
std::string bplist(const std::vector<std::string>& objects) {
  std::string out = "bplist00", table;
  for (const auto& o : objects) {
    table.push_back(static_cast<char>(out.size()));
    out += unhex(o);
  }
  const auto at = static_cast<char>(out.size());
  return out + table + std::string(6, '\0') + "\x01\x01" + std::string(7, '\0') +
         static_cast<char>(objects.size()) + std::string(15, '\0') + at;
}

// `depth` nested arrays with four-byte offsets and references.
std::string nestedBinary(std::uint32_t depth) {
  std::string out = "bplist00";
  auto put = [&out](std::uint64_t value, int bytes) {
    for (int i = bytes; i-- > 0;) out.push_back(static_cast<char>(value >> (8 * i)));
  };
  for (std::uint32_t i = 0; i + 1 < depth; ++i) out.push_back('\xA1'), put(i + 1, 4);
  out.push_back('\xA0');
  const std::uint64_t table = out.size();
  for (std::uint32_t i = 0; i < depth; ++i) put(8 + 5 * i, 4);
  put(0, 6), put(0x0404, 2), put(depth, 8), put(0, 8), put(table, 8);
  return out;
}

std::string nestedXML(std::size_t depth) {
  std::string s = "<plist version=\"1.0\">";
  for (std::size_t i = 0; i < depth; ++i) s += "<array>";
  for (std::size_t i = 0; i < depth; ++i) s += "</array>";
  return s + "</plist>";
}

std::string golden(const std::string& name) {
  return cvdiag_test::readFile(std::string(CVDIAG_SOURCE_DIR) + "/tests/platform/golden/" + name);
}

std::string plist(const std::string& body) { return "<plist version=\"1.0\">" + body + "</plist>"; }

class Corpus : public ::testing::Test {
 protected:
  void SetUp() override {
    auto result = cvdiag_test::runProgram("/usr/bin/python3", {kCorpusScript, "generate", folder.folder().string()});
    ASSERT_EQ(result.status, 0) << result.err;
    for (const auto& entry : std::filesystem::directory_iterator(folder.folder()))
      if (entry.path().extension() == ".xml" || entry.path().extension() == ".binary") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    ASSERT_EQ(files.size(), 16u);
  }
  testsupport::MachineBuilder folder;
  std::vector<std::filesystem::path> files;
};

}  // namespace

TEST_F(Corpus, EveryEdgeValueReadsAsAnIndependentWriterWroteIt) {
  for (const auto& file : files) {
    auto value = readPropertyListFile(file);
    ASSERT_TRUE(value) << file << ": " << value.error().localizedDescription;
    EXPECT_EQ(dump(*value) + "\n", cvdiag_test::readFile(file.string() + ".expected")) << file.filename();
  }
}

TEST_F(Corpus, ARegistryWriteKeepsEveryOtherKeyAsAnIndependentReaderSeesIt) {
  const std::string domain = "/Users/user/Library/Preferences/com.tamarlin.Corvane.plist";
  for (const auto& file : files) {
    testsupport::MachineBuilder m;
    m.file(domain, cvdiag_test::readFile(file));
    auto defaults = m.platform().userDefaults->initWithSuiteName("com.tamarlin.Corvane");
    ASSERT_TRUE(defaults->setObject(Dictionary{{"A0000000-0000-4000-8000-000000000001", Bytes::fromString("b")}},
                                    "CVDiskKnownVolumes"));
    auto seen = cvdiag_test::runProgram("/usr/bin/python3", {kCorpusScript, "compare", file.stem().string(),
                                                             file.extension().string().substr(1),
                                                             m.hostPath(domain).string(), "CVDiskKnownVolumes"});
    EXPECT_EQ(seen.out + seen.err, "same\n") << file.filename();
  }
}

TEST(PropertyListCodecTest, TheBinaryWriterLaysObjectsOutAsThePlatformDoes) {
  // Dictionary keys before values; equal leaves shared; integers in the
  // fewest bytes, negative in eight, above 2^63-1 in sixteen; UTF-16 text
  // where ASCII won't do; one-byte offsets and references for a small list.
  const std::pair<Value, std::string> cases[] = {
      {Dictionary{{"a", 1}},
       "62706c6973743030" "d10102" "5161" "1001" "080b0d" "000000000000" "0101" "0000000000000003"
       "0000000000000000" "000000000000000f"},
      {Array{Value(18446744073709551615ull), -1, "\xC3\xA9", "a", "a", Date::fromReferenceDate(0)},
       "62706c6973743030" "a6010203040405" "14" "0000000000000000" "ffffffffffffffff" "13ffffffffffffffff" "6100e9"
       "5161" "330000000000000000" "080f20292c2e" "000000000000" "0101" "0000000000000006" "0000000000000000"
       "0000000000000037"},
  };
  for (const auto& [value, expected] : cases) {
    auto bytes = encodePropertyList(value, PropertyListFormat::Binary);
    ASSERT_TRUE(bytes);
    EXPECT_EQ(hex(bytes->asStringView()), expected);
  }
}

TEST(PropertyListCodecTest, TheXMLWriterWritesEveryKindAsItReadsBack) {
  Value value(Dictionary{{"d", Date::fromReferenceDate(63113904000.5)}, {"e", Array{}}, {"n", UID{3}},
                         {"r", 0.0001}, {"s", "a<b&"}, {"u", 18446744073709551615ull}, {"x", Bytes::fromString("\x01\x02")},
                         {"m", -9223372036854775807ll - 1}, {"f", -std::numeric_limits<double>::infinity()}});
  auto bytes = encodePropertyList(value, PropertyListFormat::XML);
  ASSERT_TRUE(bytes);
  EXPECT_EQ(bytes->asStringView(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
            "\t<key>d</key>\n\t<date>4001-01-01T00:00:00Z</date>\n\t<key>e</key>\n\t<array/>\n"
            "\t<key>f</key>\n\t<real>-infinity</real>\n\t<key>m</key>\n\t<integer>-9223372036854775808</integer>\n"
            "\t<key>n</key>\n\t<dict>\n\t\t<key>CF$UID</key>\n\t\t<integer>3</integer>\n\t</dict>\n"
            "\t<key>r</key>\n\t<real>0.0001</real>\n\t<key>s</key>\n\t<string>a&lt;b&amp;</string>\n"
            "\t<key>u</key>\n\t<integer>18446744073709551615</integer>\n\t<key>x</key>\n\t<data>AQI=</data>\n"
            "</dict>\n</plist>\n");
  // Read back, the date keeps its whole second; everything else is as it was.
  auto back = decodePropertyList(bytes->bytes());
  ASSERT_TRUE(back);
  Dictionary expected = *value.dictionary();
  expected["d"] = Date::fromReferenceDate(63113904000.0);
  EXPECT_EQ(dump(*back), dump(expected));
}

TEST(PropertyListCodecTest, ReadsTheXMLSyntaxThePlatformReads) {
  const std::pair<std::string, Value> cases[] = {
      {plist("<string>&lt;&amp;&gt;&quot;&apos; &#65;&#x42;&#xD83D;&#xDE00;</string>"), "<&>\"' AB\xF0\x9F\x98\x80"},
      {plist("<string><![CDATA[<x>&]]>a<!-- <y> -->b</string>"), "<x>&ab"},
      {plist("<string>a&#0;b\r\n</string>"), std::string("a\0b\r\n", 5)},
      {plist("<string/>"), ""},
      {plist("<integer> -0x10 </integer>"), -16},
      {plist("<integer>18446744073709551615</integer>"), 18446744073709551615ull},
      {plist("<integer>-9223372036854775808</integer>"), -9223372036854775807ll - 1},
      {plist("<real>1e-4</real>"), 0.0001},
      {plist("<real>-Infinity</real>"), -std::numeric_limits<double>::infinity()},
      {plist("<date>1600-01-01T00:00:00Z</date>"), Date::fromReferenceDate(-12654403200.0)},
      {plist("<date>2024-03Z</date>"), Date::fromReferenceDate(730944000.0)},
      {plist("<data>AAEC\n\t/w==</data>"), Bytes(std::vector<std::uint8_t>{0, 1, 2, 255})},
      {plist("<true></true>"), true},
      {plist("<dict><key>CF$UID</key><integer>7</integer></dict>"), UID{7}},
      {plist("<dict><key>a</key><integer>1</integer><key>a</key><false/><key/><dict/></dict>"),
       Dictionary{{"a", false}, {"", Dictionary{}}}},
      {"\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<!DOCTYPE plist [ <!ENTITY x \"]>\"> ]>\n<!-- c -->" + plist("<array/>") + "\n",
       Array{}},
      {"<array>\n <true/> <!-- c --> <false/>\n</array>", Array{true, false}},
      {golden("hand-written.plist"), Dictionary{{"ProductVersion", "14.2.1"}, {"Offset", -12}, {"Empty", Array{}},
                                                {"When", Date::fromReferenceDate(730980000.0)}, {"Escaped", "a & b <c>"}}},
      // Another writer's binary list: keys and values shared, one-byte references, UTF-16 text.
      {golden("shared-values.bplist"), Array(3, Dictionary{{"Name", "D\xc3\xa9j\xc3\xa0 \xf0\x9f\x92\xbe"}})},
  };
  for (const auto& [text, expected] : cases) {
    auto v = decode(text);
    ASSERT_TRUE(v) << text << ": " << v.error().localizedDescription;
    EXPECT_EQ(dump(*v), dump(expected)) << text;
  }
  EXPECT_TRUE(std::isnan(*decode(plist("<real>nan</real>"))->asDouble()));
}

TEST(PropertyListCodecTest, MalformedLyingAndHostileInputIsRefused) {
  std::vector<std::string> chain;  // each array holds the next twice: 2^60 values
  for (int i = 0; i < 60; ++i) chain.push_back("a2" + hex(std::string(2, static_cast<char>(i + 1))));
  chain.push_back("a0");
  const std::string good = bplist({"a101", "5161"});
  ASSERT_TRUE(decode(good));
  std::string lying = good;
  lying[lying.size() - 33] = '\x40';  // the string's offset points into the offset table
  const std::string refused[] = {
      "", "bplist00", "not a property list", plist(""), plist("<true/><false/>"), plist("<true/>") + "x",
      plist("<dict><key>a</key></dict>"), plist("<dict><string>v</string></dict>"), plist("<foo/>"),
      plist("<integer>12a</integer>"), plist("<integer/>"), plist("<integer>18446744073709551616</integer>"),
      plist("<integer>-9223372036854775809</integer>"), plist("<string>a</plist>"),
      plist("<array><string>a</string></dict>"), plist("<string>\xFF</string>"), plist("<real>1.5x</real>"),
      plist("<date>2024-13-01T00:00:00Z</date>"), plist("<date>24-01-01T00:00:00Z</date>"),
      plist("<data>A!==</data>"), plist("<string>&bogus;</string>"), plist("<string>&#xD800;</string>"),
      plist("<true>x</true>"), plist("<array>text</array>"), plist("<key>k</key>"), nestedXML(kMaxPropertyListDepth + 1),
      nestedXML(200000), nestedBinary(kMaxPropertyListDepth + 1), nestedBinary(100000), lying,
      bplist({"a100"}), bplist({"a105"}), bplist({"d10102", "1001", "1002"}), bplist({"14" + std::string(15, '0') + "1" + std::string(16, '0')}),
      bplist({"5180"}), bplist({"61d800"}), bplist({"70"}), bplist({"c0"}), bplist({"00"}), bplist(chain),
      golden("cycle.bplist"),
  };
  for (const auto& r : refused) {
    auto v = decode(r);
    EXPECT_FALSE(v) << hex(r.substr(0, 60));
    if (!v) {
      EXPECT_EQ(v.error().code, 3840);
    }
  }
  for (std::size_t n = 0; n < good.size(); ++n) EXPECT_FALSE(decode(good.substr(0, n))) << n;
  EXPECT_TRUE(decode(nestedBinary(kMaxPropertyListDepth)));
  EXPECT_TRUE(decode(nestedXML(kMaxPropertyListDepth)));

  Value deep = Array{};
  for (std::size_t i = 0; i < kMaxPropertyListDepth; ++i) deep = Array{deep};
  EXPECT_FALSE(encodePropertyList(deep, PropertyListFormat::Binary));
  EXPECT_FALSE(encodePropertyList(Value("bad \xFF utf8"), PropertyListFormat::XML));
}
