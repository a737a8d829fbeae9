// Members waiting for the formatters, property lists and tmutil runner; they
// give nothing until those land.
#include "volumes/cv_disk_volume.h"
std::string CVDiskVolume::description() const { return ""; }
std::string CVDiskVolume::debugDescription() const { return ""; }
std::optional<std::string> CVDiskVolume::volumeOperatingSystemString() const { return {}; }
std::optional<std::string> CVDiskVolume::volumeOperatingSystemExtendedString() const { return {}; }
bool CVDiskVolume::volumeIsIncludedInTimeMachine() const { return false; }
void CVDiskVolume::setVolumeIsIncludedInTimeMachine(bool) {}
std::vector<std::shared_ptr<CVSnapshot>> CVDiskVolume::volumeLocalSnapshots() const { return {}; }
void CVDiskVolume::setVolumeLocalSnapshots(std::vector<std::shared_ptr<CVSnapshot>>) {}
