#include "app/cv_diag.h"

#include <iostream>

#include "app/sections.h"
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

void CVDiag::run(std::ostream& out) const { run(out, CVDiskManager::sharedInstance()); }

void CVDiag::run(std::ostream& out, CVDiskManager& registry) const {
  ReportContext context(out, registry);
  const bool all = allDiagnostics;
  if (showVersion || all) versionLine(context);
  if (showLocalVolumesAndDisks || all) catalogueReport(context);
  if (showKnownVolumeRegistery || all) registryDump(context);
  if (showDuplicateVolumeEntries || all) registryDuplicates(context);
  if (showVolumeReferencesFromSettingsDocs || all) settingsConsistencyReport(context, *this);
  if (showDuplicateVolumeUUIDs || all) duplicateUUIDReport(context);
  if (showDiskutilDisksAndVolumes || all) diskutilEntityReport(context);
  context.writeResourceErrors();
}

void CVDiag::run() { run(std::cout); }
