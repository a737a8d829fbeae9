#pragma once
// One saved settings document: where its "Session Settings.cvss" file is,
// the source and target volume references it holds, and its format version.
// Reading never writes; what can't be read is told on the stream given, in
// the words of the report, and the document keeps what was read before.

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/value.h"
#include "settings/settings_volume_reference.h"

// The top-level keys of a session settings file. GUID keys have a capital
// after the prefix, name keys a small letter.
inline constexpr std::string_view kSourceVolumeKey = "CVSourceVolume";
inline constexpr std::string_view kSourceVolumeNameKey = "CVsourceVolumeName";
inline constexpr std::string_view kTargetVolumeKey = "CVTargetVolume";
inline constexpr std::string_view kTargetVolumeNameKey = "CVtargetVolumeName";
inline constexpr std::string_view kSessionSettingsVersionKey = "CVSessionSettingsVersion";

// The file inside a settings package that holds its settings.
inline constexpr std::string_view kSessionSettingsFileName = "Session Settings.cvss";

// Why a volume reference could not be read: a text of its own, the way the
// report prints it.
struct SettingsReadError {
  std::string text;
};

// Reads one volume reference from the top level of a settings dictionary.
// Nothing when the GUID text is no UUID; SettingsReadError when the
// dictionary is empty or either key is missing or not text.
std::optional<SettingsVolumeReference> readVolumeReference(std::string_view guidKey, std::string_view nameKey,
                                                           const platform::Dictionary& settings);

// The format version of a settings dictionary: its `CVSessionSettingsVersion`
// when that is an integer that fits a signed 64-bit value; nothing otherwise.
std::optional<std::int64_t> readSettingsVersion(const platform::Dictionary& settings);

struct SettingsReference {
  platform::URL path;
  std::optional<SettingsVolumeReference> source;
  std::optional<SettingsVolumeReference> target;
  std::optional<std::int64_t> version;

  // The document of the session settings file at `url`. Nothing, silently,
  // when no file is there; nothing after " reading <url>" when the file
  // can't be read or holds no dictionary. A reference that can't be read is
  // told on `messages`, and the document keeps what it has so far.
  static std::optional<SettingsReference> make(const platform::URL& url, std::ostream& messages);

  // The package's path with as many characters dropped from its front as
  // "<settingsFolderPath>/" has: the package's place below the folder.
  std::string documentName(std::string_view settingsFolderPath) const;

  // The file dates of the session settings file. A failed lookup prints the
  // error's description on a line of `messages` and gives nothing.
  std::optional<platform::Date> creationDate(std::ostream& messages) const;
  std::optional<platform::Date> modificationDate(std::ostream& messages) const;
};
