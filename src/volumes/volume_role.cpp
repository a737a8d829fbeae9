#include "volumes/volume_role.h"

#include <array>
#include <regex>
#include <utility>

std::string description(VolumeRole role) {
  switch (role) {
    case VolumeRole::preboot: return "Preboot";
    case VolumeRole::recovery: return "Recovery";
    case VolumeRole::virtualMemory: return "Virtual Memory";
    case VolumeRole::installer: return "Installer";
    case VolumeRole::timeMachine: return "Time Machine";
    case VolumeRole::system: return "System";
    case VolumeRole::data: return "Data";
    case VolumeRole::update: return "Update";
    case VolumeRole::mountedSystemSnapshot: return "Mounted System Snapshot";
    case VolumeRole::generic: return "Generic";
  }
  return "Generic";
}

VolumeRole volumeRoleFromRoleWord(std::string_view word) {
  static constexpr std::array<std::pair<std::string_view, VolumeRole>, 9> kWords{{
      {"PreBoot", VolumeRole::preboot},
      {"Preboot", VolumeRole::preboot},
      {"Recovery", VolumeRole::recovery},
      {"VM", VolumeRole::virtualMemory},
      {"Installer", VolumeRole::installer},
      {"Backup", VolumeRole::timeMachine},
      {"System", VolumeRole::system},
      {"Data", VolumeRole::data},
      {"Update", VolumeRole::update},
  }};
  for (const auto& [text, role] : kWords) {
    if (text == word) return role;
  }
  return VolumeRole::generic;
}

bool isMountedSnapshotBSDName(std::string_view bsdName) {
  static const std::regex pattern("disk[0-9]+s[0-9]+s[0-9]+");
  return std::regex_search(bsdName.begin(), bsdName.end(), pattern);
}
