#include "volumes/volume_context.h"

#include <cstdint>
#include <mutex>
#include <utility>

#include "platform/disk_arbitration.h"
#include "platform/platform.h"
#include "platform/url_resources.h"

struct VolumeContext::Shared {
  std::mutex mutex;
  // The Disk Arbitration the kept walk was made on (weakly: a gone platform
  // keeps its control block, so a new one never compares equal) and its disk
  // state generation then.
  std::weak_ptr<platform::DiskArbitration> walkedOn;
  std::uint64_t walkedGeneration = 0;
  std::shared_ptr<const MediaWalk> walk;
  std::string resourceErrors;
};

VolumeContext VolumeContext::keepingWalksAndErrors() {
  VolumeContext context;
  context.shared_ = std::make_shared<Shared>();
  return context;
}

std::shared_ptr<const MediaWalk> VolumeContext::mediaWalk() const {
  if (!shared_) return MediaWalk::make();
  const auto& da = platform::current().diskArbitration;
  const auto generation = da->diskStateGeneration();
  {
    std::lock_guard lock(shared_->mutex);
    const auto& walkedOn = shared_->walkedOn;
    const bool sameArbitration = !walkedOn.owner_before(da) && !da.owner_before(walkedOn) && !walkedOn.expired();
    if (shared_->walk && sameArbitration && shared_->walkedGeneration == generation) return shared_->walk;
  }
  // Walked outside the lock: reading the facts may take a while.
  auto made = MediaWalk::make();
  std::lock_guard lock(shared_->mutex);
  shared_->walk = made;
  shared_->walkedOn = da;
  shared_->walkedGeneration = generation;
  return made;
}

std::optional<platform::Value> VolumeContext::resourceValue(const platform::URL& url, std::string_view key) const {
  auto values = platform::current().urlResources->resourceValuesForKeys(url, {std::string(key)});
  if (!values) {
    if (shared_) {
      std::lock_guard lock(shared_->mutex);
      shared_->resourceErrors.append(values.error().localizedDescription).append("\n");
    }
    return std::nullopt;
  }
  const auto* value = platform::lookup(*values, key);
  if (!value) return std::nullopt;
  return *value;
}

std::string VolumeContext::takeResourceErrors() const {
  if (!shared_) return {};
  std::lock_guard lock(shared_->mutex);
  return std::exchange(shared_->resourceErrors, {});
}
