#pragma once
// A disk image file, mounted or not, known by its path alone. It answers the
// disk protocols from the path and predicts where the platform would mount
// the image. Equality is identity; order is by the text of the paths.

#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/value.h"
#include "volumes/disk_protocols.h"

class CVDiskImageFile final : public CVDisk, public std::enable_shared_from_this<CVDiskImageFile> {
  struct Passkey {};

 public:
  // `init:`: never fails.
  static std::shared_ptr<CVDiskImageFile> init(const platform::URL& path);
  static std::shared_ptr<CVDiskImageFile> initWithImagePath(const platform::URL& path);
  // From bookmark data; a stale bookmark still counts. Fails, with an error
  // log line, when the data does not resolve.
  static std::shared_ptr<CVDiskImageFile> initWithBookmark(const platform::Bytes& bookmark);

  CVDiskImageFile(Passkey, std::optional<platform::URL> path) : path_(std::move(path)) {}

  std::optional<platform::URL> path() const override;
  void setPath(std::optional<platform::URL> path);

  // Bookmark data of the path, made anew on each read; absent (with an error
  // log line) without a path or when the platform refuses.
  std::optional<platform::Bytes> bookmark() const;

  // DiskVolumeCompatible
  bool isDiskImage() const override { return true; }
  std::optional<platform::URL> imagePath() const override { return path(); }
  // "/Volumes/<name>", with " <n>" behind it when n mounted volumes that are
  // no images already have names that begin with the image's name.
  std::optional<std::string> mountPath() const override;
  // False only for the extension "dmg" (in this case).
  bool isWritable() const override;
  bool isTimeMachineVolume() const override { return false; }
  bool isForeignFileSystem() const override { return false; }
  std::optional<platform::Bytes> volumeIdentifier() const override;
  bool isUnMountable() const override { return true; }
  bool isBootVolume() const override { return false; }

  // The same prediction for the data volume of a system image: "<name> - Data".
  std::string predictedDataVolumeMountPath() const;

  // CVDisk
  bool isEqual(const CVDisk& other) const override { return &other == this; }
  std::uint64_t hash() const override;
  std::string description() const override;
  std::string debugDescription() const override { return description(); }
  // The last path component without its extension.
  std::string name() const override;
  std::optional<platform::Image> icon() const override;
  std::string info() const override;
  bool isReady() const override;

  friend bool operator<(const CVDiskImageFile& a, const CVDiskImageFile& b);

 private:
  std::string predictedMountPath(const std::string& base) const;

  mutable std::mutex mutex_;
  std::optional<platform::URL> path_;
};

// The extension of a file name ("dmg" of "Backup.dmg"); a leading dot does
// not start an extension.
std::string pathExtension(const std::string& fileName);
// The file name without its extension.
std::string deletingPathExtension(const std::string& fileName);
