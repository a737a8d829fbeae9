// The two Time Machine facts of a volume, each asked of tmutil once per
// object: whether the volume is included in backups, and its local snapshots.
#include "tools/task_shell.h"
#include "volumes/cv_disk_volume.h"

bool CVDiskVolume::volumeIsIncludedInTimeMachine() const {
  {
    std::lock_guard lock(mutex_);
    if (volumeIsIncludedInTimeMachine_) return *volumeIsIncludedInTimeMachine_;
  }
  bool included = false;
  auto mount = mountPath();
  if (isReady() && mount) {
    auto lines = runTmutil({"isexcluded", *mount});
    included = lines && !lines->empty() && lines->front().find("[Included]") != std::string::npos;
  }
  std::lock_guard lock(mutex_);
  if (!volumeIsIncludedInTimeMachine_) volumeIsIncludedInTimeMachine_ = included;
  return *volumeIsIncludedInTimeMachine_;
}

void CVDiskVolume::setVolumeIsIncludedInTimeMachine(bool included) {
  std::lock_guard lock(mutex_);
  volumeIsIncludedInTimeMachine_ = included;
}

std::vector<std::shared_ptr<CVSnapshot>> CVDiskVolume::volumeLocalSnapshots() const {
  {
    std::lock_guard lock(mutex_);
    if (volumeLocalSnapshots_) return *volumeLocalSnapshots_;
  }
  std::vector<std::shared_ptr<CVSnapshot>> snapshots;
  auto mount = mountPath();
  if (isReady() && mount) {
    if (auto lines = runTmutil({"listlocalsnapshots", *mount})) {
      for (const auto& line : *lines) {
        if (auto snapshot = CVSnapshot::make(line)) snapshots.push_back(std::move(snapshot));
      }
    }
  }
  std::lock_guard lock(mutex_);
  if (!volumeLocalSnapshots_) volumeLocalSnapshots_ = std::move(snapshots);
  return *volumeLocalSnapshots_;
}

void CVDiskVolume::setVolumeLocalSnapshots(std::vector<std::shared_ptr<CVSnapshot>> snapshots) {
  std::lock_guard lock(mutex_);
  volumeLocalSnapshots_ = std::move(snapshots);
}
