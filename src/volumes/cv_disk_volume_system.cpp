// The macOS version of a mounted system volume, from the version file at its
// own mount point. Neither the system nor the data volume of a group is
// consulted: a volume without the file has no operating system.
#include "platform/platform.h"
#include "platform/property_list_serialization.h"
#include "volumes/cv_disk_volume.h"
#include "volumes/operating_system_version.h"

namespace {
constexpr std::string_view kSystemVersionPath = "System/Library/CoreServices/SystemVersion.plist";
}  // namespace

std::optional<platform::Dictionary> CVDiskVolume::systemVersionDictionary() const {
  if (!isReady()) return std::nullopt;
  auto mount = mountURL();
  if (!mount) return std::nullopt;
  platform::URL file = mount->appendingPathComponent(kSystemVersionPath, false);
  auto dictionary = platform::current().propertyLists->initWithContentsOfURL(file);
  if (!dictionary) return std::nullopt;
  // The file is read as a dictionary of strings to strings.
  for (const auto& [key, value] : *dictionary) {
    if (!value.string()) return std::nullopt;
  }
  return dictionary;
}

std::optional<std::string> CVDiskVolume::volumeOperatingSystemString() const {
  auto dictionary = systemVersionDictionary();
  if (!dictionary) return std::nullopt;
  const auto* version = platform::lookup(*dictionary, "ProductVersion");
  if (!version || !version->string()) return std::nullopt;
  try {
    return OperatingSystemVersion::fromString(*version->string()).text();
  } catch (const OperatingSystemVersionError&) {
    return std::nullopt;
  }
}

std::optional<std::string> CVDiskVolume::volumeOperatingSystemExtendedString() const {
  auto dictionary = systemVersionDictionary();
  if (!dictionary) return std::nullopt;
  const auto* build = platform::lookup(*dictionary, "ProductBuildVersion");
  if (!build || !build->string()) return std::nullopt;
  auto version = volumeOperatingSystemString();
  if (!version) return std::nullopt;
  return *version + " (" + *build->string() + ")";
}
