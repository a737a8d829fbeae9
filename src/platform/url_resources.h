#pragma once
// URL resource values (NSURL resourceValuesForKeys:error:) and file dates.

#include <string>
#include <string_view>
#include <vector>

#include "platform/error.h"
#include "platform/value.h"

namespace platform {

// Resource keys, by their names.
inline constexpr std::string_view NSURLVolumeURLKey = "NSURLVolumeURLKey";
inline constexpr std::string_view NSURLVolumeIdentifierKey = "NSURLVolumeIdentifierKey";
inline constexpr std::string_view NSURLVolumeNameKey = "NSURLVolumeNameKey";
inline constexpr std::string_view NSURLVolumeLocalizedNameKey = "NSURLVolumeLocalizedNameKey";
inline constexpr std::string_view NSURLVolumeUUIDStringKey = "NSURLVolumeUUIDStringKey";
inline constexpr std::string_view NSURLVolumeTotalCapacityKey = "NSURLVolumeTotalCapacityKey";
inline constexpr std::string_view NSURLVolumeAvailableCapacityKey = "NSURLVolumeAvailableCapacityKey";
inline constexpr std::string_view NSURLVolumeLocalizedFormatDescriptionKey =
    "NSURLVolumeLocalizedFormatDescriptionKey";
inline constexpr std::string_view NSURLVolumeIsBrowsableKey = "NSURLVolumeIsBrowsableKey";
inline constexpr std::string_view NSURLVolumeURLForRemountingKey = "NSURLVolumeURLForRemountingKey";
inline constexpr std::string_view NSURLVolumeSupportsHardLinksKey = "NSURLVolumeSupportsHardLinksKey";
inline constexpr std::string_view NSURLVolumeSupportsSparseFilesKey =
    "NSURLVolumeSupportsSparseFilesKey";
inline constexpr std::string_view NSURLVolumeIsJournalingKey = "NSURLVolumeIsJournalingKey";
inline constexpr std::string_view NSURLVolumeSupportsExtendedSecurityKey =
    "NSURLVolumeSupportsExtendedSecurityKey";
inline constexpr std::string_view NSURLVolumeSupportsCaseSensitiveNamesKey =
    "NSURLVolumeSupportsCaseSensitiveNamesKey";
inline constexpr std::string_view NSURLNameKey = "NSURLNameKey";
inline constexpr std::string_view NSURLLocalizedNameKey = "NSURLLocalizedNameKey";
inline constexpr std::string_view NSURLIsDirectoryKey = "NSURLIsDirectoryKey";
inline constexpr std::string_view NSURLCreationDateKey = "NSURLCreationDateKey";
inline constexpr std::string_view NSURLContentModificationDateKey = "NSURLContentModificationDateKey";

class URLResources {
 public:
  virtual ~URLResources() = default;

  // resourceValuesForKeys:error: the values of the asked keys that the URL
  // has; a key without a value is left out (that is no error). The volume of
  // a URL is the mounted volume whose mount path is the longest prefix of the
  // URL's path, whole components only; its values answer for every URL on
  // it, whether or not the file exists:
  //   NSURLVolumeURLKey — the directory file URL of the mount point;
  //   every other key — from the volume's recorded resource values.
  // The file's own keys: NSURLCreationDateKey, NSURLContentModificationDateKey
  // (its dates), NSURLNameKey and NSURLLocalizedNameKey (its last path
  // component; for "/" the name of the volume mounted there, if recorded)
  // and NSURLIsDirectoryKey; name and kind only where something exists. The read fails, with the recorded text as the error's
  // localized description, where the volume or the file is recorded to fail.
  virtual Result<Dictionary> resourceValuesForKeys(const URL& url,
                                                   const std::vector<std::string>& keys) const = 0;
};

}  // namespace platform
