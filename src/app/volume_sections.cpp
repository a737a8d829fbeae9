// The report sections built on the volume model: the catalogue of every
// attached disk object, the volumes that share a volume UUID, and the macOS
// text of the root volume for the version line.
#include <map>
#include <string>
#include <vector>

#include "app/sections.h"
#include "platform/disk_arbitration.h"
#include "volumes/cv_disk_volume.h"

namespace {

// "YES", or "NO " padded to the width of "YES".
std::string paddedYesNo(bool value) { return value ? "YES" : "NO "; }

// A text as the platform's debug form prints it: in double quotes, with
// quotes and backslashes escaped.
std::string quoted(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  out += '"';
  return out;
}

}  // namespace

void catalogueReport(ReportContext& context) {
  context.print("Cataloging local disks and volumes\n");
  for (const auto& volume : CVDiskVolume::localDisks(context.volumes())) {
    // Only the boolean true counts as mountable.
    const bool mountable = volume->daFlag(platform::kDADiskDescriptionVolumeMountableKey);
    const std::string mounted = paddedYesNo(volume->isReady());
    const std::string ready = paddedYesNo(volume->isReady());
    const std::string line = "Mounted: " + mounted + " Mountable: " + paddedYesNo(mountable) +
                             " Ready: " + ready + ", " + volume->description() + " (" +
                             volume->volumeUUIDString().value_or("No Volume UUID") + ")";
    context.print(line);
  }
}

void duplicateUUIDReport(ReportContext& context) {
  context.print("\nDuplicate Volume UUIDs");
  // The volumes of each UUID in disk order, the UUIDs in order of first
  // appearance; the absent-UUID group is never shown.
  std::vector<std::string> groupOrder;
  std::map<std::string, std::vector<CVDiskVolumeRef>> groups;
  for (const auto& volume : CVDiskVolume::localDisks(context.volumes())) {
    auto uuid = volume->volumeUUIDString();
    if (!uuid) continue;
    auto [entry, added] = groups.try_emplace(*uuid);
    if (added) groupOrder.push_back(*uuid);
    entry->second.push_back(volume);
  }

  std::string dictionary;
  for (const auto& uuid : groupOrder) {
    const auto& members = groups[uuid];
    if (members.size() < 2) continue;
    if (!dictionary.empty()) dictionary += ", ";
    dictionary += "Optional(" + uuid + "): [";
    for (std::size_t i = 0; i < members.size(); ++i) {
      if (i > 0) dictionary += ", ";
      dictionary += "(Optional(" + uuid + "), " + quoted(members[i]->bsdName().value_or("")) + ")";
    }
    dictionary += "]";
  }
  context.print(dictionary.empty() ? "[:]" : "[" + dictionary + "]");

  // Every volume that shares its UUID, grouped the same way.
  for (const auto& uuid : groupOrder) {
    const auto& members = groups[uuid];
    if (members.size() < 2) continue;
    for (const auto& volume : members) context.print("  " + uuid + " => " + volume->description());
  }
  context.print("\n");
}

std::optional<std::string> rootOperatingSystemText(const VolumeContext& volumes) {
  auto root = CVDiskVolume::initWithVolumePath(platform::URL::fileURLWithPath("/", true), volumes);
  if (!root) return std::nullopt;
  return root->volumeOperatingSystemExtendedString();
}
