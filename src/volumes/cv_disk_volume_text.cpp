// The three text forms of a volume: the 50-line information block, the
// one-line description and the debug description of its raw dictionaries.
#include <string>
#include <utility>
#include <vector>

#include "platform/disk_arbitration.h"
#include "platform/formatters.h"
#include "platform/platform.h"
#include "platform/url_resources.h"
#include "volumes/cv_disk_volume.h"
#include "volumes/number_text.h"
#include "volumes/volume_text.h"

using platform::current;

namespace {

std::string text(const std::optional<std::string>& value) { return value.value_or(""); }

std::string text(const std::optional<platform::URL>& url) {
  return url ? url->absoluteString() : "";
}

std::string text(const std::optional<platform::UUID>& uuid) {
  return uuid ? uuid->uuidString() : "";
}

std::string bsdNameOf(const CVDiskVolumeRef& volume) {
  return volume ? text(volume->bsdName()) : "";
}

}  // namespace

std::string CVDiskVolume::info() const {
  using platform::kDADiskDescriptionMediaNameKey;
  using platform::kDADiskDescriptionVolumeNameKey;

  std::string blockSizeText;
  if (const auto* description = properties()) {
    const auto* value = platform::lookup(*description, platform::kDADiskDescriptionMediaBlockSizeKey);
    if (value) {
      if (auto number = value->asUInt64()) blockSizeText = std::to_string(*number);
    }
  }

  // The whole disk is asked afresh here, not through the cached parent, so a
  // whole disk shows itself.
  std::string wholeName;
  std::string wholeMediaUUID;
  if (auto whole = current().diskArbitration->DADiskCopyWholeDisk(daDisk_)) {
    auto wholeVolume = initWithDADisk(std::move(whole), context_);
    wholeName = text(wholeVolume->bsdName());
    wholeMediaUUID = text(wholeVolume->daUUID(platform::kDADiskDescriptionMediaUUIDKey));
  }

  auto image = imagePath();
  auto mountResourceString = [this](std::string_view key) -> std::string {
    auto value = mountResource(key);
    return value && value->string() ? *value->string() : "";
  };
  auto mountResourceURLText = [this](std::string_view key) -> std::string {
    auto value = mountResource(key);
    return value && value->url() ? value->url()->absoluteString() : "";
  };
  auto nameValue = daString(kDADiskDescriptionVolumeNameKey);
  if (!nameValue) nameValue = daString(kDADiskDescriptionMediaNameKey);

  const std::vector<std::pair<std::string_view, std::string>> lines{
      {"Name", text(nameValue)},
      {"Volume Name", text(daString(kDADiskDescriptionVolumeNameKey))},
      {"Volume Localized Name", mountResourceString(platform::NSURLVolumeLocalizedNameKey)},
      {"Volume Path", text(path())},
      {"Volume UUID", text(volumeUUIDString())},
      {"Volume Group UUID", text(volumeGroupUUID())},
      {"Volume BSD Device", text(bsdName())},
      {"Volume Kind", text(daString(platform::kDADiskDescriptionVolumeKindKey))},
      {"Volume Format", text(volumeFormatDescription())},
      {"Volume Personality", text(volumePersonality())},
      {"Volume Foreign", yesNo(isForeignFileSystem())},
      {"Volume Core Storage", yesNo(ioBoolean("CoreStorage").value_or(false))},
      {"Volume RAID", yesNo(isRAIDVolume())},
      {"Volume Encrypted", yesNo(isEncrypted())},
      {"Volume Owners", enabledDisabled(volumePermissionsAreEnabled())},
      {"Volume ACLs", enabledDisabled(volumeSupportsExtendedSecurity())},
      {"Volume Journaling", yesNo(volumeIsJournaling())},
      {"Volume Case Sensitive", yesNo(volumeIsCaseSensitive())},
      {"Volume Mountable", yesNo(daFlag(platform::kDADiskDescriptionVolumeMountableKey))},
      // "Mounted" is readiness: a mount point that exists on a mountable
      // volume. There is no separate mounted state.
      {"Volume Mounted", yesNo(isReady())},
      {"Volume Writable", yesNo(isWritable())},
      {"Volume Browsable", yesNo(mountResourceFlag(platform::NSURLVolumeIsBrowsableKey))},
      {"Volume UnMountable", yesNo(isUnMountable())},
      {"Volume Ejectable", yesNo(daFlag(platform::kDADiskDescriptionMediaEjectableKey))},
      {"Volume Removable", yesNo(isRemovable())},
      {"Volume Network", yesNo(daFlag(platform::kDADiskDescriptionVolumeNetworkKey))},
      {"Volume Remounting URL", mountResourceURLText(platform::NSURLVolumeURLForRemountingKey)},
      {"Volume Ready", yesNo(isReady())},
      {"Volume Boot Volume", yesNo(isBootVolume())},
      {"Volume Bootable APFS", yesNo(isBootableAPFSContainer())},
      {"Volume Parent Device", bsdNameOf(parent())},
      {"Volume Role", ::description(volumeRole())},
      {"Volume System", bsdNameOf(systemVolume())},
      {"Volume Data", bsdNameOf(dataVolume())},
      {"Volume Preboot", bsdNameOf(prebootVolume())},
      {"Volume Recovery", bsdNameOf(recoveryVolume())},
      {"Volume VM", bsdNameOf(virtualMemoryVolume())},
      {"Volume Mounted Image", yesNo(image.has_value())},
      {"Volume Image Path", text(image)},
      {"Media Name", text(daString(kDADiskDescriptionMediaNameKey))},
      {"Media Kind", text(daString(platform::kDADiskDescriptionMediaKindKey))},
      {"Media Content", text(daString(platform::kDADiskDescriptionMediaContentKey))},
      {"Media Block Size", blockSizeText},
      {"Media UUID", text(daUUID(platform::kDADiskDescriptionMediaUUIDKey))},
      {"Whole Media", wholeName},
      {"Whole Media UUID", wholeMediaUUID},
      {"Device Model", text(daString(platform::kDADiskDescriptionDeviceModelKey))},
      {"Device Bus", text(daString(platform::kDADiskDescriptionBusNameKey))},
      {"Device Protocol", text(deviceProtocol())},
      {"Device External", yesNo(deviceIsExternal())},
  };
  return infoBlock("CVDiskVolume \n", lines);
}

std::string CVDiskVolume::description() const {
  VolumeDescriptionParts parts;
  parts.isReady = isReady();
  parts.name = name();
  if (auto mount = mountURL()) parts.mountRelativePath = platform::urlRelativePath(*mount);
  parts.bsdName = bsdName();
  parts.formatDescription = volumeFormatDescription();
  parts.deviceProtocol = deviceProtocol();
  parts.operatingSystem = volumeOperatingSystemExtendedString();
  if (auto total = volumeTotalCapacity()) parts.totalCapacity = NSNumberCVDiag::fileSizeString(*total);
  if (auto available = volumeAvailableCapacity()) {
    parts.availableCapacity = NSNumberCVDiag::fileSizeString(*available);
  }
  // The full value in the current locale, not the cut one of the category.
  if (auto files = volumeFileCount()) parts.fileCount = platform::localeNumberDescription(*files);
  if (auto directories = volumeDirectoryCount()) {
    parts.directoryCount = platform::localeNumberDescription(*directories);
  }
  return volumeDescriptionText(parts);
}

std::string CVDiskVolume::debugDescription() const {
  auto dictionaryText = [](const platform::Dictionary* dictionary) {
    return dictionary ? platform::foundationDescription(*dictionary)
                      : platform::absentDictionaryDescription();
  };
  const auto& ioKit = registryProperties();
  return bsdName().value_or("<nil>") + ":\nDA properties: " + dictionaryText(properties()) +
         " \nIOKit properties: " + dictionaryText(ioKit ? &*ioKit : nullptr);
}
