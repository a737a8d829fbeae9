// The two Time Machine facts of a volume, each asked of tmutil once per
// object: whether the volume is included in backups, and its local snapshots.
#include "tools/task_shell.h"
#include "volumes/cv_disk_volume.h"

bool CVDiskVolume::volumeIsIncludedInTimeMachine() const {
  return volumeIsIncludedInTimeMachine_.get([&] {
    auto mount = mountPath();
    if (!isReady() || !mount) return false;
    auto lines = runTmutil({"isexcluded", *mount});
    return lines && !lines->empty() && lines->front().find("[Included]") != std::string::npos;
  });
}

void CVDiskVolume::setVolumeIsIncludedInTimeMachine(bool included) {
  volumeIsIncludedInTimeMachine_.set(included);
}

const std::vector<std::shared_ptr<CVSnapshot>>& CVDiskVolume::volumeLocalSnapshots() const {
  return volumeLocalSnapshots_.get([&] {
    std::vector<std::shared_ptr<CVSnapshot>> snapshots;
    auto mount = mountPath();
    if (!isReady() || !mount) return snapshots;
    if (auto lines = runTmutil({"listlocalsnapshots", *mount})) {
      for (const auto& line : *lines) {
        if (auto snapshot = CVSnapshot::make(line)) snapshots.push_back(std::move(snapshot));
      }
    }
    return snapshots;
  });
}
