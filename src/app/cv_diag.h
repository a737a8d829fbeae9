#pragma once
// The tool's one command: nine flags decide which report sections run.

#include <ostream>

#include "argument_parser/argument_parser.h"

class CVDiskManager;
class ReportContext;

struct CVDiag : ArgumentParser::ParsableCommand {
  using Flag = ArgumentParser::Flag<bool>;

  Flag allDiagnostics = invertible("all-diagnostics", "Run all diagnostics");
  Flag showLocalVolumesAndDisks =
      invertible("local-volumes-and-disks", "Show all local volumes and disks currently attached");
  Flag showKnownVolumeRegistery =
      invertible("volume-registry", "Show all the volumes currently in Corvane's volume registry");
  Flag showDuplicateVolumeEntries =
      invertible("duplicate-volume-entries", "Show volumes associated with more than one GUID");
  Flag showVolumeReferencesFromSettingsDocs =
      invertible("settings-volumes", "Show volumes referenced by the Corvane settings documents");
  Flag showDuplicateVolumeUUIDs = invertible("duplicate-volume-UUIDs", "Show all volumes with duplicated UUIDs");
  Flag showDiskutilDisksAndVolumes =
      invertible("disk-utility-entities", "Show Disk Utility's local disks and volumes");
  Flag showVersion{false, {.name = ArgumentParser::NameSpecification::customLong("version"),
                           .help = "Display the version"}};
  Flag pruneOrphans{false, {.help = "Prune orphaned GUIDs from Volume Registry"}};

  static ArgumentParser::CommandConfiguration configuration();
  static void declare(ArgumentParser::Declarations<CVDiag>& d);

  // The report sections that the flags select, in their fixed order, over
  // the process's registry (started only when a section reads it).
  void run(std::ostream& out) const;
  // The same over another registry (one made for a test, say).
  void run(std::ostream& out, CVDiskManager& registry) const;
  // The same in a context the caller made, which keeps what the sections
  // worked out (the media walk, the resolved references) for its next use.
  void run(ReportContext& context) const;
  void run() override;

 private:
  // A flag with a custom long name and its "no-" form; the last one given wins.
  static Flag invertible(const char* name, const char* help) {
    return Flag(false, {.name = ArgumentParser::NameSpecification::customLong(name),
                        .inversion = ArgumentParser::FlagInversion::prefixedNo,
                        .exclusivity = ArgumentParser::FlagExclusivity::chooseLast,
                        .help = help});
  }
};
