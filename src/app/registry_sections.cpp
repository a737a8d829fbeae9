// The sections of the known-volume registry: the table of its entries, the
// check for volumes under more than one GUID, and the GUIDs of the local
// disks that the settings report ends with.
#include "app/sections.h"
#include "registry/cv_disk_manager.h"
#include "volumes/cv_disk_volume.h"

void registryDump(ReportContext& context) {
  context.print("\nKnown Volume Registry\n");
  context.print(context.registry().guidMapDump(context.volumes()));
}

void registryDuplicates(ReportContext& context) {
  context.print("Checking for duplicates in known Volume Registry\n");
  context.print(context.registry().duplicatesDump().value_or(""));
}

void resolvableGUIDsForLocalDisks(ReportContext& context) {
  context.print("\nResolvable GUIDs for local disks");
  for (const auto& volume : CVDiskVolume::localDisks(context.volumes())) {
    auto guid = context.registry().GUIDForVolume(*volume, false);
    if (!guid) continue;
    context.print("  Volume UUID(" + volume->volumeUUIDString().value_or("no volume UUID!") + ") => GUID(" +
                      guid->uuidString() + ")\n    " + volume->description());
  }
}
