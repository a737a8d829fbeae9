#pragma once
// One disk or volume: a Disk Arbitration disk reference and every fact
// derived from it. An object is a snapshot taken at first use of each cached
// fact (the description, the registry properties, the relations, the Time
// Machine facts); to see a change on the disk, make a new object. Objects are
// shared; cached facts are filled safely from any thread, and reads of
// uncached facts ask the platform again each time.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "platform/disk_arbitration.h"
#include "platform/io_kit.h"
#include "platform/value.h"
#include "volumes/cached.h"
#include "volumes/cv_snapshot.h"
#include "volumes/disk_protocols.h"
#include "volumes/volume_context.h"
#include "volumes/volume_role.h"

class CVDiskVolume;
using CVDiskVolumeRef = std::shared_ptr<CVDiskVolume>;

// A set of volumes under the volumes' own equality (`isEqual`, equal hashes),
// iterating in the order of insertion; membership is one hash lookup.
class CVDiskVolumeSet {
 public:
  CVDiskVolumeSet() = default;
  // Adds the volume unless an equal one is there; says whether it was added.
  bool insert(CVDiskVolumeRef volume);
  bool contains(const CVDiskVolume& volume) const;
  std::size_t size() const { return members_.size(); }
  bool empty() const { return members_.empty(); }
  auto begin() const { return members_.begin(); }
  auto end() const { return members_.end(); }
  const std::vector<CVDiskVolumeRef>& members() const { return members_; }

 private:
  std::vector<CVDiskVolumeRef> members_;
  std::unordered_set<std::uint64_t> hashes_;
};

class CVDiskVolume final : public APFSVolume,
                           public CVDisk,
                           public Volume,
                           public RAIDVolume,
                           public std::enable_shared_from_this<CVDiskVolume> {
  struct Passkey {};

 public:
  // Constructors. Each gives an empty pointer on failure. The volume keeps
  // `context` and hands it to the volumes it finds; the default context
  // keeps no walk and drops read errors (see volumes/volume_context.h).
  // The object on a disk reference, all caches unset; never fails.
  static CVDiskVolumeRef initWithDADisk(platform::DADiskRef disk, VolumeContext context = {});
  // The volume mounted at a mount point. Logs a fault when no disk is there.
  static CVDiskVolumeRef initWithVolumePath(const platform::URL& mountPoint, VolumeContext context = {});
  // "disk3s1" or "/dev/disk3s1"; fails before asking Disk Arbitration when
  // the device file is gone.
  static CVDiskVolumeRef initWithBsdName(std::string_view bsdName, VolumeContext context = {});
  // The mounted volume of a disk image file; the system volume when the
  // image holds a system/data pair.
  static CVDiskVolumeRef initWithImagePath(const platform::URL& imagePath, const VolumeContext& context = {});
  // The first volume in disk order with that volume UUID.
  static CVDiskVolumeRef initWithVolumeUUID(const platform::UUID& uuid, const VolumeContext& context = {});
  // The volume that holds an item, found through the item's volume URL.
  static CVDiskVolumeRef volumeFromItemPathWithItemURL(const platform::URL& itemURL,
                                                       const VolumeContext& context = {});

  // Every IOMedia object of the I/O registry as a new volume, in no
  // particular order; a media object that gives no disk is skipped. The
  // volumes are new every time, even where the context keeps the walk.
  static CVDiskVolumeSet allMediaVolumes(const VolumeContext& context = {});
  // All media volumes in ascending disk order.
  static std::vector<CVDiskVolumeRef> localDisks(const VolumeContext& context = {});
  // Of the local disks, those that are ready (mounted, mountable, present).
  static std::vector<CVDiskVolumeRef> localMountedVolumes(const VolumeContext& context = {});
  // Of the mounted volumes, those the platform calls browsable.
  static std::vector<CVDiskVolumeRef> localBrowsableVolumes(const VolumeContext& context = {});
  // Browsable volumes without the data volumes, so a system/data pair shows
  // once, under its system volume.
  static std::vector<CVDiskVolumeRef> localBrowsableCoalescedVolumes(const VolumeContext& context = {});

  // Use the factories; the passkey keeps construction inside this class.
  CVDiskVolume(Passkey, platform::DADiskRef disk, VolumeContext context);
  CVDiskVolume(const CVDiskVolume&) = delete;
  CVDiskVolume& operator=(const CVDiskVolume&) = delete;

  const platform::DADiskRef& daDisk() const { return daDisk_; }
  // The context the volume was made with.
  const VolumeContext& context() const { return context_; }
  // The Disk Arbitration description and the I/O registry properties of the
  // media object, each read once and kept; an absent answer stays cached.
  const platform::Dictionary* properties() const;
  const std::optional<platform::Dictionary>& registryProperties() const;

  // Typed reads of the description; a value of another type is absent.
  std::optional<std::string> daString(std::string_view key) const;
  std::optional<bool> daBool(std::string_view key) const;
  std::optional<platform::UUID> daUUID(std::string_view key) const;
  std::optional<std::int64_t> daNumber(std::string_view key) const;
  // daBool where a plain boolean is wanted: a missing key is false.
  bool daFlag(std::string_view key) const { return daBool(key).value_or(false); }

  // The raw mount point ("/" for the running system); not cached.
  std::optional<platform::URL> mountURL() const;

  // DiskVolumeCompatible
  bool isDiskImage() const override { return false; }
  std::optional<platform::URL> imagePath() const override;
  std::optional<std::string> mountPath() const override;
  bool isWritable() const override;
  bool isTimeMachineVolume() const override;
  bool isForeignFileSystem() const override;
  std::optional<platform::Bytes> volumeIdentifier() const override;
  bool isUnMountable() const override;
  bool isBootVolume() const override;

  // CVDisk
  bool isEqual(const CVDisk& other) const override;
  std::uint64_t hash() const override;
  std::string description() const override;
  std::string debugDescription() const override;
  std::string name() const override;
  // The mount point, except for the root volume: "/Volumes/<name>/".
  std::optional<platform::URL> path() const override;
  std::optional<platform::Image> icon() const override;
  std::string info() const override;
  bool isReady() const override;

  // Volume
  std::optional<std::string> bsdName() const override;
  std::optional<platform::UUID> volumeUUID() const override;
  std::optional<std::string> volumeUUIDString() const override;
  std::optional<std::string> volumePersonality() const override;
  std::optional<std::int64_t> volumeTotalCapacity() const override;
  std::optional<std::int64_t> volumeUsedCapacity() const override;
  std::optional<std::int64_t> volumeAvailableCapacity() const override;
  std::optional<std::string> volumeOperatingSystemString() const override;
  std::optional<std::int64_t> volumeFileCount() const override;
  std::optional<std::int64_t> volumeDirectoryCount() const override;
  bool volumePermissionsAreEnabled() const override;
  bool volumeHasExtendedSecurity() const override;
  bool volumeSupportsExtendedSecurity() const override;
  bool volumeIsCaseSensitive() const override;
  bool volumeIsJournaling() const override;
  bool isRemovable() const override;

  // APFSVolume
  bool isBootableAPFSContainer() const override;
  CVDiskVolumeRef prebootVolume() const override;
  CVDiskVolumeRef recoveryVolume() const override;
  CVDiskVolumeRef virtualMemoryVolume() const override;
  CVDiskVolumeRef systemVolume() const override;
  CVDiskVolumeRef dataVolume() const override;
  std::optional<platform::UUID> volumeGroupUUID() const override;
  VolumeRole volumeRole() const override;

  // RAIDVolume
  bool isRAIDVolume() const override;
  bool isSoftRAIDVolume() const override;

  // Identity beyond the protocols.
  std::optional<platform::UUID> volumeMediaUUID() const;
  std::int32_t volumeDeviceIdentifier() const;
  std::int32_t volumeRealDeviceIdentifier() const;

  // Format, capacity, capability and device facts; none is cached.
  std::optional<std::string> volumeFormatDescription() const;
  bool isAPFSFileSystem() const;
  bool isHFSFileSystem() const;
  bool volumeSupportsSparseFiles() const;
  bool isEncrypted() const;
  bool deviceIsInternal() const;
  bool deviceIsExternal() const;
  std::optional<std::string> deviceProtocol() const;

  // Relations. `parent`, `children` and `siblings` are computed once and
  // then frozen, an absent answer included; `setParent` replaces the parent.
  CVDiskVolumeRef parent() const;
  void setParent(CVDiskVolumeRef parent);
  const std::optional<CVDiskVolumeSet>& children() const;
  const std::optional<CVDiskVolumeSet>& siblings() const;
  // The snapshot through which this volume group's system is mounted.
  CVDiskVolumeRef mountedSnapshotVolume() const;

  // The macOS version of a mounted system, "14.2.1" and "14.2.1 (23C71)".
  std::optional<std::string> volumeOperatingSystemExtendedString() const;

  // Time Machine facts from tmutil, each asked once; a write replaces the
  // inclusion.
  bool volumeIsIncludedInTimeMachine() const;
  void setVolumeIsIncludedInTimeMachine(bool included);
  const std::vector<std::shared_ptr<CVSnapshot>>& volumeLocalSnapshots() const;

  // Ascending disk order of the BSD names; equal keys are neither less nor
  // greater.
  friend bool operator<(const CVDiskVolume& a, const CVDiskVolume& b);

 private:
  platform::IORegistryEntryRef ioMedia() const;
  std::optional<platform::Value> ioProperty(std::string_view key) const;
  std::optional<bool> ioBoolean(std::string_view key) const;
  std::optional<platform::Value> mountResource(std::string_view key) const;
  bool mountResourceFlag(std::string_view key) const;
  std::optional<platform::Dictionary> systemVersionDictionary() const;
  CVDiskVolumeRef siblingWithRole(VolumeRole role) const;
  CVDiskVolumeRef groupMemberWithRole(VolumeRole role) const;

  const platform::DADiskRef daDisk_;
  const VolumeContext context_;

  // Facts of the description, which never changes for this object, are kept
  // beside it: the volume UUID and the hash are read in every comparison.
  Cached<std::shared_ptr<const platform::Dictionary>> properties_;
  Cached<std::optional<platform::Dictionary>> registryProperties_;
  Cached<std::optional<platform::UUID>> volumeUUID_;
  Cached<std::uint64_t> hash_;
  Cached<std::optional<CVDiskVolumeSet>> children_;
  Replaceable<CVDiskVolumeRef> parent_;
  Cached<std::optional<CVDiskVolumeSet>> siblings_;
  Replaceable<bool> volumeIsIncludedInTimeMachine_;
  Cached<std::vector<std::shared_ptr<CVSnapshot>>> volumeLocalSnapshots_;
};

// Sorts volumes into ascending disk order, keeping the input order of equal
// keys.
void sortByDiskOrder(std::vector<CVDiskVolumeRef>& volumes);
