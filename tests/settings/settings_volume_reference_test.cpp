// Names under canonical equivalence, the ordered reference set, document
// names and the texts of the resolution cases.
#include <gtest/gtest.h>

#include "settings/resolution.h"
#include "settings/settings_reference.h"
#include "settings/settings_volume_reference.h"

namespace {

SettingsVolumeReference reference(int n, std::string name) {
  std::array<std::uint8_t, 16> bytes{};
  bytes[15] = static_cast<std::uint8_t>(n);
  return SettingsVolumeReference(platform::UUID(bytes), std::move(name));
}

}  // namespace

TEST(SettingsVolumeReferenceTest, NamesCompareUnderCanonicalEquivalenceWithCase) {
  struct Row { const char* a; const char* b; bool equal; };
  for (const Row& row : std::initializer_list<Row>{{"Caf\u00E9", "Cafe\u0301", true},
                                                   {"\uD55C", "\u1112\u1161\u11AB", true},  // a Hangul syllable
                                                   {"Backup", "backup", false},
                                                   {"Caf\u00E9", "Cafe", false},
                                                   {"\xE9t\xE9", "\xE9t\xE9", true},
                                                   {"\xE9", "\u00E9", false}}) {
    EXPECT_EQ(namesAreEquivalent(row.a, row.b), row.equal) << row.a << " / " << row.b;
    EXPECT_EQ(reference(1, row.a) == reference(1, row.b), row.equal) << row.a << " / " << row.b;
  }
  EXPECT_FALSE(reference(1, "Backup") == reference(2, "Backup"));
  EXPECT_EQ(reference(1, "Caf\u00E9").description(),
            "GUID: 00000000-0000-0000-0000-000000000001, Name: \u201CCaf\u00E9\u201D");
}

TEST(SettingsVolumeReferenceTest, TheSetKeepsFirstInsertionOrderAndSubtractsPairs) {
  VolumeReferenceSet set;
  for (auto r : {reference(3, "C"), reference(1, "Caf\u00E9"), reference(1, "Cafe\u0301"), reference(2, "B"),
                 reference(1, "Other")})
    set.insert(r);
  VolumeReferenceSet other;
  other.insert(reference(2, "B"));
  other.insert(reference(3, "not C"));
  std::vector<std::string> left;
  for (const auto& r : set.subtracting(other)) left.push_back(r.description().substr(44));
  EXPECT_EQ(left, (std::vector<std::string>{"Name: \u201CC\u201D", "Name: \u201CCaf\u00E9\u201D",
                                            "Name: \u201COther\u201D"}));
}

TEST(SettingsReferenceTest, DocumentNameDropsTheFolderByCharacters) {
  const std::string folder = "/Users/ada/Library/Application Support/Corvane!";
  struct Row { std::string document; const char* name; };
  for (const Row& row : std::initializer_list<Row>{
           {folder + "/Nightly.cvsp/Session Settings.cvss", "Nightly.cvsp"},
           {folder + "/Archive/Photos 2023.cvsp/Session Settings.cvss", "Archive/Photos 2023.cvsp"},
           {folder + "/Caf\xE9.cvsp/Session Settings.cvss", "Caf\uFFFD.cvsp"},
           // A combining mark joins the "/" before it: that character goes.
           {folder + "/\u0301x.cvsp/Session Settings.cvss", "x.cvsp"},
           {"/short/S.cvss", ""}}) {
    SettingsReference document{platform::URL::fileURLWithPath(row.document, false), {}, {}, {}};
    EXPECT_EQ(document.documentName(folder), row.name) << row.document;
  }
}

TEST(ResolutionTest, RawValuesAndCaseNames) {
  for (auto r : {Resolution::knownVolumeMatchesIdentity, Resolution::knownVolumeMatchesName,
                 Resolution::unknownVolumeGUID, Resolution::unresolvable})
    EXPECT_EQ(resolutionFromRawValue(rawValue(r)), r) << caseName(r);
  EXPECT_EQ(rawValue(Resolution::unresolvable), "No volume found by GUID or Name");
  EXPECT_EQ(caseName(Resolution::knownVolumeMatchesName), "knownVolumeMatchesName");
  EXPECT_FALSE(resolutionFromRawValue("GUID is not in registry ").has_value());
}
