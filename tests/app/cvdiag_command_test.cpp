// The CVDiag command in process: its flags, their inverse forms, the
// version line of a sparse information dictionary, and runs on two machines
// in one process.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>

#include "app/cv_diag.h"
#include "platform/platform.h"
#include "platform/machine/machine_platform.h"
#include "registry/cv_disk_manager.h"
#include "support/machine_builder.h"

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

// A value missing from the information dictionary, or one that is no text,
// is empty text; the punctuation around it stays.
TEST(VersionLine, MissingValuesAreEmptyAndThePunctuationStays) {
  platform::install(platform::machine::makeMachinePlatform(
      platform::machine::hostMachine(), {{"CurrentProjectVersion", "137"}, {"SourceVersion", platform::Value(7)}}));
  std::ostringstream out;
  parseCVDiag({"--version"})->run(out, *CVDiskManager::create());
  EXPECT_TRUE(std::regex_match(out.str(), std::regex("Corvane Diagnostics version:  \\(137-\\), macOS [^\n]*\n\n")))
      << out.str();
}

// Each run reads its own documents, registry and disks: what one run has
// read is never what the next run on another machine prints.
TEST(CVDiagRun, RunsOnTwoMachinesInOneProcessShareNothing) {
  auto command = parseCVDiag({"--settings-volumes"});
  for (const char* name : {"all_discrete", "group_by_name", "all_discrete"}) {
    testsupport::MachineBuilder machine("settings");
    const auto overlay = std::filesystem::path(CVDIAG_TEST_MACHINES) / "settings_cases" / name;
    std::filesystem::copy(overlay, machine.folder(),
                          std::filesystem::copy_options::recursive | std::filesystem::copy_options::overwrite_existing);
    // The documents' dates as the golden files have them (the host can't set a birth time).
    auto json = nlohmann::json::parse(std::ifstream(machine.folder() / "machine.json"));
    for (const auto& entry : std::filesystem::recursive_directory_iterator(overlay)) {
      if (entry.path().extension() != ".cvss") continue;
      json["files"]["/" + entry.path().lexically_relative(overlay).string()] = {
          {"created", {{"$date", "2025-03-01T09:30:00Z"}}}, {"modified", {{"$date", "2026-11-20T18:45:10Z"}}}};
    }
    machine.json(json);
    auto platform = machine.install();
    std::ostringstream out;
    command->run(out, *CVDiskManager::create());
    machine.expectGolden(std::string(name) + ".txt", out.str());
  }
}

}  // namespace
