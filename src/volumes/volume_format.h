#pragma once
// File-system format names: the platform's format description of a volume
// and the personality (the file system's short name) it stands for.

#include <map>
#include <optional>
#include <string>
#include <string_view>

// The 19 format descriptions the tool knows, each with its personality.
// Encryption is not part of a personality. Made once, on first use.
const std::map<std::string, std::string, std::less<>>& volumeFormatTable();

// The personality of a format description, compared exactly; nothing for a
// description the table does not hold ("HFS" has none).
std::optional<std::string> personalityForFormatDescription(std::string_view formatDescription);

// The format description of a volume that is not mounted, from its Disk
// Arbitration volume kind: the kind in upper case, except that "msdos" is
// always "MS-DOS (FAT32)" whatever the real FAT width is.
std::string formatDescriptionFromVolumeKind(std::string_view kind);
