#pragma once
// The protocols through which the rest of the tool sees disks, volumes and
// disk image files. Members are read operations; failures show as absent or
// false, never as errors. A number is a boxed integer (std::int64_t).

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/value.h"
#include "platform/workspace.h"
#include "volumes/volume_role.h"

class CVDiskVolume;

// What a volume and a disk image file have in common. The constructor from an
// image path is a factory on each conformer (`initWithImagePath`).
class DiskVolumeCompatible {
 public:
  virtual ~DiskVolumeCompatible() = default;

  virtual bool isDiskImage() const = 0;
  virtual std::optional<platform::URL> imagePath() const = 0;
  virtual std::optional<std::string> mountPath() const = 0;
  virtual bool isWritable() const = 0;
  virtual bool isTimeMachineVolume() const = 0;
  virtual bool isForeignFileSystem() const = 0;
  virtual std::optional<platform::Bytes> volumeIdentifier() const = 0;
  virtual bool isUnMountable() const = 0;

  // Members a conformer may leave out; one that does gives absent or false.
  virtual std::optional<std::string> volumeOperatingSystemString() const { return std::nullopt; }
  virtual std::optional<std::int64_t> volumeTotalCapacity() const { return std::nullopt; }
  virtual bool isBootVolume() const { return false; }
  virtual std::optional<std::int64_t> volumeFileCount() const { return std::nullopt; }
};

// A disk seen as an object: identity, texts and the few facts every disk has.
class CVDisk : public DiskVolumeCompatible {
 public:
  virtual bool isEqual(const CVDisk& other) const = 0;
  virtual std::uint64_t hash() const = 0;
  virtual std::string description() const = 0;
  virtual std::string debugDescription() const = 0;

  // Empty when nothing is known.
  virtual std::string name() const = 0;
  virtual std::optional<platform::URL> path() const = 0;
  virtual std::optional<platform::Image> icon() const = 0;
  // A multi-line report of everything known.
  virtual std::string info() const = 0;
  virtual bool isReady() const = 0;
};

// The facts of a mounted or mountable file system.
class Volume {
 public:
  virtual ~Volume() = default;

  virtual std::optional<std::string> bsdName() const = 0;
  virtual std::optional<platform::UUID> volumeUUID() const = 0;
  virtual std::optional<std::string> volumeUUIDString() const = 0;
  virtual std::optional<std::string> volumePersonality() const = 0;
  virtual std::optional<std::int64_t> volumeTotalCapacity() const = 0;
  virtual std::optional<std::int64_t> volumeUsedCapacity() const = 0;
  virtual std::optional<std::int64_t> volumeAvailableCapacity() const = 0;
  virtual std::optional<std::string> volumeOperatingSystemString() const = 0;
  virtual std::optional<std::int64_t> volumeFileCount() const = 0;
  virtual std::optional<std::int64_t> volumeDirectoryCount() const = 0;
  virtual bool volumePermissionsAreEnabled() const = 0;
  virtual bool volumeHasExtendedSecurity() const = 0;
  virtual bool volumeSupportsExtendedSecurity() const = 0;
  virtual bool volumeIsCaseSensitive() const = 0;
  virtual bool volumeIsJournaling() const = 0;
  virtual bool isRemovable() const = 0;
};

// The place of a volume in an APFS container and volume group.
class APFSVolume {
 public:
  virtual ~APFSVolume() = default;

  virtual bool isBootableAPFSContainer() const = 0;
  virtual std::shared_ptr<CVDiskVolume> prebootVolume() const = 0;
  virtual std::shared_ptr<CVDiskVolume> recoveryVolume() const = 0;
  virtual std::shared_ptr<CVDiskVolume> virtualMemoryVolume() const = 0;
  virtual std::shared_ptr<CVDiskVolume> systemVolume() const = 0;
  virtual std::shared_ptr<CVDiskVolume> dataVolume() const = 0;
  virtual std::optional<platform::UUID> volumeGroupUUID() const = 0;
  virtual VolumeRole volumeRole() const = 0;
};

class RAIDVolume {
 public:
  virtual ~RAIDVolume() = default;

  virtual bool isRAIDVolume() const = 0;
  virtual bool isSoftRAIDVolume() const = 0;
};
