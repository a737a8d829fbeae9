#include "volumes/media_walk.h"

#include <algorithm>
#include <unordered_set>

#include "platform/io_kit.h"
#include "platform/platform.h"
#include "volumes/cv_disk_volume.h"
#include "tools/disk_order_key.h"

std::shared_ptr<const MediaWalk> MediaWalk::make() {
  std::shared_ptr<MediaWalk> made(new MediaWalk);
  const auto& io = *platform::current().ioKit;
  auto& da = *platform::current().diskArbitration;
  auto iterator = io.IOServiceGetMatchingServices(io.IOServiceMatching("IOMedia"));
  std::unordered_set<std::uint64_t> hashes;
  while (iterator && !iterator->isEmpty()) {
    auto media = iterator->next();
    if (!media) break;
    auto session = da.DASessionCreate();
    if (!session) continue;
    auto disk = da.DADiskCreateFromIOMedia(session, media);
    if (!disk) continue;
    // The facts are read through a volume of the disk, so they are exactly
    // what a volume would say.
    auto volume = CVDiskVolume::initWithDADisk(disk);
    if (!hashes.insert(volume->hash()).second) continue;
    auto parent = volume->parent();
    Entry entry{std::move(disk), volume->bsdName(), volume->volumeUUID(), std::nullopt};
    if (parent) entry.parentName = parent->bsdName();
    made->entries_.push_back(std::move(entry));
  }
  std::vector<std::pair<std::int64_t, const Entry*>> keyed;
  for (const auto& entry : made->entries_) keyed.emplace_back(diskOrderKeyOfOptional(entry.bsdName), &entry);
  std::stable_sort(keyed.begin(), keyed.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  for (const auto& [key, entry] : keyed) made->inDiskOrder_.push_back(entry);
  return made;
}

const MediaWalk::Entry* MediaWalk::firstWithVolumeUUID(const platform::UUID& uuid) const {
  for (const auto* entry : inDiskOrder_) {
    if (entry->volumeUUID && *entry->volumeUUID == uuid) return entry;
  }
  return nullptr;
}
