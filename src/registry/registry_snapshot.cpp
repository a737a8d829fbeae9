#include "registry/registry_snapshot.h"

#include <algorithm>

const RegistrySnapshot::DecodedEntries& RegistrySnapshot::bookmarks() const {
  return bookmarks_.get([&] {
    DecodedEntries decoded;
    decoded.reserve(entries_.size());
    for (const auto& [key, data] : entries_) decoded.emplace_back(key, *VolumeBookmark::initWithData(data));
    return decoded;
  });
}

std::optional<VolumeBookmark> RegistrySnapshot::bookmark(std::string_view guidString) const {
  // The decoded entries are in key order, as the map is.
  const auto& all = bookmarks();
  auto entry = std::lower_bound(all.begin(), all.end(), guidString,
                                [](const auto& decoded, std::string_view key) { return decoded.first < key; });
  if (entry == all.end() || entry->first != guidString) return std::nullopt;
  // The copy shares its decoded answers with every other reader.
  return entry->second;
}

const RegistrySnapshot::Index& RegistrySnapshot::index() const {
  return index_.get([&] {
    Index index;
    const auto& all = bookmarks();
    for (std::size_t i = 0; i < all.size(); ++i) {
      if (auto uuid = all[i].second.volumeUUIDString()) {
        index.firstByVolumeUUID.emplace(std::move(*uuid), i);
      } else if (!index.firstWithoutVolumeUUID) {
        index.firstWithoutVolumeUUID = i;
      }
    }
    return index;
  });
}

const std::string* RegistrySnapshot::firstGUIDCarrying(const std::optional<std::string>& volumeUUIDString) const {
  const auto& found = index();
  std::optional<std::size_t> position = found.firstWithoutVolumeUUID;
  if (volumeUUIDString) {
    auto entry = found.firstByVolumeUUID.find(*volumeUUIDString);
    position = entry == found.firstByVolumeUUID.end() ? std::nullopt : std::optional(entry->second);
  }
  return position ? &bookmarks()[*position].first : nullptr;
}

const std::vector<std::optional<std::string>>& RegistrySnapshot::volumeNames() const {
  return volumeNames_.get([&] {
    // The blob answers each key the same whichever keys are asked with it, so
    // the name asked alone is the name in the bookmark's answer to the base
    // keys: the blob is not decoded a second time.
    std::vector<std::optional<std::string>> names;
    names.reserve(entries_.size());
    for (const auto& [key, bookmark] : bookmarks()) names.push_back(bookmark.volumeName());
    return names;
  });
}
