#pragma once
// The registry's stored value: a bookmark blob of a volume's mount URL that
// carries the volume's facts, readable without the volume being attached.
//
// The blob's encoding belongs to the platform; this type only asks it for
// resource values. A blob the platform can't read has no facts: every
// property reads as absent, and nothing is reported.

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/value.h"

class CVDiskVolume;

// The three keys of the program's own, stored beside the platform's.
inline constexpr std::string_view kVolumeRealUUIDStringKey = "CVDiskVolume.volumeRealUUIDStringKey";
inline constexpr std::string_view kVolumeMediaUUIDStringKey = "CVDiskVolume.volumeMediaUUIDStringKey";
inline constexpr std::string_view kVolumeGroupUUIDStringKey = "CVDiskVolume.volumeGroupUUIDStringKey";

class VolumeBookmark {
 public:
  // The five keys every bookmark asks for and stores.
  static const std::vector<std::string>& baseResourceKeys();

  // A bookmark over stored data with the base keys; nothing for no data.
  static std::optional<VolumeBookmark> initWithData(std::optional<platform::Bytes> data);
  // A new bookmark of a live volume: its mount URL ("/Volumes/<name>/" for
  // the volume mounted at "/") with the base keys and the three custom keys.
  // Nothing when the volume has no BSD name, no fresh object, no URL, or the
  // platform can't make the blob (logged at error level).
  static std::optional<VolumeBookmark> initWithVolume(const CVDiskVolume& volume);

  // The blob; present for every bookmark either maker gave.
  const platform::Bytes& bookmark() const { return *bookmark_; }
  const std::optional<platform::URL>& url() const { return url_; }
  const std::vector<std::string>& resourceKeys() const { return resourceKeys_; }

  // Facts read from the blob with `resourceKeys`. The blob is asked once per
  // bookmark value (and its copies); later reads use the answer.
  std::optional<std::string> volumeName() const;
  std::optional<std::string> volumeLocalizedName() const;
  std::optional<std::string> volumeUUIDString() const;
  std::optional<bool> volumeIsEjectable() const;
  // The custom facts; absent unless the key is among `resourceKeys` and the
  // stored value is text. A bookmark from stored data has only the base keys.
  std::optional<std::string> volumeRealUUIDString() const;
  std::optional<std::string> volumeMediaUUIDString() const;
  std::optional<std::string> volumeGroupUUIDString() const;

  // The setters attach the value to the URL for the blob still to be made and
  // add the key; they apply only while making from a volume.
  void setVolumeRealUUIDString(std::optional<std::string> value);
  void setVolumeMediaUUIDString(std::optional<std::string> value);
  void setVolumeGroupUUIDString(std::optional<std::string> value);

  // Six lines "  volumeName:            <value>" … without a final line feed.
  std::string description() const;

 private:
  VolumeBookmark();
  struct Values;
  const platform::Dictionary* values() const;
  std::optional<std::string> stringValue(std::string_view key) const;
  void setCustom(std::string_view key, std::optional<std::string> value);

  std::optional<platform::URL> url_;
  std::optional<platform::Bytes> bookmark_;
  std::vector<std::string> resourceKeys_;
  platform::Dictionary temporaryResourceValues_;
  std::shared_ptr<Values> values_;
};
