#pragma once
// Registry entries that no settings document refers to any more, and their
// removal. An entry is an orphan when the pair of its GUID and remembered
// volume name is not among the documents' references; an entry whose key is
// no UUID or whose bookmark remembers no name is never one.

#include <ostream>

#include "settings/settings_volume_reference.h"

class CVDiskManager;
class VolumeReferenceResolver;

// The resolver's known references minus the documents' references, in
// registry order.
VolumeReferenceSet orphanedVolumeReferences(const VolumeReferenceResolver& resolver,
                                            const VolumeReferenceSet& documentReferences);

// Removes every orphan's entry from the registry. Prints "Pruning orphaned
// GUIDs" and one "Pruning GUID: …" line per orphan, in the set's order. The
// registry is written once, and only when there is an orphan; the call
// returns when the new registry is in the defaults file. The entries are
// taken out of the registry as it is stored at that moment, so entries
// that another writer added meanwhile are kept.
void pruneOrphanedVolumeReferences(std::ostream& out, CVDiskManager& manager, const VolumeReferenceSet& orphans);
