#include "registry/identity.h"

#include "platform/platform.h"
#include "platform/url_resources.h"
#include "volumes/cv_disk_volume.h"

using platform::UUID;

namespace {

std::string uuidText(const std::optional<UUID>& uuid) { return uuid ? uuid->uuidString() : std::string(); }

std::optional<std::string> localizedNameOf(const CVDiskVolume& volume) {
  auto url = volume.mountURL();
  if (!url) return std::nullopt;
  auto values = platform::current().urlResources->resourceValuesForKeys(
      *url, {std::string(platform::NSURLVolumeLocalizedNameKey)});
  if (!values) return std::nullopt;
  const auto* value = platform::lookup(*values, platform::NSURLVolumeLocalizedNameKey);
  if (!value || !value->string()) return std::nullopt;
  return *value->string();
}

}  // namespace

std::string observedVolumeName(const CVDiskVolume& volume) {
  if (auto name = volume.daString(platform::kDADiskDescriptionVolumeNameKey)) return *name;
  if (auto name = volume.daString(platform::kDADiskDescriptionMediaNameKey)) return *name;
  return "";
}

std::optional<UUID> identityMediaUUID(const CVDiskVolume& volume) {
  if (!volume.isAPFSFileSystem()) return volume.volumeMediaUUID();
  auto whole = platform::current().diskArbitration->DADiskCopyWholeDisk(volume.daDisk());
  if (!whole) return std::nullopt;
  return CVDiskVolume::initWithDADisk(std::move(whole))->daUUID(platform::kDADiskDescriptionMediaUUIDKey);
}

Identity::Identity(std::string name, UUID guid, std::optional<UUID> uuid, std::optional<UUID> muid,
                   std::optional<std::string> localizedName)
    : name_(std::move(name)),
      guid_(guid),
      uuid_(uuid),
      muid_(muid),
      localizedName_(std::move(localizedName)) {}

std::shared_ptr<const Identity> Identity::make(const UUID& guid, const CVDiskVolume& volume) {
  return std::make_shared<const Identity>(observedVolumeName(volume), guid, volume.volumeUUID(),
                                          identityMediaUUID(volume), localizedNameOf(volume));
}

bool operator==(const Identity& a, const Identity& b) {
  return a.guid_ == b.guid_ && a.muid_ == b.muid_ && a.uuid_ == b.uuid_ && a.name_ == b.name_ &&
         a.localizedName_ == b.localizedName_;
}

std::string Identity::description() const {
  return "Identity (guid, uuid, muid) = (" + guid_.uuidString() + ", " + uuidText(uuid_) + ", " +
         uuidText(muid_) + ")";
}

std::string Identity::debugDescription() const {
  return description() + ": Name = " + name_ + ", UUID = " + uuidText(uuid_);
}
