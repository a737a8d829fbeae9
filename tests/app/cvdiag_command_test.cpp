// The CVDiag command in process: its flags, their inverse forms and the
// version line.
#include <gtest/gtest.h>

#include <sstream>

#include "app/cv_diag.h"
#include "app/sections.h"
#include "platform/platform.h"
#include "platform/machine/machine_platform.h"

namespace {

using ArgumentParser::parseAsRoot;

std::shared_ptr<CVDiag> parseCVDiag(const std::vector<std::string>& arguments) {
  return std::dynamic_pointer_cast<CVDiag>(parseAsRoot<CVDiag>(arguments));
}

// Each name sets its own property and no other; nothing is set by default.
TEST(CVDiagFlags, EachNameSetsOnlyItsProperty) {
  auto flags = [](const CVDiag& c) {
    return std::vector<bool>{c.allDiagnostics.value(), c.showLocalVolumesAndDisks.value(),
                             c.showKnownVolumeRegistery.value(), c.showDuplicateVolumeEntries.value(),
                             c.showVolumeReferencesFromSettingsDocs.value(), c.showDuplicateVolumeUUIDs.value(),
                             c.showDiskutilDisksAndVolumes.value(), c.showVersion.value(), c.pruneOrphans.value()};
  };
  const char* names[] = {"--all-diagnostics", "--local-volumes-and-disks", "--volume-registry",
                         "--duplicate-volume-entries", "--settings-volumes", "--duplicate-volume-UUIDs",
                         "--disk-utility-entities", "--version", "--prune-orphans"};
  EXPECT_EQ(flags(*parseCVDiag({})), std::vector<bool>(9, false));
  for (std::size_t i = 0; i < 9; ++i) {
    std::vector<bool> expected(9, false);
    expected[i] = true;
    EXPECT_EQ(flags(*parseCVDiag({names[i]})), expected) << names[i];
  }
}

TEST(CVDiagFlags, TheLastOfAFlagAndItsInverseWins) {
  EXPECT_FALSE(parseCVDiag({"--settings-volumes", "--no-settings-volumes"})->showVolumeReferencesFromSettingsDocs.value());
  EXPECT_TRUE(parseCVDiag({"--no-settings-volumes", "--settings-volumes"})->showVolumeReferencesFromSettingsDocs.value());
  EXPECT_FALSE(parseCVDiag({"--all-diagnostics", "--no-all-diagnostics"})->allDiagnostics.value());
  auto mixed = parseCVDiag({"--no-all-diagnostics", "--volume-registry", "--volume-registry"});
  EXPECT_FALSE(mixed->allDiagnostics.value());
  EXPECT_TRUE(mixed->showKnownVolumeRegistery.value());
}

void installHostWith(platform::Dictionary info) {
  platform::install(platform::machine::makeMachinePlatform(platform::machine::hostMachine(), std::move(info)));
}

TEST(VersionLine, ReadsTheThreeValuesOfTheInformationDictionary) {
  installHostWith({{"CFBundleShortVersionString", "3.12"},
                   {"CurrentProjectVersion", "137"},
                   {"SourceVersion", "de7ca4d"},
                   {"LSMinimumSystemVersion", "11.0"}});
  std::ostringstream out;
  versionLine(out);
  EXPECT_EQ(out.str(), "Corvane Diagnostics version: 3.12 (137-de7ca4d), macOS " +
                           rootOperatingSystemText().value_or("") + "\n\n");
}

TEST(VersionLine, MissingValuesAreEmptyAndThePunctuationStays) {
  installHostWith({{"CurrentProjectVersion", "137"}, {"SourceVersion", platform::Value(7)}});
  std::ostringstream out;
  versionLine(out);
  EXPECT_EQ(out.str(),
            "Corvane Diagnostics version:  (137-), macOS " + rootOperatingSystemText().value_or("") + "\n\n");
}

}  // namespace
