#pragma once
// What a settings volume reference points at now: the volume its GUID maps
// to, another known volume of the same name, or nothing, and by which rule.
// Each resolve reads the registry and asks the disks anew, so a result holds
// for that moment only.

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "settings/settings_volume_reference.h"
#include "volumes/volume_context.h"

class CVDiskManager;
class CVDiskVolume;
using CVDiskVolumeRef = std::shared_ptr<CVDiskVolume>;

// The four outcomes, in order of precedence.
enum class Resolution { knownVolumeMatchesIdentity, knownVolumeMatchesName, unknownVolumeGUID, unresolvable };

// The case's raw value ("GUID is not in registry").
std::string_view rawValue(Resolution resolution);
// The case's own name ("knownVolumeMatchesName"), as the report shows it.
std::string_view caseName(Resolution resolution);

// A reference with the volume it resolved to and how.
struct VolumeReferenceResolvable {
  SettingsVolumeReference reference;
  CVDiskVolumeRef volume;
  Resolution resolution;

  // Equal when the references are and the volumes are (both absent, or
  // equal volumes); the resolution takes no part, nor in the hash.
  friend bool operator==(const VolumeReferenceResolvable& a, const VolumeReferenceResolvable& b);
  std::uint64_t hash() const;
  // "<reference>, resolution: <case>\n\t<volume description>\n\tMedia UUID: <uuid>".
  std::string description() const;
};

// Resolves references against one registry, looking for volumes through one
// volume context. The references the registry knows are worked out from the
// state of the registry that was read last and kept while the registry stays
// in that state, so resolving the references of a thousand documents reads
// the remembered names once. Safe from any thread; the manager must outlive
// the resolver.
class VolumeReferenceResolver {
 public:
  VolumeReferenceResolver(const CVDiskManager& manager, VolumeContext volumes);
  VolumeReferenceResolver(const VolumeReferenceResolver&) = delete;
  VolumeReferenceResolver& operator=(const VolumeReferenceResolver&) = delete;

  // A reference for every registry entry whose key is a UUID and whose
  // bookmark holds a volume name (the name at the last registration), in
  // the registry's key order. Other entries make none.
  VolumeReferenceSet knownVolumeReferences() const;

  // The volume a reference leads to and by which rule. In this order: the
  // GUID's volume, if it has the reference's name, matches identity; a GUID
  // the registry doesn't hold is an unknown GUID (with the GUID's volume,
  // present only when its entry remembers no name); the first known
  // reference of the same name whose GUID finds a volume matches name;
  // anything else is unresolvable, with no volume.
  std::pair<CVDiskVolumeRef, Resolution> resolve(const SettingsVolumeReference& reference) const;

 private:
  struct Known;
  // The known references of the registry as it is now.
  std::shared_ptr<const Known> known() const;

  const CVDiskManager& manager_;
  const VolumeContext volumes_;
  mutable std::mutex mutex_;
  mutable std::shared_ptr<const Known> last_;
};
