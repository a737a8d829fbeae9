#include "text/text.h"

#include <gtest/gtest.h>

namespace {

const std::string kFamily = "\U0001F468\u200D\U0001F469\u200D\U0001F467";  // man, woman and girl, joined

}  // namespace

TEST(TextTest, EveryByteThatIsNotUTF8StandsAsOneReplacementCharacter) {
  const std::string mixed("nul\0Gr\u00FC\u00DFe \U0001F600", 16);
  const std::tuple<std::string, bool, std::string> cases[] = {
      {"", true, ""}, {mixed, true, mixed}, {"ok\x80", false, "ok\uFFFD"}, {"cut \xE2\x82", false, "cut \uFFFD\uFFFD"},
      {"\xC0\xAF|\xED\xA0\x80", false, "\uFFFD\uFFFD|\uFFFD\uFFFD\uFFFD"},  // overlong, surrogate
      {"\xF4\x90\x80\x80", false, "\uFFFD\uFFFD\uFFFD\uFFFD"}, {"caf\xE9", false, "caf\uFFFD"}};
  for (const auto& [bytes, valid, replaced] : cases) {
    EXPECT_EQ(text::isValidUTF8(bytes), valid) << bytes;
    EXPECT_EQ(text::replacingInvalidUTF8(bytes), replaced) << bytes;
  }
  EXPECT_EQ(text::decodeAt(mixed, 12)->byteLength, 4u);
}

TEST(TextTest, CharactersAreExtendedGraphemeClusters) {
  const std::pair<std::string, std::vector<std::string_view>> cases[] = {
      {"", {}}, {"ab", {"a", "b"}}, {"Cafe\u0301", {"C", "a", "f", "e\u0301"}}, {kFamily + "!", {kFamily, "!"}},
      {"\U0001F1EB\U0001F1F7\U0001F1E9\U0001F1EA", {"\U0001F1EB\U0001F1F7", "\U0001F1E9\U0001F1EA"}},  // two flags
      {"\r\n\n", {"\r\n", "\n"}}, {"\u1100\u1161\u11A8\u1100", {"\u1100\u1161\u11A8", "\u1100"}},  // conjoining jamo
      {"a\xFF\u0301\xFE", {"a", "\xFF", "\u0301", "\xFE"}}};  // an accent after an invalid byte stands alone
  for (const auto& [sample, characters] : cases) {
    EXPECT_EQ(text::characters(sample), characters) << sample;
    EXPECT_EQ(text::characterCount(sample), characters.size()) << sample;
  }
  EXPECT_EQ(text::droppingFirstCharacters("Cafe\u0301s", 3), "e\u0301s");
  EXPECT_EQ(text::droppingFirstCharacters(kFamily + "\xFF" "b", 2), "b");
  EXPECT_EQ(text::droppingFirstCharacters("ab", 7), "");
}

TEST(TextTest, PadsAndCutsByUTF16CodeUnitsEvenInsideACharacter) {
  const std::tuple<std::string, std::size_t, std::size_t, std::string> cases[] = {
      {"", 0, 3, "..."}, {"Cafe\u0301", 5, 7, "Cafe\u0301.."}, {"Cafe\u0301", 5, 4, "Cafe"},
      {"\U0001F4F7", 2, 2, "\U0001F4F7"}, {"ab\U0001F4F7c", 5, 3, "ab\uFFFD"},  // cut between the surrogates
      {kFamily, 8, 9, kFamily + "."}, {kFamily, 8, 4, "\U0001F468\u200D\uFFFD"},
      {"caf\xE9", 4, 5, "caf\uFFFD."}, {"Name", 4, 0, ""}};
  for (const auto& [sample, utf16Length, length, padded] : cases) {
    EXPECT_EQ(text::utf16Length(sample), utf16Length) << sample;
    EXPECT_EQ(text::paddedToUTF16Length(sample, length, '.'), padded) << sample << " to " << length;
  }
}

TEST(TextTest, MapsCaseAndDecomposesCanonically) {
  const std::tuple<std::string, std::string, std::string, std::string> cases[] = {
      {"Ab-1", "ab-1", "AB-1", "Ab-1"},
      {"\u00C9t\u00E9", "\u00E9t\u00E9", "\u00C9T\u00C9", "E\u0301te\u0301"},
      {"\u212B", "\u00E5", "\u212B", "A\u030A"},             // the angstrom sign
      {"\uD55C", "\uD55C", "\uD55C", "\u1112\u1161\u11AB"},  // a Hangul syllable
      {"a\u0307\u0323", "a\u0307\u0323", "A\u0307\u0323", "a\u0323\u0307"},  // marks put in canonical order
      {std::string("\0\u00E9", 3), std::string("\0\u00E9", 3), std::string("\0\u00C9", 3), std::string("\0e\u0301", 4)},
      {"\u00E9\xFF", "\u00E9\xFF", "\u00C9\xFF", "\u00E9\xFF"}};  // not UTF-8: left as it is
  for (const auto& [sample, lowercased, uppercased, decomposed] : cases) {
    EXPECT_EQ(text::lowercased(sample), lowercased) << sample;
    EXPECT_EQ(text::uppercased(sample), uppercased) << sample;
    EXPECT_EQ(text::canonicalDecomposition(sample), decomposed) << sample;
  }
  EXPECT_TRUE(text::isUppercaseLetter(U'\u00C9') && text::isLowercaseLetter(U'\u00E9'));
  EXPECT_FALSE(text::isUppercaseLetter(U'1') || text::isLowercaseLetter(U'1') || text::isLowercaseLetter(U'E'));
}
