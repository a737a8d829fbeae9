#include "app/cv_diag.h"

#include <iostream>

#include "app/sections.h"
#include "volumes/resource_errors.h"

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
  ResourceErrorReport resourceErrors(out);
  const bool all = allDiagnostics;
  if (showVersion || all) versionLine(out);
  if (showLocalVolumesAndDisks || all) catalogueReport(out);
  if (showKnownVolumeRegistery || all) registryDump(out);
  if (showDuplicateVolumeEntries || all) registryDuplicates(out);
  if (showVolumeReferencesFromSettingsDocs || all) settingsConsistencyReport(out, *this);
  if (showDuplicateVolumeUUIDs || all) duplicateUUIDReport(out);
  if (showDiskutilDisksAndVolumes || all) diskutilEntityReport(out);
}

void CVDiag::run() { run(std::cout); }
