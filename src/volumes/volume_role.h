#pragma once
// The part an APFS volume plays in its volume group. The raw values 0 to 9
// are stable.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

enum class VolumeRole : std::int64_t {
  preboot = 0,
  recovery = 1,
  virtualMemory = 2,
  installer = 3,
  timeMachine = 4,
  system = 5,
  data = 6,
  update = 7,
  mountedSystemSnapshot = 8,
  generic = 9,
};

// The text the reports show ("Virtual Memory", "Time Machine", …).
std::string description(VolumeRole role);

// The role that the I/O registry's "Role" word names, compared exactly
// ("PreBoot" and "Preboot" are the preboot role, "preboot" is not). Any other
// word is the generic role. The mounted system snapshot has no word.
VolumeRole volumeRoleFromRoleWord(std::string_view word);

// Whether a BSD name is a slice of a slice ("disk3s1s1"), which is how a
// mounted system snapshot is told apart. The match is unanchored.
bool isMountedSnapshotBSDName(std::string_view bsdName);
