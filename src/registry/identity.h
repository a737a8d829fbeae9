#pragma once
// What the running program observed of a volume at one moment. It rides
// along as the context of a description-change observer, so that a later
// change can be compared with what was seen when the observer was added.

#include <memory>
#include <optional>
#include <string>

#include "platform/value.h"

class CVDiskVolume;

class Identity {
 public:
  Identity(std::string name, platform::UUID guid, std::optional<platform::UUID> uuid,
           std::optional<platform::UUID> muid, std::optional<std::string> localizedName);

  // Made from a registry GUID and a live volume in one step. `name` is the
  // Disk Arbitration volume name, else the media name, else "". `muid` is the
  // media UUID of the volume itself, except for APFS where it is the whole
  // disk's (absent when there is no whole disk). `localizedName` is the
  // localized-name resource of the volume's mount URL, absent without one.
  static std::shared_ptr<const Identity> make(const platform::UUID& guid, const CVDiskVolume& volume);

  const std::string& name() const { return name_; }
  const platform::UUID& guid() const { return guid_; }
  const std::optional<platform::UUID>& uuid() const { return uuid_; }
  const std::optional<platform::UUID>& muid() const { return muid_; }
  const std::optional<std::string>& localizedName() const { return localizedName_; }

  // Equality of observed facts: guid, muid, uuid, name and localizedName all
  // equal; two absent values are equal, absent and present are not.
  friend bool operator==(const Identity& a, const Identity& b);

  // "Identity (guid, uuid, muid) = (<guid>, <uuid>, <muid>)", absent as "".
  std::string description() const;
  // The description, then ": Name = <name>, UUID = <uuid>".
  std::string debugDescription() const;

 private:
  const std::string name_;
  const platform::UUID guid_;
  const std::optional<platform::UUID> uuid_;
  const std::optional<platform::UUID> muid_;
  const std::optional<std::string> localizedName_;
};

// The media ID that identity comparisons use: for APFS the whole disk's
// media UUID (absent without a whole disk), otherwise the volume's own.
std::optional<platform::UUID> identityMediaUUID(const CVDiskVolume& volume);
// The name that identities and registration use: the Disk Arbitration volume
// name, else the media name, else "".
std::string observedVolumeName(const CVDiskVolume& volume);
