// The diskutil entity report: what diskutil says about the disks beside what
// the tool's own volume objects say. A catalogue that cannot be built shows
// "<null>" where its parts would stand; the volume blocks come all the same.
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "app/sections.h"
#include "platform/disk_arbitration.h"
#include "platform/formatters.h"
#include "platform/platform.h"
#include "text/text.h"
#include "tools/disk_util.h"
#include "volumes/cv_disk_volume.h"

namespace {

using platform::Dictionary;
using platform::Value;

const char* const kNull = "<null>";

// A value of a volume-group entry as it is printed: text as it stands,
// anything else in its description, nothing as empty text.
std::string entryText(const Dictionary& dictionary, std::string_view key) {
  const Value* value = platform::lookup(dictionary, key);
  if (!value) return "";
  if (value->string()) return *value->string();
  return platform::foundationDescription(*value);
}

// The first `width` characters (grapheme clusters) of `text`, padded with
// blanks to that width.
std::string paddedOrCut(const std::string& text, std::size_t width) {
  std::string out = text.substr(0, text.size() - text::droppingFirstCharacters(text, width).size());
  out.append(width - text::characterCount(out), ' ');
  return out;
}

// The name a group line shows: the volume name, else the media name.
std::string volumeOrMediaName(const CVDiskVolume& volume) {
  const auto* properties = volume.properties();
  if (!properties) return "";
  for (auto key : {platform::kDADiskDescriptionVolumeNameKey, platform::kDADiskDescriptionMediaNameKey}) {
    const Value* value = platform::lookup(*properties, key);
    if (value && value->string()) return *value->string();
  }
  return "";
}

void volumeLine(ReportContext& context, const Dictionary& entry) {
  const Value* identifier = platform::lookup(entry, "DeviceIdentifier");
  const Value* diskUUID = platform::lookup(entry, "DiskUUID");
  const Value* role = platform::lookup(entry, "Role");
  if (!identifier || !identifier->string() || !diskUUID || !diskUUID->string() || !role ||
      !role->string()) {
    return;
  }
  auto volume = CVDiskVolume::initWithBsdName(*identifier->string(), context.volumes());
  if (!volume) return;
  auto uuid = volume->volumeUUID();
  context.print("       " + paddedOrCut(*role->string(), 6) + ": " + *diskUUID->string() +
                    ", CVDisk.volumeUUID: " + (uuid ? uuid->uuidString() : std::string()) +
                    ", name: " + volumeOrMediaName(*volume));
}

// The APFS containers with their volume groups and the volumes of each group
// that stand for a disk object of this machine. Whatever is not of the
// expected shape is passed over.
void volumeGroupsBlock(ReportContext& context, const DiskUtil& diskUtil) {
  const auto& groups = diskUtil.volumeGroups();
  if (!groups || groups->empty()) return;
  const Value* containers = platform::lookup(*groups, "Containers");
  if (!containers || !containers->array()) return;
  context.print("\ndiskutil Volume Groups:");
  for (const Value& item : *containers->array()) {
    const Dictionary* container = item.dictionary();
    if (!container) continue;
    context.print("   Container : (" + entryText(*container, "ContainerReference") + ") " +
                      entryText(*container, "APFSContainerUUID"));
    const Value* volumeGroups = platform::lookup(*container, "VolumeGroups");
    if (!volumeGroups || !volumeGroups->array()) continue;
    for (const Value& groupItem : *volumeGroups->array()) {
      const Dictionary* group = groupItem.dictionary();
      if (!group) continue;
      context.print("     Group   : " + entryText(*group, "APFSVolumeGroupUUID"));
      const Value* volumes = platform::lookup(*group, "Volumes");
      if (!volumes || !volumes->array()) continue;
      for (const Value& entry : *volumes->array()) {
        if (entry.dictionary()) volumeLine(context, *entry.dictionary());
      }
    }
  }
}

// Gives each slice of `volumes` the object of its whole disk from the same
// list as its parent. A slice's own parent would be a fresh object whose
// children walk every disk of the machine, once per slice; shared, the walk
// is done once per whole disk. The parent is the same disk either way.
void shareWholeDisks(const std::vector<CVDiskVolumeRef>& volumes) {
  const auto& da = *platform::current().diskArbitration;
  std::unordered_multimap<std::size_t, CVDiskVolumeRef> wholes;
  for (const auto& volume : volumes) {
    if (volume->daFlag(platform::kDADiskDescriptionMediaWholeKey)) {
      wholes.emplace(da.CFHash(volume->daDisk()), volume);
    }
  }
  for (const auto& volume : volumes) {
    if (volume->daFlag(platform::kDADiskDescriptionMediaWholeKey)) continue;
    auto whole = da.DADiskCopyWholeDisk(volume->daDisk());
    if (!whole) continue;
    auto [first, last] = wholes.equal_range(da.CFHash(whole));
    for (auto it = first; it != last; ++it) {
      if (da.CFEqual(it->second->daDisk(), whole)) {
        volume->setParent(it->second);
        break;
      }
    }
  }
}

}  // namespace

void diskutilEntityReport(ReportContext& context) {
  std::optional<DiskUtil> diskUtil;
  try {
    diskUtil.emplace(context.out());
  } catch (const SerializationError&) {
    // Told by the catalogue's own lines; the report shows "<null>".
  }

  context.print("\ndiskutil all disks:");
  if (diskUtil) {
    platform::Array disks(diskUtil->allDisks().begin(), diskUtil->allDisks().end());
    context.print(platform::foundationDescription(disks));
    volumeGroupsBlock(context, *diskUtil);
  } else {
    context.print(kNull);
  }

  const auto volumes = CVDiskVolume::localDisks(context.volumes());
  shareWholeDisks(volumes);
  for (const auto& volume : volumes) {
    context.print("\n>>>>>>>>>>>>>>>>>>>>\n");
    context.print(volume->description() + "\n");
    context.print(volume->info());
    std::string entry = kNull;
    if (diskUtil) {
      auto name = volume->bsdName();
      const Value* info = name ? platform::lookup(diskUtil->diskCatalog(), *name) : nullptr;
      if (info && info->dictionary()) entry = platform::foundationDescription(*info->dictionary());
    }
    context.print({"\ndiskutil info\n", entry});
    context.print({"\nCVDisk debug description\n", volume->debugDescription()});
    context.print("\n<<<");
  }
}
