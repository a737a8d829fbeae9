// Observation of disks, as far as registration needs it: adding and removing
// the description-change observer of one volume. The seven callbacks below
// do nothing yet (the approvals approve); the observation code replaces this
// file with their real work, with the start-time registrations in
// `registerCallbacks` and the teardown in `unregisterCallbacks`.
#include "registry/cv_disk_manager.h"

#include "logging/log.h"
#include "platform/platform.h"
#include "volumes/cv_disk_volume.h"

using platform::current;

void CVDiskManager::bindCallbacks() {
  diskVolumeAppeared_ = [this](const platform::DADiskRef& disk) { diskVolumeAppeared(disk); };
  diskVolumeDisappeared_ = [this](const platform::DADiskRef& disk) { diskVolumeDisappeared(disk); };
  peekCallback_ = [this](const platform::DADiskRef& disk) { peekCallback(disk); };
  mountApprovalCallback_ = [this](const platform::DADiskRef& disk) { return mountApprovalCallback(disk); };
  unmountApprovalCallback_ = [this](const platform::DADiskRef& disk) { return unmountApprovalCallback(disk); };
  ejectCallback_ = [this](const platform::DADiskRef& disk) { return ejectCallback(disk); };
}

void CVDiskManager::registerCallbacks() {
  // Appeared, disappeared, peek and the three approvals are registered here,
  // in that order, before the session gets its queue.
  current().diskArbitration->DASessionSetDispatchQueue(
      session_, [queue = daQueue_](std::function<void()> block) { queue.async(std::move(block)); });
}

void CVDiskManager::unregisterCallbacks() {
  if (!session_) return;
  auto& da = *current().diskArbitration;
  for (const auto& registration : registrations_) da.DAUnregisterCallback(session_, registration);
  registrations_.clear();
  {
    std::lock_guard lock(callbackMutex_);
    for (const auto& [bsdName, observer] : callbackContext_) da.DAUnregisterCallback(session_, observer.registration);
    callbackContext_.clear();
  }
  da.DASessionSetDispatchQueue(session_, {});
}

void CVDiskManager::observeDisk(const CVDiskVolume& volume, const platform::UUID& guid) {
  auto bsdName = volume.bsdName();
  if (!bsdName) {
    knownVolumesLog().error("observeDisk - failed to get BSD device for " + volume.description());
    return;
  }
  auto identity = Identity::make(guid, volume);
  knownVolumesLog().default_("observeDisk - " + *bsdName + ", context: " + identity->description());
  if (!session_) return;
  platform::Dictionary match{{std::string(platform::kDADiskDescriptionMediaBSDNameKey), platform::Value(*bsdName)}};
  auto registration = current().diskArbitration->DARegisterDiskDescriptionChangedCallback(
      session_, std::move(match), std::nullopt,
      [this, identity](const platform::DADiskRef& disk, const std::vector<std::string>& keys) {
        diskVolumeDescriptionChanged(disk, keys, identity);
      });
  std::lock_guard lock(callbackMutex_);
  callbackContext_.insert_or_assign(*bsdName, Observer{identity, registration});
}

void CVDiskManager::unobserveDisk(const std::string& bsdName) {
  std::unique_lock lock(callbackMutex_);
  auto entry = callbackContext_.find(bsdName);
  if (entry == callbackContext_.end()) {
    lock.unlock();
    knownVolumesLog().error("unobserveDisk - bsdName is observed but callBackContext is not in collection");
    return;
  }
  auto observer = entry->second;
  callbackContext_.erase(entry);
  lock.unlock();
  knownVolumesLog().default_("unobserveDisk - " + bsdName + ", context: " + observer.identity->description());
  if (session_) current().diskArbitration->DAUnregisterCallback(session_, observer.registration);
}

void CVDiskManager::diskVolumeAppeared(const platform::DADiskRef&) {}
void CVDiskManager::diskVolumeDisappeared(const platform::DADiskRef&) {}
void CVDiskManager::diskVolumeDescriptionChanged(const platform::DADiskRef&, const std::vector<std::string>&,
                                                 const std::shared_ptr<const Identity>&) {}
void CVDiskManager::peekCallback(const platform::DADiskRef&) {}
std::optional<platform::DADissenter> CVDiskManager::mountApprovalCallback(const platform::DADiskRef&) {
  return std::nullopt;
}
std::optional<platform::DADissenter> CVDiskManager::unmountApprovalCallback(const platform::DADiskRef&) {
  return std::nullopt;
}
std::optional<platform::DADissenter> CVDiskManager::ejectCallback(const platform::DADiskRef&) { return std::nullopt; }
