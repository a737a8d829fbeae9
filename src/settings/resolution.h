#pragma once
// What a settings volume reference points at now: the volume its GUID maps
// to, another known volume of the same name, or nothing, and by which rule.
// Each resolve reads the registry and asks the disks anew, so a result holds
// for that moment only.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "settings/settings_volume_reference.h"

class CVDiskManager;
class CVDiskVolume;
using CVDiskVolumeRef = std::shared_ptr<CVDiskVolume>;

// The four outcomes, in order of precedence. The raw value is also the
// display text.
enum class Resolution { knownVolumeMatchesIdentity, knownVolumeMatchesName, unknownVolumeGUID, unresolvable };

std::string_view rawValue(Resolution resolution);
// The case's own name ("knownVolumeMatchesName").
std::string_view caseName(Resolution resolution);
// The case of a raw value; nothing for any other text.
std::optional<Resolution> resolutionFromRawValue(std::string_view raw);

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

// A reference for every registry entry whose key is a UUID and whose
// bookmark holds a volume name (the name at the last registration), in the
// registry's key order. Other entries make none.
VolumeReferenceSet knownVolumeReferences(const CVDiskManager& manager);

// The volume a reference leads to and by which rule:
//  1. the GUID's volume, if it has the reference's name: matches identity;
//  2. else, a GUID the registry doesn't hold: unknown GUID (with the GUID's
//     volume, present only when its entry remembers no name);
//  3. else the first known reference of the same name whose GUID finds a
//     volume: matches name;
//  4. else nothing: unresolvable.
std::pair<CVDiskVolumeRef, Resolution> resolve(const SettingsVolumeReference& reference, const CVDiskManager& manager);
std::pair<CVDiskVolumeRef, Resolution> resolve(const SettingsVolumeReference& reference);
