// The CVDiag command in process: its flags, their inverse forms and the
// version line.
#include <gtest/gtest.h>

#include <sstream>

#include "app/CVDiag.h"
#include "app/Sections.h"
#include "platform/Platform.h"
#include "platform/machine/MachinePlatform.h"

namespace {

using ArgumentParser::parseAsRoot;

std::shared_ptr<CVDiag> parseCVDiag(const std::vector<std::string>& arguments) {
  return std::dynamic_pointer_cast<CVDiag>(parseAsRoot<CVDiag>(arguments));
}

TEST(CVDiagFlags, DefaultsAreAllFalse) {
  auto command = parseCVDiag({});
  ASSERT_NE(command, nullptr);
  for (const auto* flag : {&command->allDiagnostics, &command->showLocalVolumesAndDisks,
                           &command->showKnownVolumeRegistery, &command->showDuplicateVolumeEntries,
                           &command->showVolumeReferencesFromSettingsDocs, &command->showDuplicateVolumeUUIDs,
                           &command->showDiskutilDisksAndVolumes, &command->showVersion, &command->pruneOrphans})
    EXPECT_FALSE(flag->value());
}

TEST(CVDiagFlags, EachNameSetsItsProperty) {
  auto command = parseCVDiag({"--local-volumes-and-disks", "--volume-registry", "--duplicate-volume-entries",
                              "--settings-volumes", "--duplicate-volume-UUIDs", "--disk-utility-entities",
                              "--version", "--prune-orphans"});
  EXPECT_FALSE(command->allDiagnostics.value());
  EXPECT_TRUE(command->showLocalVolumesAndDisks.value());
  EXPECT_TRUE(command->showKnownVolumeRegistery.value());
  EXPECT_TRUE(command->showDuplicateVolumeEntries.value());
  EXPECT_TRUE(command->showVolumeReferencesFromSettingsDocs.value());
  EXPECT_TRUE(command->showDuplicateVolumeUUIDs.value());
  EXPECT_TRUE(command->showDiskutilDisksAndVolumes.value());
  EXPECT_TRUE(command->showVersion.value());
  EXPECT_TRUE(command->pruneOrphans.value());
}

TEST(CVDiagFlags, TheLastOfAFlagAndItsInverseWins) {
  EXPECT_FALSE(parseCVDiag({"--settings-volumes", "--no-settings-volumes"})->showVolumeReferencesFromSettingsDocs.value());
  EXPECT_TRUE(parseCVDiag({"--no-settings-volumes", "--settings-volumes"})->showVolumeReferencesFromSettingsDocs.value());
  EXPECT_FALSE(parseCVDiag({"--all-diagnostics", "--no-all-diagnostics"})->allDiagnostics.value());
  auto mixed = parseCVDiag({"--no-all-diagnostics", "--volume-registry", "--volume-registry"});
  EXPECT_FALSE(mixed->allDiagnostics.value());
  EXPECT_TRUE(mixed->showKnownVolumeRegistery.value());
}

TEST(CVDiagFlags, CodingKeysAreThePropertyNames) {
  auto set = ArgumentParser::typeOf<CVDiag>()->argumentSet(ArgumentParser::ArgumentVisibility::private_);
  std::vector<std::string> keys;
  for (const auto& d : set)
    if (keys.empty() || keys.back() != d.help.keys.front().name) keys.push_back(d.help.keys.front().name);
  EXPECT_EQ(keys, (std::vector<std::string>{"allDiagnostics", "showLocalVolumesAndDisks", "showKnownVolumeRegistery",
                                            "showDuplicateVolumeEntries", "showVolumeReferencesFromSettingsDocs",
                                            "showDuplicateVolumeUUIDs", "showDiskutilDisksAndVolumes", "showVersion",
                                            "pruneOrphans"}));
  EXPECT_EQ(set.size(), 16u);  // seven pairs and two plain flags
  EXPECT_TRUE(ArgumentParser::typeOf<CVDiag>()->configuration().version.empty());
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

TEST(CVDiagRun, NoFlagPrintsNothingAndVersionPrintsTheLine) {
  installHostWith({{"CFBundleShortVersionString", "1"}, {"CurrentProjectVersion", "2"}, {"SourceVersion", "abc"}});
  std::ostringstream none;
  parseCVDiag({"--prune-orphans", "--no-all-diagnostics"})->run(none);
  EXPECT_EQ(none.str(), "");
  std::ostringstream version;
  parseCVDiag({"--version"})->run(version);
  EXPECT_EQ(version.str(), "Corvane Diagnostics version: 1 (2-abc), macOS " +
                               rootOperatingSystemText().value_or("") + "\n\n");
}

}  // namespace
