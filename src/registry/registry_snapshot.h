#pragma once
// One state of the known-volume registry. The manager makes a new snapshot
// for every write and hands the current one to every read, so a read costs a
// reference count, not a copy of the map. What the bookmarks say is decoded
// at most once per snapshot, when first asked, and shared by every reader of
// that state.

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/value.h"
#include "registry/volume_bookmark.h"
#include "volumes/cached.h"

// The registry in memory: GUID string to bookmark blob, iterated in
// ascending key order.
using CVDiskVolumeMap = std::map<std::string, platform::Bytes>;

class RegistrySnapshot {
 public:
  // Every entry with its bookmark, in key order.
  using DecodedEntries = std::vector<std::pair<std::string, VolumeBookmark>>;

  explicit RegistrySnapshot(CVDiskVolumeMap entries) : entries_(std::move(entries)) {}
  RegistrySnapshot(const RegistrySnapshot&) = delete;
  RegistrySnapshot& operator=(const RegistrySnapshot&) = delete;

  const CVDiskVolumeMap& entries() const { return entries_; }

  // The bookmarks of every entry, with the base keys.
  const DecodedEntries& bookmarks() const;
  // The bookmark of one entry; nothing when there is no such key.
  std::optional<VolumeBookmark> bookmark(std::string_view guidString) const;
  // The first GUID in key order whose bookmark carries the volume UUID text;
  // an absent text finds the first bookmark that carries none.
  const std::string* firstGUIDCarrying(const std::optional<std::string>& volumeUUIDString) const;
  // The volume name of every entry as its blob gives it for the name key
  // alone, in key order.
  const std::vector<std::optional<std::string>>& volumeNames() const;

 private:
  struct Index {
    std::unordered_map<std::string, std::size_t> firstByVolumeUUID;
    std::optional<std::size_t> firstWithoutVolumeUUID;
  };
  const Index& index() const;

  const CVDiskVolumeMap entries_;
  Cached<DecodedEntries> bookmarks_;
  Cached<Index> index_;
  Cached<std::vector<std::optional<std::string>>> volumeNames_;
};
