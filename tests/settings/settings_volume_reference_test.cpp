// Names under canonical equivalence, and document names cut by characters.
#include <gtest/gtest.h>

#include "settings/settings_reference.h"

TEST(SettingsVolumeReferenceTest, NamesCompareUnderCanonicalEquivalenceWithCase) {
  struct Row { const char* a; const char* b; bool equal; };
  for (const Row& row : std::initializer_list<Row>{{"Caf\u00E9", "Cafe\u0301", true},
                                                   {"\uD55C", "\u1112\u1161\u11AB", true},  // a Hangul syllable
                                                   {"Backup", "backup", false}, {"Caf\u00E9", "Cafe", false},
                                                   {"\xE9t\xE9", "\xE9t\xE9", true}, {"\xE9", "\u00E9", false}}) {
    SettingsVolumeReference a(platform::UUID(), row.a), b(platform::UUID(), row.b);
    EXPECT_EQ(a == b, row.equal) << row.a << " / " << row.b;
  }
}

TEST(SettingsReferenceTest, DocumentNameDropsTheFolderByCharacters) {
  const std::string folder = "/Users/ada/Library/Application Support/Corvane!";
  for (const auto& [document, name] : std::initializer_list<std::pair<std::string, const char*>>{
           {folder + "/Caf\xE9.cvsp/S", "Caf\uFFFD.cvsp"},
           {folder + "/\u0301x.cvsp/S", "x.cvsp"},  // a combining mark joins the "/" before it
           {"/short/S", ""}})
    EXPECT_EQ((SettingsReference{platform::URL::fileURLWithPath(document, false), {}, {}, {}}.documentName(folder)), name);
}
