// The store of the known-volume registry: the process-wide manager, its
// start sequence, the choice of the defaults domain, and the guarded map
// with its queued saves.
#include "registry/cv_disk_manager.h"

#include <cstdlib>

#include "logging/log.h"
#include "platform/file_manager.h"
#include "platform/platform.h"
#include "tools/cv_shared_execution_queue.h"

using platform::current;
using platform::DispatchQueue;
using platform::QualityOfService;

namespace {

std::shared_ptr<platform::UserDefaults> standardDefaults() {
  return current().userDefaults->standardUserDefaults();
}

// The stored value as a registry: nothing unless it is a dictionary whose
// every value is data.
std::optional<CVDiskVolumeMap> registryFromDictionary(const platform::Dictionary& stored) {
  CVDiskVolumeMap result;
  for (const auto& [key, value] : stored) {
    const auto* data = value.data();
    if (!data) return std::nullopt;
    result.emplace(key, *data);
  }
  return result;
}

}  // namespace

std::string_view description(VolumeAccessError error) {
  switch (error) {
    case VolumeAccessError::automountableVolumeNotMounted: return "automountableVolumeNotMounted";
    case VolumeAccessError::localVolumeAttachedButNotMounted: return "localVolumeAttachedButNotMounted";
    case VolumeAccessError::localVolumeNotAvailable: return "localVolumeNotAvailable";
  }
  return "";
}

// ---- The manager's life --------------------------------------------------

namespace {
CVDiskManager* sharedManager = nullptr;
}

CVDiskManager& CVDiskManager::sharedInstance() {
  static CVDiskManager* const instance = [] {
    // Never destroyed: work still queued at exit may use it.
    auto* manager = new CVDiskManager(Passkey{});
    sharedManager = manager;
    // The process never ends with a save still queued.
    std::atexit([] {
      if (sharedManager) sharedManager->waitForPendingSaves();
    });
    return manager;
  }();
  return *instance;
}

void CVDiskManager::finishSharedInstance() {
  if (!sharedManager) return;
  sharedManager->stopObservation();
  sharedManager->waitForPendingSaves();
  sharedManager = nullptr;  // nothing is left for the exit handler
}

std::shared_ptr<CVDiskManager> CVDiskManager::create() { return std::make_shared<CVDiskManager>(Passkey{}); }

// The empty map, the queues, the Disk Arbitration session and the map key
// come first, as member initialisers; `start` does the rest.
CVDiskManager::CVDiskManager(Passkey)
    : map_(std::make_shared<const RegistrySnapshot>(CVDiskVolumeMap{})),
      serialMapQueue_(DispatchQueue::serial("com.tamarlin.corvane.cvdiskmanager.serialMap",
                                            QualityOfService::UserInitiated,
                                            DispatchQueue::global(QualityOfService::UserInitiated))),
      daQueue_(CVSharedExecutionQueue::sharedInstance().addAncestorQueue(
          "com.tamarlin.corvane.cvdiskmanager.daqueue", QualityOfService::UserInitiated)),
      session_(current().diskArbitration->DASessionCreate()),
      mapKey_(kMapKey) {
  start();
}

CVDiskManager::~CVDiskManager() {
  stopObservation();
  // Deliveries already queued still reach this manager; let them run first.
  if (!daQueue_.isCurrent()) daQueue_.sync([] {});
  waitForPendingSaves();
}

void CVDiskManager::start() {
  // Without a session the registry still works; only the observation of
  // disks is off.
  if (!session_) knownVolumesLog().fault("CVDiskManager - no Disk Arbitration session: disks are not observed");
  defaults_ = chooseDefaults();
  bindCallbacks();
  validateStoredValue();
  loadStoredValue();
  // Last of all, so that no callback finds the registry unloaded.
  if (session_) startObservation();
}

void CVDiskManager::validateStoredValue() {
  auto stored = defaults_->dictionaryForKey(mapKey_);
  if (!stored || !registryFromDictionary(*stored)) defaults_->setObject(platform::Dictionary{}, mapKey_);
}

void CVDiskManager::loadStoredValue() {
  // Another writer may have changed the value since it was validated;
  // whatever is not data is left out of the map rather than trusted.
  CVDiskVolumeMap loaded;
  if (auto value = defaults_->objectForKey(mapKey_); value && value->dictionary()) {
    for (const auto& [key, entry] : *value->dictionary()) {
      if (const auto* data = entry.data()) loaded.emplace(key, *data);
    }
  }
  auto initial = std::make_shared<const RegistrySnapshot>(std::move(loaded));
  serialMapQueue_.syncBarrier([&] { map_ = std::move(initial); });
}

// ---- The defaults domain ---------------------------------------------------

std::shared_ptr<platform::UserDefaults> CVDiskManager::chooseDefaults() {
  if (current().bundle->bundleIdentifier()) return standardDefaults();
  for (auto suite : {kSuiteName, kAlternateSuiteName}) {
    if (auto defaults = suiteDefaults(suite)) {
      knownVolumesLog().debug("Using registered defaults: " + std::string(suite));
      return defaults;
    }
  }
  return standardDefaults();
}

std::shared_ptr<platform::UserDefaults> CVDiskManager::suiteDefaults(std::string_view suiteName) {
  const auto& files = *current().fileManager;
  auto libraries = files.NSSearchPathForDirectoriesInDomains(
      platform::SearchPathDirectory::NSLibraryDirectory, platform::SearchPathDomainMask::NSUserDomainMask, true);
  if (libraries.empty()) return nullptr;
  std::string path = libraries.front();
  if (path.empty() || path.back() != '/') path += '/';
  path += "Preferences/" + std::string(suiteName) + ".plist";
  if (!files.fileExistsAtPath(path)) return nullptr;
  return current().userDefaults->initWithSuiteName(suiteName);
}

// ---- The map ---------------------------------------------------------------

std::shared_ptr<const RegistrySnapshot> CVDiskManager::snapshot() const {
  std::shared_ptr<const RegistrySnapshot> current;
  serialMapQueue_.sync([&] { current = map_; });
  return current;
}

CVDiskVolumeMap CVDiskManager::map() const { return snapshot()->entries(); }

void CVDiskManager::setMap(CVDiskVolumeMap newMap) {
  knownVolumesLog().default_("CVDiskManager - updating known volume registry");
  bool queueSave = false;
  // Made outside the queue: readers of the old state are not held up.
  auto replacement = std::make_shared<const RegistrySnapshot>(std::move(newMap));
  serialMapQueue_.syncBarrier([&] {
    map_ = std::move(replacement);
    // A save that is queued and not started yet will write this map too.
    queueSave = !saveQueued_;
    if (queueSave) pendingSaves_.enter();
    saveQueued_ = true;
  });
  if (queueSave) {
    serialMapQueue_.async([this] {
      saveQueued_ = false;
      saveMap();
      pendingSaves_.leave();
    });
  }
}

void CVDiskManager::waitForPendingSaves() const {
  // A wait on the group, not on the queue: this also runs in the exit
  // handler, after the main thread's dispatch state is gone.
  pendingSaves_.wait();
}

void CVDiskManager::saveMap() {
  platform::Dictionary stored;
  for (const auto& [key, data] : map_->entries()) stored.emplace(key, platform::Value(data));
  // The defaults write re-reads the domain under its lock and replaces only
  // this key, so other keys and other writers' changes survive.
  if (!defaults_->setObject(platform::Value(std::move(stored)), mapKey_)) {
    knownVolumesLog().error("CVDiskManager - the known volume registry could not be written to its defaults file");
  }
  knownVolumesLog().default_("CVDiskManager - updated known volume registry");
}
