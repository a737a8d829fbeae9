#pragma once
// The known-volume registry: a persisted map from a generated GUID to a
// bookmark of the volume it stands for, kept under "CVDiskKnownVolumes" in
// Corvane's user defaults. One process-wide manager owns the map, the
// defaults object, the Disk Arbitration session and the queues.
//
// Everybody reads the map through `snapshot()` (or a copy through `map()`)
// and replaces it whole through `setMap()`; there is no per-entry store. A write returns at once and
// is saved on `serialMapQueue`; `waitForPendingSaves` (also run at process
// exit) returns once every queued save is on disk.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/disk_arbitration.h"
#include "platform/dispatch.h"
#include "platform/error.h"
#include "platform/user_defaults.h"
#include "platform/value.h"
#include "registry/identity.h"
#include "registry/registry_snapshot.h"
#include "registry/volume_bookmark.h"
#include "volumes/volume_context.h"

class CVDiskVolume;
using CVDiskVolumeRef = std::shared_ptr<CVDiskVolume>;

// Why `mountedVolumeForGUIDString` gave no volume, in priority order of its
// tests: the bookmark says ejectable; a local disk with the volume UUID is
// attached; anything else (bad GUID text, no entry, no such disk).
enum class VolumeAccessError { automountableVolumeNotMounted, localVolumeAttachedButNotMounted, localVolumeNotAvailable };
// The case's name ("automountableVolumeNotMounted").
std::string_view description(VolumeAccessError error);
// A ready volume, or why there is none.
using MountedVolumeResult = platform::Result<CVDiskVolumeRef, VolumeAccessError>;

class CVDiskManager {
  struct Passkey {};

 public:
  // The defaults key of the registry.
  static constexpr std::string_view kMapKey = "CVDiskKnownVolumes";
  // The suites tried, in this order, by the bare tool.
  static constexpr std::string_view kSuiteName = "com.tamarlin.Corvane";
  static constexpr std::string_view kAlternateSuiteName = "com.tamarlin.Corvane!";

  // The one manager of the process, started on first use on the installed
  // platform and never destroyed. Starting registers an exit handler that
  // waits for queued saves.
  static CVDiskManager& sharedInstance();
  // A manager of its own over the installed platform, running the same start
  // sequence; for tests and tools that must not share the process-wide one.
  static std::shared_ptr<CVDiskManager> create();
  // Ends the process-wide manager's work, if there is one: its Disk
  // Arbitration observation (once no callback runs) and its queued saves.
  // The tool calls it before leaving `main`, while everything the callbacks
  // use is still alive.
  static void finishSharedInstance();

  CVDiskManager(Passkey);
  ~CVDiskManager();
  CVDiskManager(const CVDiskManager&) = delete;
  CVDiskManager& operator=(const CVDiskManager&) = delete;

  // ---- Store -------------------------------------------------------------

  // The registry as it is now, read synchronously on `serialMapQueue`; it
  // never changes, a write makes a new one.
  std::shared_ptr<const RegistrySnapshot> snapshot() const;
  // A copy of the registry's entries.
  CVDiskVolumeMap map() const;
  // Replaces the registry whole (logged), then queues the save and returns.
  // Saves still queued are folded into one: the last map wins.
  void setMap(CVDiskVolumeMap newMap);
  // Returns once every save queued before the call has reached the defaults.
  void waitForPendingSaves() const;

  // The defaults object the registry lives in: the process's own domain
  // inside an application; for the bare tool the first suite of
  // kSuiteName, kAlternateSuiteName whose preferences file exists (debug
  // line "Using registered defaults: <suite>"), else the process's own.
  static std::shared_ptr<platform::UserDefaults> chooseDefaults();
  // The suite's defaults only when "<Library>/Preferences/<suite>.plist"
  // exists, so a missing domain is never created.
  static std::shared_ptr<platform::UserDefaults> suiteDefaults(std::string_view suiteName);
  const std::shared_ptr<platform::UserDefaults>& defaults() const { return defaults_; }
  const std::string& mapKey() const { return mapKey_; }

  // ---- Registration and lookup ------------------------------------------
  // Every lookup reads the registry anew (the current snapshot) and logs
  // nothing. Lookups that search the attached volumes do so through
  // `volumes`, and the volumes they give carry it; the default context
  // walks the media afresh for every search.

  // The GUID whose bookmark carries the volume UUID of the registration
  // volume (a system volume or its snapshot registers its data volume). Only
  // the volume UUID decides; the first entry in key order wins. With
  // `shouldRegister` a volume without entry gets a new random GUID. Nothing
  // for a volume with no name or no volume UUID.
  std::optional<platform::UUID> GUIDForVolume(const CVDiskVolume& volume, bool shouldRegister);
  // GUIDForVolume(volume, true) as text. Registers: the reports never call it.
  std::optional<std::string> GUIDStringForVolume(const CVDiskVolume& volume);
  // Writes the volume's new bookmark under the GUID (a new entry, or the old
  // one replaced whole) and observes the volume. Nothing when the volume has
  // no volume UUID or no bookmark can be made.
  std::optional<platform::UUID> registerVolume(const CVDiskVolume& volume, const platform::UUID& guid);
  // The volume that registers for `volume`: its data volume when it is a
  // system volume or mounted system snapshot with one, else itself.
  static CVDiskVolumeRef registrationVolumeFor(const CVDiskVolume& volume);

  // The attached volume of the GUID, as presented; nothing for bad text, no
  // entry, no volume UUID in the bookmark, or no attached volume with it.
  CVDiskVolumeRef volumeForGUIDString(std::string_view guidString, const VolumeContext& volumes = {}) const;
  CVDiskVolumeRef volumeForGUID(const platform::UUID& guid, const VolumeContext& volumes = {}) const;
  // What a volume of a system/data group is shown as: the system's mounted
  // snapshot, else the system volume (maybe nothing); other volumes as they are.
  static CVDiskVolumeRef presentationVolume(const CVDiskVolume& volume);
  // The ready volume of the GUID, or the reason there is none (see above).
  MountedVolumeResult mountedVolumeForGUIDString(std::string_view guidString, const VolumeContext& volumes = {}) const;

  // Remembered facts, from the bookmark alone: they answer for volumes that
  // are not attached. Nothing when there is no entry or no value.
  std::optional<VolumeBookmark> bookmarkForGUIDString(std::string_view guidString) const;
  std::optional<std::string> volumeName(std::string_view guidString) const;
  // The localized name; a present "" gives the volume name instead, an
  // absent one stays absent.
  std::optional<std::string> volumeLocalizedName(std::string_view guidString) const;
  std::optional<std::string> volumeUUIDString(std::string_view guidString) const;

  // ---- Dumps and duplicates ---------------------------------------------

  // The table of every entry: headings, rule, one line per entry in key
  // order; the mounted mark looks at the attached volumes through `volumes`.
  std::string guidMapDump(const VolumeContext& volumes = {}) const;
  // "No duplicate GUID entries found\n", or one line per volume UUID of
  // `duplicateVolumeEntries`, in UUID order. Always present.
  std::optional<std::string> duplicatesDump() const;
  // Volume UUID string to its GUID strings (in key order), for UUIDs that
  // more than one GUID carries.
  std::map<std::string, std::vector<std::string>> duplicateVolumeEntries() const;

  // ---- Observation (Disk Arbitration) -----------------------------------

  // Adds a description-change observer for the volume under the GUID, and
  // removes the one of a BSD name. Called by registration.
  void observeDisk(const CVDiskVolume& volume, const platform::UUID& guid);
  void unobserveDisk(const std::string& bsdName);

  // The seven Disk Arbitration callbacks; they run on `daQueue`. The
  // description-change callback gets the Identity of its observer.
  void diskVolumeAppeared(const platform::DADiskRef& disk);
  void diskVolumeDisappeared(const platform::DADiskRef& disk);
  void diskVolumeDescriptionChanged(const platform::DADiskRef& disk, const std::vector<std::string>& keys,
                                    const std::shared_ptr<const Identity>& context);
  void peekCallback(const platform::DADiskRef& disk);
  std::optional<platform::DADissenter> mountApprovalCallback(const platform::DADiskRef& disk);
  std::optional<platform::DADissenter> unmountApprovalCallback(const platform::DADiskRef& disk);
  std::optional<platform::DADissenter> ejectCallback(const platform::DADiskRef& disk);

  // A copy of `callbackContext`: BSD name to the Identity its observer was
  // added with.
  std::map<std::string, std::shared_ptr<const Identity>> observedIdentities() const;

  // ---- Mounting and unmounting -------------------------------------------

  // Brings up the mount points of the GUID's volume (both members of a
  // system/data group) through `diskutil mount`, and gives its presentation
  // volume; nothing when the GUID has no entry, the volume is not attached or
  // a mount fails (the reason goes to the log). Blocks while diskutil runs.
  CVDiskVolumeRef mountVolumeForGUIDString(std::string_view guidString);
  // The same on a background queue; `completion` gets the result there. The
  // manager must outlive the call (the shared one always does).
  void mountVolumeForGUIDString(std::string guidString, std::function<void(CVDiskVolumeRef)> completion);
  // Asks Disk Arbitration, on a session of its own, to unmount the volume:
  // the system and the data volume of a group, or the volume alone (forced).
  // Fire and forget.
  void unmountWithVolume(const CVDiskVolume& volume);

  const platform::DispatchQueue& serialMapQueue() const { return serialMapQueue_; }
  const platform::DispatchQueue& daQueue() const { return daQueue_; }
  const platform::DASessionRef& session() const { return session_; }

 private:
  // The constructor's body, once the queues and the session exist: chooses
  // the defaults, binds the callbacks, validates the stored value, loads it
  // and starts the observation of disks, in that order.
  void start();
  // Binds the callback fields to the member callbacks above; the
  // description-change callback is bound per observed volume instead.
  void bindCallbacks();
  // Replaces a stored registry that is missing, no dictionary, or holds
  // anything but data with an empty dictionary, so that every later read
  // and write starts from a well-formed registry.
  void validateStoredValue();
  // Reads the stored registry into the map.
  void loadStoredValue();
  // Registers the Disk Arbitration callbacks in their order, then sets the
  // session's queue to `daQueue`; `stopObservation` undoes them in teardown
  // order and waits for a delivery that is still running. (These two live
  // with the observation code.)
  void startObservation();
  void stopObservation();
  // The volume itself when it is ready, else after `diskutil mount` said
  // "mounted"; nothing when that fails.
  static CVDiskVolumeRef mountVolume(const CVDiskVolumeRef& volume);
  // Writes `_map` to the defaults; runs on `serialMapQueue`.
  void saveMap();

  // Fields in their table order. The map is only ever replaced whole.
  std::shared_ptr<const RegistrySnapshot> map_;
  platform::DispatchQueue serialMapQueue_;
  platform::DispatchQueue daQueue_;
  platform::DASessionRef session_;
  // BSD name to the Identity seen when its observer was added, with the
  // registration that DAUnregisterCallback takes. Guarded by callbackMutex_.
  struct Observer {
    std::shared_ptr<const Identity> identity;
    platform::DACallbackRegistration registration;
  };
  std::map<std::string, Observer> callbackContext_;
  mutable std::mutex callbackMutex_;
  // Set when teardown begins: no observer is added after it. Guarded by
  // callbackMutex_.
  bool observationStopped_ = false;
  std::shared_ptr<platform::UserDefaults> defaults_;
  std::string mapKey_;
  // The callbacks, bound to this manager in the start sequence; the
  // description-change one is registered once per observed volume with its
  // Identity bound in.
  platform::DADiskAppearedCallback diskVolumeAppeared_;
  platform::DADiskDisappearedCallback diskVolumeDisappeared_;
  platform::DADiskDescriptionChangedCallback diskVolumeDescriptionChanged_;
  platform::DADiskPeekCallback peekCallback_;
  platform::DADiskApprovalCallback unmountApprovalCallback_;
  platform::DADiskApprovalCallback mountApprovalCallback_;
  platform::DADiskApprovalCallback ejectCallback_;
  // The registrations made at start, for teardown.
  std::vector<platform::DACallbackRegistration> registrations_;

  // Whether a save is queued and not started yet; touched on serialMapQueue.
  bool saveQueued_ = false;
  // Entered for each queued save, left when it has been written.
  platform::DispatchGroup pendingSaves_;
};
