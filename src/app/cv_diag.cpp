#include "app/cv_diag.h"

#include <iostream>

#include "app/sections.h"
#include "platform/system_unreadable.h"
#include "registry/cv_disk_manager.h"

using ArgumentParser::CommandConfiguration;
using ArgumentParser::Declarations;

CommandConfiguration CVDiag::configuration() {
  return {.commandName = "CVDiag", .abstract = "Tamarlin diagnostics tool for Corvane"};
}

void CVDiag::declare(Declarations<CVDiag>& d) {
  d("allDiagnostics", &CVDiag::allDiagnostics)                                //
      ("showLocalVolumesAndDisks", &CVDiag::showLocalVolumesAndDisks)          //
      ("showKnownVolumeRegistery", &CVDiag::showKnownVolumeRegistery)          //
      ("showDuplicateVolumeEntries", &CVDiag::showDuplicateVolumeEntries)      //
      ("showVolumeReferencesFromSettingsDocs", &CVDiag::showVolumeReferencesFromSettingsDocs)  //
      ("showDuplicateVolumeUUIDs", &CVDiag::showDuplicateVolumeUUIDs)          //
      ("showDiskutilDisksAndVolumes", &CVDiag::showDiskutilDisksAndVolumes)    //
      ("showVersion", &CVDiag::showVersion)                                    //
      ("pruneOrphans", &CVDiag::pruneOrphans);
}

void CVDiag::run(std::ostream& out) const {
  ReportContext context(out, []() -> CVDiskManager& { return CVDiskManager::sharedInstance(); });
  run(context);
}

void CVDiag::run(std::ostream& out, CVDiskManager& registry) const {
  ReportContext context(out, registry);
  run(context);
}

void CVDiag::run(ReportContext& context) const {
  const bool all = allDiagnostics;
  // Every section but the version line reads the attached media: they are
  // walked before anything is printed (the context keeps the walk for the
  // sections), so that a Mac whose media cannot be read ends the run before
  // half a report stands.
  if (all || showLocalVolumesAndDisks || showKnownVolumeRegistery || showDuplicateVolumeEntries ||
      showVolumeReferencesFromSettingsDocs || showDuplicateVolumeUUIDs || showDiskutilDisksAndVolumes)
    (void)context.volumes().mediaWalk();
  if (showVersion || all) versionLine(context);
  if (showLocalVolumesAndDisks || all) catalogueReport(context);
  if (showKnownVolumeRegistery || all) registryDump(context);
  if (showDuplicateVolumeEntries || all) registryDuplicates(context);
  if (showVolumeReferencesFromSettingsDocs || all) settingsConsistencyReport(context, *this);
  if (showDuplicateVolumeUUIDs || all) duplicateUUIDReport(context);
  if (showDiskutilDisksAndVolumes || all) diskutilEntityReport(context);
  context.writeResourceErrors();
}

void CVDiag::run() {
  try {
    run(std::cout);
  } catch (const platform::SystemUnreadable& e) {
    // As when the system cannot be read at start: one line, status 1.
    std::cout.flush();
    std::cerr << "CVDiag: " << e.what() << '\n';
    throw ArgumentParser::ExitCode::failure();
  }
}
