#include "volumes/cv_disk_image_file.h"

#include <functional>

#include "logging/log.h"
#include "platform/bookmarks.h"
#include "platform/file_manager.h"
#include "platform/platform.h"
#include "platform/url_resources.h"
#include "platform/workspace.h"
#include "volumes/cv_disk_volume.h"

using platform::current;

namespace {
// The resource key the bookmark of an image keeps besides its URL.
constexpr std::string_view kLocalizedNameKey = "NSURLLocalizedNameKey";
}  // namespace

std::string pathExtension(const std::string& fileName) {
  auto dot = fileName.rfind('.');
  if (dot == std::string::npos || dot == 0) return "";
  return fileName.substr(dot + 1);
}

std::string deletingPathExtension(const std::string& fileName) {
  auto dot = fileName.rfind('.');
  if (dot == std::string::npos || dot == 0) return fileName;
  return fileName.substr(0, dot);
}

std::shared_ptr<CVDiskImageFile> CVDiskImageFile::init(const platform::URL& path) {
  return std::make_shared<CVDiskImageFile>(Passkey{}, path);
}

std::shared_ptr<CVDiskImageFile> CVDiskImageFile::initWithImagePath(const platform::URL& path) {
  return init(path);
}

std::optional<platform::URL> CVDiskImageFile::path() const {
  std::lock_guard lock(mutex_);
  return path_;
}

void CVDiskImageFile::setPath(std::optional<platform::URL> path) {
  std::lock_guard lock(mutex_);
  path_ = std::move(path);
}

bool CVDiskImageFile::isWritable() const {
  auto url = path();
  if (!url) return true;
  return pathExtension(url->lastPathComponent()) != "dmg";
}

std::optional<platform::Bytes> CVDiskImageFile::volumeIdentifier() const {
  auto url = path();
  if (!url) return std::nullopt;
  // Outside any run: a failed read gives absent and its text is dropped.
  auto value = VolumeContext().resourceValue(*url, platform::NSURLVolumeIdentifierKey);
  if (!value || !value->data()) return std::nullopt;
  return *value->data();
}

std::string CVDiskImageFile::name() const {
  auto url = path();
  if (!url) return "";
  return deletingPathExtension(url->lastPathComponent());
}

std::optional<platform::Image> CVDiskImageFile::icon() const {
  auto url = path();
  if (!url) return std::nullopt;
  return current().workspace->iconForFile(url->path());
}

bool CVDiskImageFile::isReady() const {
  auto url = path();
  return url && current().fileManager->fileExistsAtPath(url->path());
}

std::uint64_t CVDiskImageFile::hash() const {
  auto url = path();
  return url ? std::hash<std::string>{}(url->absoluteString()) : 0;
}

std::string CVDiskImageFile::predictedMountPath(const std::string& base) const {
  std::size_t count = 0;
  for (const auto& volume : CVDiskVolume::localMountedVolumes()) {
    if (volume->imagePath()) continue;
    auto mounted = volume->path();
    if (mounted && mounted->lastPathComponent().starts_with(base)) ++count;
  }
  std::string result = "/Volumes/";
  result += base;
  if (count > 0) result.append(" ").append(std::to_string(count));
  return result;
}

std::optional<std::string> CVDiskImageFile::mountPath() const {
  if (!path()) return std::nullopt;
  return predictedMountPath(name());
}

std::string CVDiskImageFile::predictedDataVolumeMountPath() const {
  return predictedMountPath(name() + " - Data");
}

std::string CVDiskImageFile::info() const {
  auto url = path();
  return "CVDiskImageFile \n   Image Name            : " + name() +
         " \n   Image Path            : " + (url ? url->absoluteString() : "") +
         "\n   Ready                 : " + (isReady() ? "YES" : "NO");
}

std::string CVDiskImageFile::description() const {
  auto url = path();
  return "Disk Image: " + name() + ", path: " + (url ? url->path() : "");
}

bool operator<(const CVDiskImageFile& a, const CVDiskImageFile& b) {
  auto left = a.path();
  auto right = b.path();
  return (left ? left->absoluteString() : "") < (right ? right->absoluteString() : "");
}

std::shared_ptr<CVDiskImageFile> CVDiskImageFile::initWithBookmark(const platform::Bytes& bookmark) {
  bool isStale = false;
  auto resolved = current().bookmarks->resolvingBookmarkData(bookmark, isStale);
  if (!resolved) {
    diskLog().error("Failed to deserialize CVDiskImage bookmark data due to error \u201C" +
                    resolved.error().localizedDescription + "\u201D, isStale = " +
                    (isStale ? "true" : "false"));
    return nullptr;
  }
  return init(*resolved);
}

std::optional<platform::Bytes> CVDiskImageFile::bookmark() const {
  auto url = path();
  if (!url) {
    diskLog().error("CVDiskImageFile bookmark creation failed - alias is nil");
    return std::nullopt;
  }
  auto data = current().bookmarks->bookmarkData(*url, 0, {std::string(kLocalizedNameKey)}, {});
  if (!data) {
    diskLog().error("CVDiskImageFile bookmark creation failed: " + data.error().localizedDescription);
    return std::nullopt;
  }
  return *data;
}
