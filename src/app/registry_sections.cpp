// The sections of the known-volume registry: the table of its entries, the
// check for volumes under more than one GUID, and the GUIDs of the local
// disks that the settings report ends with.
#include "app/print.h"
#include "app/sections.h"
#include "registry/cv_disk_manager.h"
#include "volumes/cv_disk_volume.h"

void registryDump(std::ostream& out) {
  auto& manager = CVDiskManager::sharedInstance();
  print(out, "\nKnown Volume Registry\n");
  print(out, manager.guidMapDump());
}

void registryDuplicates(std::ostream& out) {
  auto& manager = CVDiskManager::sharedInstance();
  print(out, "Checking for duplicates in known Volume Registry\n");
  print(out, manager.duplicatesDump().value_or(""));
}

void resolvableGUIDsForLocalDisks(std::ostream& out) {
  resolvableGUIDsForLocalDisks(out, CVDiskManager::sharedInstance());
}

void resolvableGUIDsForLocalDisks(std::ostream& out, CVDiskManager& manager) {
  print(out, "\nResolvable GUIDs for local disks");
  for (const auto& volume : CVDiskVolume::localDisks()) {
    auto guid = manager.GUIDForVolume(*volume, false);
    if (!guid) continue;
    print(out, "  Volume UUID(" + volume->volumeUUIDString().value_or("no volume UUID!") + ") => GUID(" +
                   guid->uuidString() + ")\n    " + volume->description());
  }
}
