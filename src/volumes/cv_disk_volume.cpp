// The core of a volume: construction, the cached description and registry
// properties, typed reads, names and paths, identity and order, and the
// enumerations of the attached media.
#include "volumes/cv_disk_volume.h"

#include <algorithm>
#include <filesystem>
#include <functional>

#include "platform/file_manager.h"
#include "platform/platform.h"
#include "platform/system.h"
#include "platform/url_resources.h"
#include "platform/workspace.h"
#include "text/text.h"
#include "tools/disk_order_key.h"
#include "logging/log.h"

using platform::current;

namespace {

constexpr std::uint64_t kHashFactor = 4256233;

std::uint64_t stringHash(const std::string& text) { return std::hash<std::string>{}(text); }

// The standardized path of a file URL: "." and ".." resolved, no final "/".
std::string standardizedPath(const platform::URL& url) {
  std::string normal = std::filesystem::path(url.path()).lexically_normal().string();
  while (normal.size() > 1 && normal.back() == '/') normal.pop_back();
  return normal;
}

}  // namespace

// ---- The set of volumes ----------------------------------------------------

bool CVDiskVolumeSet::insert(CVDiskVolumeRef volume) {
  if (!volume || !hashes_.insert(volume->hash()).second) return false;
  members_.push_back(std::move(volume));
  return true;
}

bool CVDiskVolumeSet::contains(const CVDiskVolume& volume) const {
  return hashes_.count(volume.hash()) != 0;
}

// ---- Construction ------------------------------------------------------------

CVDiskVolume::CVDiskVolume(Passkey, platform::DADiskRef disk, VolumeContext context)
    : daDisk_(std::move(disk)), context_(std::move(context)) {}

CVDiskVolumeRef CVDiskVolume::initWithDADisk(platform::DADiskRef disk, VolumeContext context) {
  return std::make_shared<CVDiskVolume>(Passkey{}, std::move(disk), std::move(context));
}

CVDiskVolumeRef CVDiskVolume::initWithVolumePath(const platform::URL& mountPoint, VolumeContext context) {
  auto& da = *current().diskArbitration;
  auto session = da.DASessionCreate();
  if (!session) return nullptr;
  auto disk = da.DADiskCreateFromVolumePath(session, mountPoint);
  if (!disk) {
    diskLog().fault("Error: DADiskCreateFromVolumePath(" + mountPoint.absoluteString() +
                      ") returned nil");
    return nullptr;
  }
  return initWithDADisk(std::move(disk), std::move(context));
}

CVDiskVolumeRef CVDiskVolume::initWithBsdName(std::string_view bsdName, VolumeContext context) {
  std::string devicePath(bsdName);
  if (!devicePath.starts_with("/dev/")) devicePath = "/dev/" + devicePath;
  if (!current().fileManager->fileExistsAtPath(devicePath)) return nullptr;
  auto& da = *current().diskArbitration;
  auto session = da.DASessionCreate();
  if (!session) return nullptr;
  auto disk = da.DADiskCreateFromBSDName(session, bsdName);
  if (!disk) return nullptr;
  return initWithDADisk(std::move(disk), std::move(context));
}

CVDiskVolumeRef CVDiskVolume::initWithImagePath(const platform::URL& imagePath, const VolumeContext& context) {
  const std::string wanted = standardizedPath(imagePath);
  for (const auto& volume : localMountedVolumes(context)) {
    auto image = volume->imagePath();
    if (!image || standardizedPath(*image) != wanted) continue;
    if (auto system = volume->systemVolume()) return initWithDADisk(system->daDisk(), context);
    return initWithDADisk(volume->daDisk(), context);
  }
  return nullptr;
}

CVDiskVolumeRef CVDiskVolume::initWithVolumeUUID(const platform::UUID& uuid, const VolumeContext& context) {
  auto walk = context.mediaWalk();
  const auto* first = walk->firstWithVolumeUUID(uuid);
  return first ? initWithDADisk(first->disk, context) : nullptr;
}

CVDiskVolumeRef CVDiskVolume::volumeFromItemPathWithItemURL(const platform::URL& itemURL,
                                                            const VolumeContext& context) {
  auto value = context.resourceValue(itemURL, platform::NSURLVolumeURLKey);
  if (!value || !value->url()) return nullptr;
  return initWithVolumePath(*value->url(), context);
}

// ---- Enumerations ------------------------------------------------------------

CVDiskVolumeSet CVDiskVolume::allMediaVolumes(const VolumeContext& context) {
  CVDiskVolumeSet volumes;
  const auto walk = context.mediaWalk();
  for (const auto& entry : walk->entries()) volumes.insert(initWithDADisk(entry.disk, context));
  return volumes;
}

void sortByDiskOrder(std::vector<CVDiskVolumeRef>& volumes) {
  // Compute each key once: a key reads the description.
  std::vector<std::pair<std::int64_t, CVDiskVolumeRef>> keyed;
  keyed.reserve(volumes.size());
  for (auto& volume : volumes) keyed.emplace_back(diskOrderKeyOfOptional(volume->bsdName()), volume);
  std::stable_sort(keyed.begin(), keyed.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  for (std::size_t i = 0; i < keyed.size(); ++i) volumes[i] = std::move(keyed[i].second);
}

std::vector<CVDiskVolumeRef> CVDiskVolume::localDisks(const VolumeContext& context) {
  std::vector<CVDiskVolumeRef> volumes;
  const auto walk = context.mediaWalk();
  for (const auto* entry : walk->inDiskOrder()) volumes.push_back(initWithDADisk(entry->disk, context));
  return volumes;
}

std::vector<CVDiskVolumeRef> CVDiskVolume::localMountedVolumes(const VolumeContext& context) {
  std::vector<CVDiskVolumeRef> mounted;
  for (auto& volume : localDisks(context)) {
    if (volume->isReady()) mounted.push_back(volume);
  }
  sortByDiskOrder(mounted);
  return mounted;
}

std::vector<CVDiskVolumeRef> CVDiskVolume::localBrowsableVolumes(const VolumeContext& context) {
  std::vector<CVDiskVolumeRef> browsable;
  for (auto& volume : localMountedVolumes(context)) {
    if (volume->mountResourceFlag(platform::NSURLVolumeIsBrowsableKey)) browsable.push_back(volume);
  }
  sortByDiskOrder(browsable);
  return browsable;
}

std::vector<CVDiskVolumeRef> CVDiskVolume::localBrowsableCoalescedVolumes(const VolumeContext& context) {
  std::vector<CVDiskVolumeRef> coalesced;
  for (auto& volume : localBrowsableVolumes(context)) {
    if (volume->volumeRole() != VolumeRole::data) coalesced.push_back(volume);
  }
  return coalesced;
}

// ---- Cached dictionaries and typed reads ---------------------------------------

const platform::Dictionary* CVDiskVolume::properties() const {
  return properties_.get([&] { return current().diskArbitration->DADiskCopyDescription(daDisk_); }).get();
}

const std::optional<platform::Dictionary>& CVDiskVolume::registryProperties() const {
  return registryProperties_.get(
      [&] { return current().ioKit->IORegistryEntryCreateCFProperties(ioMedia()); });
}

namespace {

const platform::Value* entry(const platform::Dictionary* dictionary, std::string_view key) {
  return dictionary ? platform::lookup(*dictionary, key) : nullptr;
}

}  // namespace

std::optional<std::string> CVDiskVolume::daString(std::string_view key) const {
  const auto* value = entry(properties(), key);
  if (!value || !value->string()) return std::nullopt;
  return *value->string();
}

std::optional<bool> CVDiskVolume::daBool(std::string_view key) const {
  const auto* value = entry(properties(), key);
  if (!value) return std::nullopt;
  return value->boolean();
}

std::optional<platform::UUID> CVDiskVolume::daUUID(std::string_view key) const {
  const auto* value = entry(properties(), key);
  if (!value || !value->uuid()) return std::nullopt;
  return *value->uuid();
}

std::optional<std::int64_t> CVDiskVolume::daNumber(std::string_view key) const {
  const auto* value = entry(properties(), key);
  if (!value || !value->isNumber()) return std::nullopt;
  return value->asInt64();
}

platform::IORegistryEntryRef CVDiskVolume::ioMedia() const {
  return current().diskArbitration->DADiskCopyIOMedia(daDisk_);
}

std::optional<platform::Value> CVDiskVolume::ioProperty(std::string_view key) const {
  return current().ioKit->IORegistryEntryCreateCFProperty(ioMedia(), key);
}

std::optional<bool> CVDiskVolume::ioBoolean(std::string_view key) const {
  auto value = ioProperty(key);
  if (!value) return std::nullopt;
  return value->boolean();
}

std::optional<platform::Value> CVDiskVolume::mountResource(std::string_view key) const {
  auto url = mountURL();
  if (!url) return std::nullopt;
  return context_.resourceValue(*url, key);
}

bool CVDiskVolume::mountResourceFlag(std::string_view key) const {
  auto value = mountResource(key);
  return value && value->boolean().value_or(false);
}

// ---- Names and paths ------------------------------------------------------------

std::string CVDiskVolume::name() const {
  if (auto volumeName = daString(platform::kDADiskDescriptionVolumeNameKey)) return *volumeName;
  if (auto mediaName = daString(platform::kDADiskDescriptionMediaNameKey)) return *mediaName;
  return "";
}

std::optional<platform::URL> CVDiskVolume::mountURL() const {
  const auto* value = entry(properties(), platform::kDADiskDescriptionVolumePathKey);
  if (!value || !value->url()) return std::nullopt;
  return *value->url();
}

std::optional<std::string> CVDiskVolume::mountPath() const {
  auto url = mountURL();
  if (!url) return std::nullopt;
  return url->path();
}

std::optional<platform::URL> CVDiskVolume::path() const {
  auto url = mountURL();
  if (!url) return std::nullopt;
  if (url->path() != "/") return url;
  // The root volume is shown where it would be mounted if it were not the root:
  // "/Volumes", the name and "/" joined as plain components, one "/" between
  // two of them and nothing resolved, so "/x" and ".." stay below "/Volumes".
  std::string joined = "/Volumes";
  const std::string volumeName = name();
  std::string_view component = volumeName;
  while (component.starts_with('/')) component.remove_prefix(1);
  if (!component.empty()) joined.append("/").append(component);
  return platform::URL::fileURLWithPath(joined, true);
}

std::optional<platform::Image> CVDiskVolume::icon() const {
  auto url = mountURL();
  if (!url) return std::nullopt;
  return current().workspace->iconForFile(url->path());
}

bool CVDiskVolume::isReady() const {
  auto url = mountURL();
  if (!url) return false;
  if (!daFlag(platform::kDADiskDescriptionVolumeMountableKey)) return false;
  return current().fileManager->fileExistsAtPath(url->path());
}

std::optional<platform::URL> CVDiskVolume::imagePath() const {
  const auto& io = *current().ioKit;
  auto media = ioMedia();
  constexpr std::uint32_t kTowardsParents =
      platform::kIORegistryIterateRecursively | platform::kIORegistryIterateParents;
  auto imagePathValue =
      io.IORegistryEntrySearchCFProperty(media, platform::kIOServicePlane, "image-path", kTowardsParents);
  if (imagePathValue && imagePathValue->data()) {
    auto text = imagePathValue->data()->asStringView();
    if (!text::isValidUTF8(text)) return std::nullopt;
    return platform::URL::fileURLWithPath(text, false);
  }
  auto urlValue =
      io.IORegistryEntrySearchCFProperty(media, platform::kIOServicePlane, "DiskImageURL", kTowardsParents);
  if (urlValue && urlValue->string()) return platform::URL::fromString(*urlValue->string());
  return std::nullopt;
}

// ---- Identity -------------------------------------------------------------------

std::optional<std::string> CVDiskVolume::bsdName() const {
  return daString(platform::kDADiskDescriptionMediaBSDNameKey);
}

std::optional<platform::UUID> CVDiskVolume::volumeUUID() const {
  return volumeUUID_.get([&] { return daUUID(platform::kDADiskDescriptionVolumeUUIDKey); });
}

std::optional<std::string> CVDiskVolume::volumeUUIDString() const {
  auto uuid = volumeUUID();
  if (!uuid) return std::nullopt;
  return uuid->uuidString();
}

std::optional<platform::UUID> CVDiskVolume::volumeMediaUUID() const {
  return daUUID(platform::kDADiskDescriptionMediaUUIDKey);
}

std::optional<platform::Bytes> CVDiskVolume::volumeIdentifier() const {
  auto url = path();
  if (!url) return std::nullopt;
  auto value = context_.resourceValue(*url, platform::NSURLVolumeIdentifierKey);
  if (!value || !value->data()) return std::nullopt;
  return *value->data();
}

std::int32_t CVDiskVolume::volumeDeviceIdentifier() const {
  auto url = path();
  if (!url) return -1;
  auto info = current().system->stat(url->path());
  if (!info) return -1;
  return info->st_dev;
}

std::int32_t CVDiskVolume::volumeRealDeviceIdentifier() const {
  auto url = path();
  if (!url) return -1;
  platform::AttrList list;
  list.bitmapcount = 5;
  list.forkattr = platform::ATTR_CMNEXT_REALDEVID;
  auto value = current().system->getattrlist(url->path(), list, platform::FSOPT_ATTR_CMN_EXTENDED);
  if (value) return *value;
  constexpr int kEINVAL = 22;
  if (value.error().code == kEINVAL) return volumeDeviceIdentifier();
  return -1;
}

std::uint64_t CVDiskVolume::hash() const {
  // Every part comes from the description, which this object keeps.
  return hash_.get([&] {
    auto name = bsdName();
    std::uint64_t value = name ? stringHash(*name) : 0;
    if (auto uuid = volumeUUIDString()) value ^= stringHash(*uuid);
    if (auto volumeName = daString(platform::kDADiskDescriptionVolumeNameKey)) {
      value ^= stringHash(*volumeName);
    }
    if (auto mount = mountPath()) value ^= stringHash(*mount);
    if (value == 0) value = current().diskArbitration->CFHash(daDisk_);
    return value * kHashFactor;
  });
}

bool CVDiskVolume::isEqual(const CVDisk& other) const {
  const auto* volume = dynamic_cast<const CVDiskVolume*>(&other);
  return volume && volume->hash() == hash();
}

bool operator<(const CVDiskVolume& a, const CVDiskVolume& b) {
  return diskOrderKeyOfOptional(a.bsdName()) < diskOrderKeyOfOptional(b.bsdName());
}
