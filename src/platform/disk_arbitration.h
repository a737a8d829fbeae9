#pragma once
// Disk Arbitration: sessions, disk references, descriptions, whole disks,
// callbacks, unmounting.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/io_kit.h"
#include "platform/value.h"

namespace platform {

// A session (DASessionRef). Opaque; released when the last pointer goes.
// An empty pointer stands for NULL.
class DASession {
 public:
  virtual ~DASession() = default;
};
using DASessionRef = std::shared_ptr<DASession>;

// A disk reference (DADiskRef). Opaque; two references to one media object
// are CFEqual and have one CFHash. An empty pointer stands for NULL.
class DADisk {
 public:
  virtual ~DADisk() = default;
};
using DADiskRef = std::shared_ptr<const DADisk>;

// What DASessionSetDispatchQueue takes in place of a dispatch queue: a
// function that runs the given block on the queue (asynchronously, in the
// order it was handed blocks). An empty executor detaches the session (NULL
// queue): no callback is delivered until a queue is set again.
using DAExecutor = std::function<void(std::function<void()>)>;

// The description keys (the texts of the kDADiskDescription…Key constants).
inline constexpr std::string_view kDADiskDescriptionVolumeKindKey = "DAVolumeKind";
inline constexpr std::string_view kDADiskDescriptionVolumeMountableKey = "DAVolumeMountable";
inline constexpr std::string_view kDADiskDescriptionVolumeNameKey = "DAVolumeName";
inline constexpr std::string_view kDADiskDescriptionVolumeNetworkKey = "DAVolumeNetwork";
inline constexpr std::string_view kDADiskDescriptionVolumePathKey = "DAVolumePath";
inline constexpr std::string_view kDADiskDescriptionVolumeTypeKey = "DAVolumeType";
inline constexpr std::string_view kDADiskDescriptionVolumeUUIDKey = "DAVolumeUUID";
inline constexpr std::string_view kDADiskDescriptionMediaBlockSizeKey = "DAMediaBlockSize";
inline constexpr std::string_view kDADiskDescriptionMediaBSDNameKey = "DAMediaBSDName";
inline constexpr std::string_view kDADiskDescriptionMediaBSDUnitKey = "DAMediaBSDUnit";
inline constexpr std::string_view kDADiskDescriptionMediaContentKey = "DAMediaContent";
inline constexpr std::string_view kDADiskDescriptionMediaEjectableKey = "DAMediaEjectable";
inline constexpr std::string_view kDADiskDescriptionMediaKindKey = "DAMediaKind";
inline constexpr std::string_view kDADiskDescriptionMediaNameKey = "DAMediaName";
inline constexpr std::string_view kDADiskDescriptionMediaRemovableKey = "DAMediaRemovable";
inline constexpr std::string_view kDADiskDescriptionMediaSizeKey = "DAMediaSize";
inline constexpr std::string_view kDADiskDescriptionMediaUUIDKey = "DAMediaUUID";
inline constexpr std::string_view kDADiskDescriptionMediaWholeKey = "DAMediaWhole";
inline constexpr std::string_view kDADiskDescriptionDeviceInternalKey = "DADeviceInternal";
inline constexpr std::string_view kDADiskDescriptionDeviceModelKey = "DADeviceModel";
inline constexpr std::string_view kDADiskDescriptionDeviceProtocolKey = "DADeviceProtocol";
inline constexpr std::string_view kDADiskDescriptionBusNameKey = "DABusName";

// The match dictionary of whole media only: {DAMediaWhole: true}.
inline Dictionary kDADiskDescriptionMatchMediaWhole() {
  return Dictionary{{std::string(kDADiskDescriptionMediaWholeKey), Value(true)}};
}

inline constexpr std::uint32_t kDADiskUnmountOptionDefault = 0x00000000;
inline constexpr std::uint32_t kDADiskUnmountOptionWhole = 0x00000001;
inline constexpr std::uint32_t kDADiskUnmountOptionForce = 0x00080000;

// A refusal of an approval callback or a failed request (DADissenterRef).
struct DADissenter {
  std::int32_t status = 0;
  std::optional<std::string> statusString;
  friend bool operator==(const DADissenter&, const DADissenter&) = default;
};

// Names one registered callback for DAUnregisterCallback. (The platform names
// a registration by its function and context; here the registration call
// hands out this token, and closures carry the context.)
struct DACallbackRegistration {
  std::uint64_t id = 0;
  friend bool operator==(const DACallbackRegistration&, const DACallbackRegistration&) = default;
};

using DADiskAppearedCallback = std::function<void(const DADiskRef& disk)>;
using DADiskDisappearedCallback = std::function<void(const DADiskRef& disk)>;
// `keys` are the description keys whose values changed.
using DADiskDescriptionChangedCallback =
    std::function<void(const DADiskRef& disk, const std::vector<std::string>& keys)>;
using DADiskPeekCallback = std::function<void(const DADiskRef& disk)>;
// Mount, unmount and eject approval: nothing approves, a dissenter refuses.
using DADiskApprovalCallback = std::function<std::optional<DADissenter>(const DADiskRef& disk)>;
// The outcome of DADiskUnmount: nothing on success.
using DADiskUnmountCallback =
    std::function<void(const DADiskRef& disk, const std::optional<DADissenter>& dissenter)>;

class DiskArbitration {
 public:
  virtual ~DiskArbitration() = default;

  // DASessionCreate(kCFAllocatorDefault): a new session, or NULL on failure.
  virtual DASessionRef DASessionCreate() = 0;

  // A count that grows whenever a disk appears or disappears or a disk's
  // description changes. While it stays the same, the media and their
  // descriptions are the same, so what a walk of the disks found still holds.
  virtual std::uint64_t diskStateGeneration() const = 0;

  // DASessionSetDispatchQueue(session, queue): from now on the session's
  // callbacks run through `executor`, one block per delivery; an empty
  // executor (NULL queue) holds deliveries back until a queue is set again.
  virtual void DASessionSetDispatchQueue(const DASessionRef& session, DAExecutor executor) = 0;

  // DADiskCreateFromBSDName(allocator, session, name): the disk of that BSD
  // name; "disk3s1" and "/dev/disk3s1" name the same disk. NULL when there is
  // no such disk or no session.
  virtual DADiskRef DADiskCreateFromBSDName(const DASessionRef& session,
                                            std::string_view name) const = 0;

  // DADiskCreateFromVolumePath(allocator, session, url): the disk whose
  // DAVolumePath has the same path as `url` ("/Volumes/Data" and
  // "/Volumes/Data/" are the same); NULL when nothing is mounted there.
  virtual DADiskRef DADiskCreateFromVolumePath(const DASessionRef& session,
                                               const URL& path) const = 0;

  // DADiskCreateFromIOMedia(allocator, session, media): the disk of an IOMedia
  // entry from IOKit; NULL for any other entry or no session.
  virtual DADiskRef DADiskCreateFromIOMedia(const DASessionRef& session,
                                            const IORegistryEntryRef& media) const = 0;

  // DADiskCopyDescription(disk): the description dictionary, keyed by the
  // kDADiskDescription…Key texts; nothing (null) when the disk has none. The
  // dictionary never changes: a changed disk gives a new one, so callers may
  // share and keep it without copying.
  virtual std::shared_ptr<const Dictionary> DADiskCopyDescription(const DADiskRef& disk) const = 0;

  // DADiskCopyIOMedia(disk): the IOMedia registry entry of the disk.
  virtual IORegistryEntryRef DADiskCopyIOMedia(const DADiskRef& disk) const = 0;

  // DADiskCopyWholeDisk(disk): the whole disk of a slice (a whole disk gives
  // itself); NULL when there is none.
  virtual DADiskRef DADiskCopyWholeDisk(const DADiskRef& disk) const = 0;

  // DADiskGetBSDName(disk): the BSD name ("disk3s1"), or nothing.
  virtual std::optional<std::string> DADiskGetBSDName(const DADiskRef& disk) const = 0;

  // CFHash(disk) and CFEqual(a, b): references to one media object are equal
  // and hash alike within a run. NULL equals only NULL and hashes to 0.
  virtual std::size_t CFHash(const DADiskRef& disk) const = 0;
  virtual bool CFEqual(const DADiskRef& a, const DADiskRef& b) const = 0;

  // The callback registrations. `match` (nothing for NULL) admits only disks
  // whose description holds every pair of it with an equal value. Callbacks
  // run on the session's executor, never on the registering thread.
  //
  // DARegisterDiskAppearedCallback: at registration, one call for every disk
  // already attached that matches, in the order IOKit hands out the media;
  // later, one per disk that appears.
  virtual DACallbackRegistration DARegisterDiskAppearedCallback(
      const DASessionRef& session, std::optional<Dictionary> match,
      DADiskAppearedCallback callback) = 0;
  virtual DACallbackRegistration DARegisterDiskDisappearedCallback(
      const DASessionRef& session, std::optional<Dictionary> match,
      DADiskDisappearedCallback callback) = 0;
  // `watch` (nothing for NULL: every key) limits the keys that count as a change.
  virtual DACallbackRegistration DARegisterDiskDescriptionChangedCallback(
      const DASessionRef& session, std::optional<Dictionary> match,
      std::optional<std::vector<std::string>> watch, DADiskDescriptionChangedCallback callback) = 0;
  virtual DACallbackRegistration DARegisterDiskPeekCallback(const DASessionRef& session,
                                                            std::optional<Dictionary> match,
                                                            std::int32_t order,
                                                            DADiskPeekCallback callback) = 0;
  virtual DACallbackRegistration DARegisterDiskMountApprovalCallback(
      const DASessionRef& session, std::optional<Dictionary> match,
      DADiskApprovalCallback callback) = 0;
  virtual DACallbackRegistration DARegisterDiskUnmountApprovalCallback(
      const DASessionRef& session, std::optional<Dictionary> match,
      DADiskApprovalCallback callback) = 0;
  virtual DACallbackRegistration DARegisterDiskEjectApprovalCallback(
      const DASessionRef& session, std::optional<Dictionary> match,
      DADiskApprovalCallback callback) = 0;

  // DAUnregisterCallback(session, callback, context): no delivery of that
  // registration starts after this returns. An unknown token is ignored.
  virtual void DAUnregisterCallback(const DASessionRef& session,
                                    DACallbackRegistration registration) = 0;

  // DADiskUnmount(disk, options, callback, context): asks for the disk to be
  // unmounted (kDADiskUnmountOption…). Fire and forget when `callback` is
  // empty; otherwise the outcome comes back through it.
  virtual void DADiskUnmount(const DADiskRef& disk, std::uint32_t options,
                             DADiskUnmountCallback callback) = 0;
};

}  // namespace platform
