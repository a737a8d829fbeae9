// The manager's Disk Arbitration observation: the callbacks registered at
// start and removed at teardown, the description-change observers of known
// volumes, and the update path that rewrites a registry entry when an
// observed volume is renamed or gets a new volume UUID.
//
// Every callback runs on `daQueue`. The registry is written only through
// `registerVolume`, whose map reads and write go through `serialMapQueue`:
// `daQueue` waits for `serialMapQueue`, never the reverse. The observers
// (`callbackContext_`) are reached from `daQueue` and from a caller of
// registration, so they have a mutex of their own that is never held while
// the manager waits for a queue.
#include <algorithm>

#include "logging/log.h"
#include "platform/formatters.h"
#include "platform/platform.h"
#include "registry/cv_disk_manager.h"
#include "volumes/cv_disk_volume.h"

using platform::current;

namespace {

std::string uuidText(const std::optional<platform::UUID>& uuid) { return uuid ? uuid->uuidString() : ""; }

// A description value as it reads inside a log line: text, UUIDs and URLs by
// their plain texts, everything else in the platform's description.
std::string descriptionValueText(const platform::Value* value) {
  if (value == nullptr) return "";
  if (const auto* text = value->string()) return *text;
  if (const auto* uuid = value->uuid()) return uuid->uuidString();
  if (const auto* url = value->url()) return url->absoluteString();
  return platform::foundationDescription(*value);
}

bool isSystemRole(VolumeRole role) {
  return role == VolumeRole::system || role == VolumeRole::mountedSystemSnapshot;
}

}  // namespace

// ---- Registration at start and teardown --------------------------------------

void CVDiskManager::bindCallbacks() {
  diskVolumeAppeared_ = [this](const platform::DADiskRef& disk) { diskVolumeAppeared(disk); };
  diskVolumeDisappeared_ = [this](const platform::DADiskRef& disk) { diskVolumeDisappeared(disk); };
  peekCallback_ = [this](const platform::DADiskRef& disk) { peekCallback(disk); };
  mountApprovalCallback_ = [this](const platform::DADiskRef& disk) { return mountApprovalCallback(disk); };
  unmountApprovalCallback_ = [this](const platform::DADiskRef& disk) { return unmountApprovalCallback(disk); };
  ejectCallback_ = [this](const platform::DADiskRef& disk) { return ejectCallback(disk); };
}

void CVDiskManager::startObservation() {
  auto& da = *current().diskArbitration;
  registrations_ = {
      da.DARegisterDiskAppearedCallback(session_, std::nullopt, diskVolumeAppeared_),
      da.DARegisterDiskDisappearedCallback(session_, platform::kDADiskDescriptionMatchMediaWhole(),
                                           diskVolumeDisappeared_),
      da.DARegisterDiskPeekCallback(session_, std::nullopt, 0, peekCallback_),
      da.DARegisterDiskMountApprovalCallback(session_, std::nullopt, mountApprovalCallback_),
      da.DARegisterDiskUnmountApprovalCallback(session_, std::nullopt, unmountApprovalCallback_),
      da.DARegisterDiskEjectApprovalCallback(session_, std::nullopt, ejectCallback_),
  };
  platform::DispatchQueue queue = daQueue_;
  da.DASessionSetDispatchQueue(session_, [queue](std::function<void()> block) { queue.async(std::move(block)); });
}

void CVDiskManager::stopObservation() {
  if (!session_) return;
  auto& da = *current().diskArbitration;
  std::map<std::string, Observer> observers;
  {
    // From here on no observer is added, so the walk below sees them all.
    std::lock_guard lock(callbackMutex_);
    observationStopped_ = true;
  }
  if (registrations_.size() == 6) {
    da.DAUnregisterCallback(session_, registrations_[0]);  // appeared
    da.DAUnregisterCallback(session_, registrations_[1]);  // disappeared
  }
  {
    std::lock_guard lock(callbackMutex_);
    observers.swap(callbackContext_);
  }
  for (const auto& [bsdName, observer] : observers) da.DAUnregisterCallback(session_, observer.registration);
  if (registrations_.size() == 6) {
    for (std::size_t i = 2; i < 6; ++i) da.DAUnregisterCallback(session_, registrations_[i]);
  }
  registrations_.clear();
  da.DASessionSetDispatchQueue(session_, {});
  // No delivery starts after its registration is gone; wait for one that is
  // still running, so that none outlives the manager.
  if (!daQueue_.isCurrent()) daQueue_.sync([] {});
}

// ---- Observers ---------------------------------------------------------------

void CVDiskManager::observeDisk(const CVDiskVolume& volume, const platform::UUID& guid) {
  const auto& log = knownVolumesLog();
  auto bsdName = volume.bsdName();
  if (!bsdName) {
    log.error("observeDisk - failed to get BSD device for " + volume.description());
    return;
  }
  std::shared_ptr<const Identity> identity = Identity::make(guid, volume);
  log.default_("observeDisk - " + *bsdName + ", context: " + identity->description());
  platform::Dictionary match{{std::string(platform::kDADiskDescriptionMediaBSDNameKey), platform::Value(*bsdName)}};

  std::lock_guard lock(callbackMutex_);
  if (observationStopped_ || !session_) return;
  auto registration = current().diskArbitration->DARegisterDiskDescriptionChangedCallback(
      session_, std::move(match), std::nullopt,
      [this, identity](const platform::DADiskRef& disk, const std::vector<std::string>& keys) {
        diskVolumeDescriptionChanged(disk, keys, identity);
      });
  // Callers that replace an observer unobserve first; one still there comes
  // from a repeated appearance, and is removed so that a change of the
  // volume is not handled twice, once against an outdated Identity.
  auto [it, added] = callbackContext_.try_emplace(*bsdName, Observer{identity, registration});
  if (!added) {
    current().diskArbitration->DAUnregisterCallback(session_, it->second.registration);
    it->second = Observer{identity, registration};
  }
}

void CVDiskManager::unobserveDisk(const std::string& bsdName) {
  const auto& log = knownVolumesLog();
  std::lock_guard lock(callbackMutex_);
  auto it = callbackContext_.find(bsdName);
  if (it == callbackContext_.end()) {
    log.error("unobserveDisk - bsdName is observed but callBackContext is not in collection");
    return;
  }
  log.default_("unobserveDisk - " + bsdName + ", context: " + it->second.identity->description());
  if (session_) current().diskArbitration->DAUnregisterCallback(session_, it->second.registration);
  callbackContext_.erase(it);
}

std::map<std::string, std::shared_ptr<const Identity>> CVDiskManager::observedIdentities() const {
  std::map<std::string, std::shared_ptr<const Identity>> identities;
  std::lock_guard lock(callbackMutex_);
  for (const auto& [bsdName, observer] : callbackContext_) identities.emplace(bsdName, observer.identity);
  return identities;
}

// ---- Appearance and disappearance --------------------------------------------

void CVDiskManager::diskVolumeAppeared(const platform::DADiskRef& disk) {
  const auto& log = knownVolumesLog();
  auto volume = CVDiskVolume::initWithDADisk(disk);
  log.default_("diskVolumeAppeared - " + volume->description());
  // An unknown volume is neither registered nor observed by appearing.
  auto guid = GUIDForVolume(*volume, false);
  if (!guid) return;
  log.default_("diskVolumeAppeared - (observing) \u201C" + volume->name() + "\u201D, device: " +
               volume->bsdName().value_or("") + ", guid: " + guid->uuidString() +
               ", uuid: " + volume->volumeUUIDString().value_or("") +
               ", mount point: " + volume->mountPath().value_or(""));
  observeDisk(*volume, *guid);
}

void CVDiskManager::diskVolumeDisappeared(const platform::DADiskRef& disk) {
  const auto& log = knownVolumesLog();
  auto volume = CVDiskVolume::initWithDADisk(disk);
  log.default_("diskVolumeDisappeared - \u201C" + volume->name() + "\u201D, device: " + volume->bsdName().value_or("") +
               ", mount point: " + volume->mountPath().value_or("") + ", Role: " + description(volume->volumeRole()));
  if (!volume->daFlag(platform::kDADiskDescriptionMediaWholeKey)) return;
  log.default_("diskVolumeDisappeared - unobserving registered children");
  auto unit = volume->daNumber(platform::kDADiskDescriptionMediaBSDUnitKey);
  if (!unit) return;
  // A plain prefix test: unit 1 also takes the observers of disk10s1.
  const std::string prefix = "disk" + std::to_string(*unit);
  std::vector<std::string> children;
  {
    std::lock_guard lock(callbackMutex_);
    for (const auto& [bsdName, observer] : callbackContext_)
      if (bsdName.starts_with(prefix)) children.push_back(bsdName);
  }
  for (const auto& bsdName : children) unobserveDisk(bsdName);
}

// ---- Peek and approvals: they log, and never refuse --------------------------

void CVDiskManager::peekCallback(const platform::DADiskRef& disk) {
  knownVolumesLog().default_("diskPeekCallback - " + CVDiskVolume::initWithDADisk(disk)->description());
}

std::optional<platform::DADissenter> CVDiskManager::mountApprovalCallback(const platform::DADiskRef& disk) {
  knownVolumesLog().default_("diskMountApprovalCallback - " + CVDiskVolume::initWithDADisk(disk)->description());
  return std::nullopt;
}

std::optional<platform::DADissenter> CVDiskManager::unmountApprovalCallback(const platform::DADiskRef& disk) {
  knownVolumesLog().default_("diskUnmountApprovalCallback - " + CVDiskVolume::initWithDADisk(disk)->description());
  return std::nullopt;
}

std::optional<platform::DADissenter> CVDiskManager::ejectCallback(const platform::DADiskRef& disk) {
  knownVolumesLog().default_("diskEjectApprovalCallback - " + CVDiskVolume::initWithDADisk(disk)->description());
  return std::nullopt;
}

// ---- The update path -----------------------------------------------------------

void CVDiskManager::diskVolumeDescriptionChanged(const platform::DADiskRef& disk, const std::vector<std::string>& keys,
                                                 const std::shared_ptr<const Identity>& context) {
  const auto& log = knownVolumesLog();
  const auto& da = *current().diskArbitration;
  auto bsdName = da.DADiskGetBSDName(disk);
  if (!bsdName || !context) {
    // Without a name or the first sight of the volume there is nothing to compare.
    log.error("diskVolumeDescriptionChanged - no BSD name or no observer context, change ignored");
    return;
  }
  const Identity& seen = *context;
  auto volume = CVDiskVolume::initWithDADisk(disk);
  const std::string p = "diskVolumeDescriptionChanged (" + *bsdName;
  log.default_(p + "): volume \u201C" + volume->name() + "\u201D, " + *bsdName +
               ", mount point: " + volume->mountPath().value_or("") + ", " + seen.description());

  // The media must be the one the observer was added for.
  auto mediaID = identityMediaUUID(*volume);
  if (mediaID != seen.muid()) {
    log.error("INTERNAL VOLUME MISMATCH ERROR: DA media ID " + uuidText(mediaID) + " is not the identity media UUID " +
              uuidText(seen.muid()) + " - aborting volume registration update");
    return;
  }

  if (auto description = da.DADiskCopyDescription(disk)) {
    for (const auto& key : keys)
      log.default_(p + ") - { " + key + " : \u201C" + descriptionValueText(platform::lookup(*description, key)) +
                   "\u201D }");
  }

  auto now = Identity::make(seen.guid(), *volume);
  if (*now == seen) {
    log.default_(p + ") - Observed volume properties have not changed - nothing to do");
    return;
  }
  if (seen.uuid() != now->uuid())
    log.default_(p + ") - UUID changed: " + uuidText(seen.uuid()) + " -> " + uuidText(now->uuid()));
  if (seen.localizedName() != now->localizedName())
    log.default_(p + ") - Localized Name changed: " + seen.localizedName().value_or("") + " -> " +
                 now->localizedName().value_or(""));
  if (seen.name() != now->name()) log.default_(p + ") - Name changed: " + seen.name() + " -> " + now->name());

  // A system volume registers its data volume; a data volume seen a moment
  // ago may be gone by now.
  CVDiskVolumeRef registration = volume;
  if (isSystemRole(volume->volumeRole()) && volume->dataVolume()) {
    registration = volume->dataVolume();
    if (!registration) {
      log.fault(p + ") - Unable to determine registration volume for " + volume->description());
      return;
    }
  }
  const std::string guid = seen.guid().uuidString();
  log.default_(p + ") - registration volume: " + guid + " => " + registration->description());

  if (registration->isReady()) {
    auto prior = bookmarkForGUIDString(guid);
    log.default_(p + ") - GUID map entry prior to update - name: " +
                 (prior ? prior->volumeName().value_or("") : std::string()) +
                 ", uuid: " + (prior ? prior->volumeUUIDString().value_or("") : std::string()));
    // Rewrites the entry and replaces the observer, so the new Identity is
    // the next comparison's base.
    registerVolume(*registration, seen.guid());
    return;
  }

  // Not mounted: the entry stays as it is until a later change finds the
  // volume ready; make sure that change will be seen.
  auto registrationBSDName = registration->bsdName();
  if (!registrationBSDName) return;
  const std::string named = registration->name() + ", " + *registrationBSDName;
  log.default_(p + ") - GUID map update not yet possible - registration volume " + named +
               " is not currently mounted");
  bool observed = false;
  {
    std::lock_guard lock(callbackMutex_);
    observed = callbackContext_.contains(*registrationBSDName);
  }
  if (observed) {
    log.default_(p + ") - registration volume " + named + " has observer for description changes");
    return;
  }
  log.default_(p + ") - registration volume " + named + " does not have an observer - adding observer now");
  observeDisk(*registration, seen.guid());
}
