#pragma once
// The catalogue of what /usr/sbin/diskutil says about the machine: the disk
// layout, a full description of each disk, the file system personalities and
// the APFS volume groups.
//
// It is built in one go by its constructor, which runs diskutil (one child
// per disk plus four others, with no time limit) and writes its progress to
// the stream it is given, as report text. A failed construction throws
// `SerializationError` (kind `missing`) with a text naming what failed, and
// leaves nothing behind but the lines already written. The exit status of
// diskutil counts for nothing: only what parses counts.

#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/value.h"

// The failures of reading serialized data: `missing` (a text) and `invalid`
// (a text and the offending value).
class SerializationError : public std::runtime_error {
 public:
  enum class Kind { missing, invalid };

  static SerializationError missing(const std::string& text) {
    return SerializationError(Kind::missing, text, std::nullopt);
  }
  static SerializationError invalid(const std::string& text, platform::Value value) {
    return SerializationError(Kind::invalid, text, std::move(value));
  }

  Kind kind() const { return kind_; }
  const std::string& text() const { return text_; }
  const std::optional<platform::Value>& value() const { return value_; }

 private:
  SerializationError(Kind kind, const std::string& text, std::optional<platform::Value> value)
      : std::runtime_error(text), kind_(kind), text_(text), value_(std::move(value)) {}
  Kind kind_;
  std::string text_;
  std::optional<platform::Value> value_;
};

class DiskUtil {
 public:
  static constexpr const char* kLaunchPath = "/usr/sbin/diskutil";
  // The serial queue that guards the catalogue while it is collected.
  static constexpr const char* kCatalogQueueLabel = "com.tamarlin.diskutil";

  // Runs diskutil and fills every field, writing progress and failure lines
  // to `progress`. Throws SerializationError::missing on the first step that
  // fails; the later steps do not run.
  explicit DiskUtil(std::ostream& progress);

  // The whole property list of `diskutil list -plist`.
  const platform::Dictionary& layout() const { return layout_; }
  // Disk identifier to the property list of `diskutil info -plist <disk>`.
  const platform::Dictionary& diskCatalog() const { return diskCatalog_; }
  // layout["AllDisksAndPartitions"].
  const std::vector<platform::Dictionary>& allDisksAndPartitions() const { return allDisksAndPartitions_; }
  // layout["AllDisks"], layout["WholeDisks"] and layout["VolumesFromDisks"],
  // each sorted by diskOrderKey, equal keys in their input order.
  const std::vector<std::string>& allDisks() const { return allDisks_; }
  const std::vector<std::string>& wholeDisks() const { return wholeDisks_; }
  const std::vector<std::string>& volumesFromDisks() const { return volumesFromDisks_; }
  // "UserVisibleName" to "Personality".
  const std::map<std::string, std::string>& fileSystems() const { return fileSystems_; }
  // The whole property list of `diskutil apfs listVolumeGroups -plist`.
  const std::optional<platform::Dictionary>& volumeGroups() const { return volumeGroups_; }

 private:
  std::optional<std::map<std::string, std::string>> collectFileSystems();
  std::optional<platform::Dictionary> collectLayout();
  std::optional<platform::Dictionary> collectDiskCatalog();
  std::optional<platform::Dictionary> collectVolumeGroups();

  std::ostream* progress_;
  platform::Dictionary layout_;
  platform::Dictionary diskCatalog_;
  std::vector<platform::Dictionary> allDisksAndPartitions_;
  std::vector<std::string> allDisks_;
  std::vector<std::string> wholeDisks_;
  std::vector<std::string> volumesFromDisks_;
  std::map<std::string, std::string> fileSystems_;
  std::optional<platform::Dictionary> volumeGroups_;
};
