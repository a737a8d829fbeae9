#include "volumes/volume_format.h"

#include <cctype>

const std::map<std::string, std::string, std::less<>>& volumeFormatTable() {
  static const std::map<std::string, std::string, std::less<>> table{
      {"APFS", "APFS"},
      {"APFS (Encrypted)", "APFS"},
      {"ExFAT", "ExFAT"},
      {"MS-DOS (FAT)", "MS-DOS"},
      {"Mac OS Extended", "HFS+"},
      {"Linux Swap", "Linux Swap"},
      {"Free Space", "Free Space"},
      {"Linux Native", "Linux Native"},
      {"MS-DOS (FAT12)", "MS-DOS FAT12"},
      {"MS-DOS (FAT16)", "MS-DOS FAT16"},
      {"MS-DOS (FAT32)", "MS-DOS FAT32"},
      {"Universal Disk Format (UDF)", "UDF"},
      {"APFS (Case-sensitive)", "Case-sensitive APFS"},
      {"APFS (Case-sensitive, Encrypted)", "Case-sensitive APFS"},
      {"Mac OS Extended (Journaled)", "Journaled HFS+"},
      {"Mac OS Extended (Journaled, Encrypted)", "Journaled HFS+"},
      {"Mac OS Extended (Case-sensitive)", "Case-sensitive HFS+"},
      {"Mac OS Extended (Case-sensitive, Journaled)", "Case-sensitive Journaled HFS+"},
      {"Mac OS Extended (Case-sensitive, Journaled, Encrypted)", "Case-sensitive Journaled HFS+"},
  };
  return table;
}

std::optional<std::string> personalityForFormatDescription(std::string_view formatDescription) {
  const auto& table = volumeFormatTable();
  auto found = table.find(formatDescription);
  if (found == table.end()) return std::nullopt;
  return found->second;
}

std::string formatDescriptionFromVolumeKind(std::string_view kind) {
  std::string upper(kind);
  for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  if (upper == "MSDOS") return "MS-DOS (FAT32)";
  return upper;
}
