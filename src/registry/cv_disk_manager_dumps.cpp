// The two texts of the registry: the table of every entry and the list of
// volumes that more than one GUID stands for.
#include "registry/cv_disk_manager.h"

#include <cstdio>
#include <random>
#include <unordered_map>

#include "text/text.h"
#include "volumes/cv_disk_volume.h"

namespace {

// Columns are padded and cut by UTF-16 code units, as the system pads its
// strings.
using text::paddedToUTF16Length;

constexpr std::string_view kZeroGUID = "00000000-0000-0000-0000-000000000000";

// The hash of a blob: its bytes mixed with a seed chosen once per process,
// so the value differs from one run to the next.
std::uint32_t dataHash(const platform::Bytes& data) {
  static const std::uint64_t seed = std::random_device{}() * 0x9E3779B97F4A7C15ull;
  std::uint64_t hash = 0xCBF29CE484222325ull ^ seed;
  for (auto byte : data.bytes()) hash = (hash ^ byte) * 0x100000001B3ull;
  hash ^= hash >> 33;
  return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

std::string hexadecimal(std::uint32_t value) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "%X", value);
  return buffer;
}

struct Column {
  std::string_view heading;
  std::size_t width;
};
constexpr Column kColumns[] = {{"GUID", 36}, {"Name", 45}, {"Volume UUID", 36},
                               {"Mounted", 7}, {"Hash", 7},  {"Size", 10}};

using DecodedEntries = RegistrySnapshot::DecodedEntries;

// The volume UUIDs of the entries, each read once: the distinct texts in
// first-seen order, and for every entry the index of its text (or -1).
struct VolumeUUIDIndex {
  std::vector<std::string> distinct;
  std::vector<long> ofEntry;
};
VolumeUUIDIndex indexVolumeUUIDs(const DecodedEntries& entries) {
  VolumeUUIDIndex index;
  std::unordered_map<std::string, long> seen;
  for (const auto& entry : entries) {
    auto uuid = entry.second.volumeUUIDString();
    long position = -1;
    if (uuid) {
      auto [found, added] = seen.emplace(*uuid, static_cast<long>(index.distinct.size()));
      if (added) index.distinct.push_back(*uuid);
      position = found->second;
    }
    index.ofEntry.push_back(position);
  }
  return index;
}

}  // namespace

std::string CVDiskManager::guidMapDump(const VolumeContext& volumes) const {
  std::string text;
  for (const auto& column : kColumns) {
    if (&column != kColumns) text += ' ';
    text += paddedToUTF16Length(column.heading, column.width, ' ');
  }
  text += '\n';
  for (const auto& column : kColumns) {
    if (&column != kColumns) text += ' ';
    text += paddedToUTF16Length("-", column.width, '-');
  }
  text += '\n';

  // The attached volumes by volume UUID, the first in disk order for each,
  // found once for the whole table.
  std::unordered_map<std::string, CVDiskVolumeRef> attached;
  const auto current = snapshot();
  if (!current->entries().empty()) {
    for (const auto& disk : CVDiskVolume::localDisks(volumes)) {
      if (auto uuid = disk->volumeUUID()) attached.emplace(uuid->uuidString(), disk);
    }
  }
  auto data = current->entries().begin();
  for (const auto& [key, bookmark] : current->bookmarks()) {
    auto name = bookmark.volumeName();
    auto volumeUUID = bookmark.volumeUUIDString();
    bool mounted = false;
    if (volumeUUID) {
      if (auto parsed = platform::UUID::fromString(*volumeUUID)) {
        auto found = attached.find(parsed->uuidString());
        if (found != attached.end()) {
          auto presented = presentationVolume(*found->second);
          mounted = presented && presented->isReady();
        }
      }
    }
    text += key + ' ' + (name ? paddedToUTF16Length(*name, 45, ' ') : std::string()) + ' ' +
            (volumeUUID ? *volumeUUID : std::string(kZeroGUID)) + ' ' +
            paddedToUTF16Length(mounted ? "YES" : "NO", 7, ' ') + ' ' + hexadecimal(dataHash(data->second)) + ' ' +
            std::to_string(data->second.size()) + " bytes\n";
    ++data;
  }
  return text;
}

namespace {

// Volume UUID to the GUIDs of its entries, in key order, for UUIDs with more
// than one. Quadratic by design: every distinct UUID is compared with every
// entry, but each bookmark is decoded only once and the comparisons are of
// numbers.
std::map<std::string, std::vector<std::string>> duplicateEntries(const DecodedEntries& entries) {
  auto index = indexVolumeUUIDs(entries);
  std::map<std::string, std::vector<std::string>> result;
  for (std::size_t position = 0; position < index.distinct.size(); ++position) {
    std::vector<std::string> carrying;
    for (std::size_t i = 0; i < entries.size(); ++i) {
      if (index.ofEntry[i] == static_cast<long>(position)) carrying.push_back(entries[i].first);
    }
    if (carrying.size() > 1) result.emplace(index.distinct[position], std::move(carrying));
  }
  return result;
}

}  // namespace

std::map<std::string, std::vector<std::string>> CVDiskManager::duplicateVolumeEntries() const {
  return duplicateEntries(snapshot()->bookmarks());
}

std::optional<std::string> CVDiskManager::duplicatesDump() const {
  auto duplicates = duplicateVolumeEntries();
  if (duplicates.empty()) return "No duplicate GUID entries found\n";
  std::string text = "Duplicate entries found for volume(s):\n";
  for (const auto& [uuid, guids] : duplicates) {
    // The name the first GUID's bookmark remembers.
    auto name = volumeName(guids.front());
    text += "  Volume " + uuid + " \u201C" + name.value_or("no name") + "\u201D is associated with more than one GUID. " +
            std::to_string(guids.size()) + " entries found.\n";
  }
  return text;
}
