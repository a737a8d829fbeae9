#include "registry/volume_bookmark.h"

#include <algorithm>

#include "logging/log.h"
#include "platform/bookmarks.h"
#include "platform/platform.h"
#include "platform/url_resources.h"
#include "volumes/cached.h"
#include "volumes/cv_disk_volume.h"

namespace {

constexpr std::string_view kVolumeIsEjectableKey = "NSURLVolumeIsEjectableKey";

std::optional<std::string> uuidText(const std::optional<platform::UUID>& uuid) {
  if (!uuid) return std::nullopt;
  return uuid->uuidString();
}

}  // namespace

// What the platform answered for the blob, asked once and shared by copies.
struct VolumeBookmark::Values {
  Cached<std::optional<platform::Dictionary>> dictionary;
};

const std::vector<std::string>& VolumeBookmark::baseResourceKeys() {
  static const std::vector<std::string> keys{
      std::string(platform::NSURLVolumeNameKey), std::string(platform::NSURLVolumeLocalizedNameKey),
      std::string(platform::NSURLVolumeUUIDStringKey), std::string(platform::NSURLVolumeURLForRemountingKey),
      std::string(kVolumeIsEjectableKey)};
  return keys;
}

VolumeBookmark::VolumeBookmark() : resourceKeys_(baseResourceKeys()), values_(std::make_shared<Values>()) {}

std::optional<VolumeBookmark> VolumeBookmark::initWithData(std::optional<platform::Bytes> data) {
  if (!data) return std::nullopt;
  VolumeBookmark bookmark;
  bookmark.bookmark_ = std::move(data);
  return bookmark;
}

std::optional<VolumeBookmark> VolumeBookmark::initWithVolume(const CVDiskVolume& volume) {
  VolumeBookmark bookmark;
  auto bsdName = volume.bsdName();
  if (!bsdName) return std::nullopt;
  auto fresh = CVDiskVolume::initWithBsdName(*bsdName);
  if (!fresh) return std::nullopt;
  auto url = fresh->path();
  if (!url) return std::nullopt;
  bookmark.url_ = std::move(url);
  bookmark.setVolumeMediaUUIDString(uuidText(volume.volumeMediaUUID()));
  bookmark.setVolumeRealUUIDString(volume.volumeUUIDString());
  bookmark.setVolumeGroupUUIDString(uuidText(volume.volumeGroupUUID()));
  auto data = platform::current().bookmarks->bookmarkData(
      *bookmark.url_, platform::NSURLBookmarkCreationSuitableForBookmarkFile, bookmark.resourceKeys_,
      bookmark.temporaryResourceValues_);
  if (!data) {
    volumeBookmarkLog().error("Error creating CVDiskVolume bookmark: " + data.error().localizedDescription);
    return std::nullopt;
  }
  bookmark.bookmark_ = std::move(data).value();
  bookmark.values_ = std::make_shared<Values>();
  return bookmark;
}

const platform::Dictionary* VolumeBookmark::values() const {
  if (!bookmark_) return nullptr;
  const auto& dictionary =
      values_->dictionary.get([&] { return platform::current().bookmarks->resourceValues(resourceKeys_, *bookmark_); });
  return dictionary ? &*dictionary : nullptr;
}

std::optional<std::string> VolumeBookmark::stringValue(std::string_view key) const {
  if (std::find(resourceKeys_.begin(), resourceKeys_.end(), key) == resourceKeys_.end()) return std::nullopt;
  const auto* all = values();
  if (!all) return std::nullopt;
  const auto* value = platform::lookup(*all, key);
  if (!value || !value->string()) return std::nullopt;
  return *value->string();
}

std::optional<std::string> VolumeBookmark::volumeName() const { return stringValue(platform::NSURLVolumeNameKey); }
std::optional<std::string> VolumeBookmark::volumeLocalizedName() const {
  return stringValue(platform::NSURLVolumeLocalizedNameKey);
}
std::optional<std::string> VolumeBookmark::volumeUUIDString() const {
  return stringValue(platform::NSURLVolumeUUIDStringKey);
}
std::optional<bool> VolumeBookmark::volumeIsEjectable() const {
  const auto* all = values();
  if (!all) return std::nullopt;
  const auto* value = platform::lookup(*all, kVolumeIsEjectableKey);
  return value ? value->boolean() : std::nullopt;
}
std::optional<std::string> VolumeBookmark::volumeRealUUIDString() const {
  return stringValue(kVolumeRealUUIDStringKey);
}
std::optional<std::string> VolumeBookmark::volumeMediaUUIDString() const {
  return stringValue(kVolumeMediaUUIDStringKey);
}
std::optional<std::string> VolumeBookmark::volumeGroupUUIDString() const {
  return stringValue(kVolumeGroupUUIDStringKey);
}

void VolumeBookmark::setCustom(std::string_view key, std::optional<std::string> value) {
  if (!url_) return;
  if (value) {
    temporaryResourceValues_.insert_or_assign(std::string(key), platform::Value(std::move(*value)));
  } else {
    temporaryResourceValues_.erase(std::string(key));
  }
  if (std::find(resourceKeys_.begin(), resourceKeys_.end(), key) == resourceKeys_.end()) {
    resourceKeys_.emplace_back(key);
  }
}

void VolumeBookmark::setVolumeRealUUIDString(std::optional<std::string> value) {
  setCustom(kVolumeRealUUIDStringKey, std::move(value));
}
void VolumeBookmark::setVolumeMediaUUIDString(std::optional<std::string> value) {
  setCustom(kVolumeMediaUUIDStringKey, std::move(value));
}
void VolumeBookmark::setVolumeGroupUUIDString(std::optional<std::string> value) {
  setCustom(kVolumeGroupUUIDStringKey, std::move(value));
}

std::string VolumeBookmark::description() const {
  auto line = [](std::string_view label, const std::optional<std::string>& value) {
    return std::string(label) + value.value_or("");
  };
  return line("  volumeName:            ", volumeName()) + "\n" +
         line("  volumeLocalizedName:   ", volumeLocalizedName()) + "\n" +
         line("  volumeUUIDString:      ", volumeUUIDString()) + "\n" +
         line("  volumeRealUUIDString:  ", volumeRealUUIDString()) + "\n" +
         line("  volumeMediaUUIDString: ", volumeMediaUUIDString()) + "\n" +
         line("  volumeGroupUUIDString: ", volumeGroupUUIDString());
}
