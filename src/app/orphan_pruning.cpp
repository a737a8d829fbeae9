#include "app/orphan_pruning.h"

#include "app/print.h"
#include "registry/cv_disk_manager.h"
#include "settings/resolution.h"

namespace {

// The registry as the defaults file holds it now, when that is a registry
// (a dictionary of data); nothing otherwise.
std::optional<CVDiskVolumeMap> storedRegistry(const CVDiskManager& manager) {
  const auto& defaults = manager.defaults();
  if (!defaults) return std::nullopt;
  auto stored = defaults->dictionaryForKey(manager.mapKey());
  if (!stored) return std::nullopt;
  CVDiskVolumeMap registry;
  for (const auto& [key, value] : *stored) {
    const auto* data = value.data();
    if (!data) return std::nullopt;
    registry.emplace(key, *data);
  }
  return registry;
}

}  // namespace

VolumeReferenceSet orphanedVolumeReferences(const VolumeReferenceResolver& resolver,
                                            const VolumeReferenceSet& documentReferences) {
  return resolver.knownVolumeReferences().subtracting(documentReferences);
}

void pruneOrphanedVolumeReferences(std::ostream& out, CVDiskManager& manager, const VolumeReferenceSet& orphans) {
  print(out, "Pruning orphaned GUIDs");
  if (orphans.empty()) return;
  for (const auto& orphan : orphans) {
    print(out, "Pruning GUID: " + orphan.guid().uuidString() + ", Name: \u201C" + orphan.name() + "\u201D");
  }
  // One write for all orphans gives the registry that one write per orphan
  // would leave. Saves still queued by this process go first, so that the
  // stored registry is also this process's latest.
  manager.waitForPendingSaves();
  auto registry = storedRegistry(manager).value_or(manager.map());
  for (const auto& orphan : orphans) registry.erase(orphan.guid().uuidString());
  manager.setMap(std::move(registry));
  manager.waitForPendingSaves();
}
