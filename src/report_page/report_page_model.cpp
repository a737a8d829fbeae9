// Gathers the report page's model from the volume model, the registry and
// the settings resolution, in the orders the text report uses: volumes in
// disk order, registry entries in key order, documents in file-manager
// order, references in the order of the documents' reference set.
#include "report_page/report_page_model.h"

#include <sstream>
#include <unordered_map>

#include "app/report_context.h"
#include "platform/disk_arbitration.h"
#include "platform/formatters.h"
#include "registry/cv_disk_manager.h"
#include "app/orphan_pruning.h"
#include "settings/settings_manager.h"
#include "volumes/cv_disk_volume.h"

namespace {

ReportPageVolume describe(const CVDiskVolume& volume) {
  ReportPageVolume v;
  v.bsdName = volume.bsdName().value_or("");
  v.name = volume.name();
  v.description = volume.description();
  v.isWhole = volume.daFlag(platform::kDADiskDescriptionMediaWholeKey);
  if (v.isWhole) {
    v.wholeBSDName = v.bsdName;
  } else if (auto parent = volume.parent()) {
    v.wholeBSDName = parent->bsdName().value_or("");
  }
  v.size = volume.daNumber(platform::kDADiskDescriptionMediaSizeKey);
  v.content = volume.daString(platform::kDADiskDescriptionMediaContentKey).value_or("");
  if (volume.daString(platform::kDADiskDescriptionVolumeKindKey)) v.fileSystem = volume.volumeFormatDescription();
  if (volume.isReady()) {
    v.state = MountState::mounted;
  } else if (volume.daFlag(platform::kDADiskDescriptionVolumeMountableKey)) {
    v.state = MountState::notMounted;
  }
  if (auto mount = volume.mountPath(); mount && v.state == MountState::mounted) v.mountPath = mount;
  if (volume.isAPFSFileSystem()) v.role = volume.volumeRole();
  v.volumeUUID = volume.volumeUUIDString();
  v.protocol = volume.deviceProtocol();
  v.isInternal = volume.deviceIsInternal();
  if (auto image = volume.imagePath()) v.imagePath = image->path();
  if (v.state == MountState::mounted && volume.isAPFSFileSystem()) {
    for (const auto& snapshot : volume.volumeLocalSnapshots()) v.localSnapshots.push_back(snapshot->id());
  }
  // A system volume and its mounted snapshot register as their data volume.
  if (v.role == VolumeRole::system || v.role == VolumeRole::mountedSystemSnapshot) {
    auto registering = CVDiskManager::registrationVolumeFor(volume);
    if (registering && registering->bsdName() && *registering->bsdName() != v.bsdName)
      v.registeredAs = registering->bsdName();
  }
  return v;
}

bool isAPFSContainerScheme(const std::string& content) { return content == "EF57347C-0000-11AA-AA11-00306543ECAC"; }

void gatherVolumes(ReportPageModel& model, const VolumeContext& volumes) {
  for (const auto& volume : CVDiskVolume::localDisks(volumes)) model.volumes.push_back(describe(*volume));
  if (auto root = CVDiskVolume::initWithVolumePath(platform::URL::fileURLWithPath("/", true), volumes))
    model.macOSVersion = root->volumeOperatingSystemExtendedString();

  // Whole disks in disk order, each slice under the whole disk it names; a
  // slice whose whole disk is not listed stands on a disk of its own.
  std::unordered_map<std::string, std::size_t> diskOf;
  for (std::size_t i = 0; i < model.volumes.size(); ++i) {
    const auto& v = model.volumes[i];
    if (!v.isWhole) continue;
    diskOf.emplace(v.bsdName, model.disks.size());
    model.disks.push_back({i, {}, isAPFSContainerScheme(v.content)});
  }
  for (std::size_t i = 0; i < model.volumes.size(); ++i) {
    const auto& v = model.volumes[i];
    if (v.isWhole) continue;
    if (auto found = diskOf.find(v.wholeBSDName); found != diskOf.end()) {
      model.disks[found->second].members.push_back(i);
    } else {
      model.disks.push_back({i, {}, false});
    }
  }
}

void gatherRegistry(ReportPageModel& model, CVDiskManager& manager, const VolumeReferenceSet& orphans) {
  model.duplicates = manager.duplicateVolumeEntries();
  std::unordered_map<std::string, std::vector<std::size_t>> volumesByUUID;
  for (std::size_t i = 0; i < model.volumes.size(); ++i) {
    if (model.volumes[i].volumeUUID) volumesByUUID[*model.volumes[i].volumeUUID].push_back(i);
  }
  const auto snapshot = manager.snapshot();
  for (const auto& [guid, bookmark] : snapshot->bookmarks()) {
    ReportPageRegistryEntry entry;
    entry.guid = guid;
    entry.name = bookmark.volumeName();
    entry.volumeUUID = bookmark.volumeUUIDString();
    if (entry.volumeUUID) {
      if (auto found = volumesByUUID.find(*entry.volumeUUID); found != volumesByUUID.end()) {
        entry.isAttached = true;
        for (auto i : found->second) model.volumes[i].guids.push_back(guid);
      }
      entry.isDuplicate = model.duplicates.count(*entry.volumeUUID) > 0;
    }
    if (auto reference = SettingsVolumeReference::make(platform::UUID::fromString(guid), entry.name))
      entry.isOrphan = orphans.contains(*reference);
    model.registry.push_back(std::move(entry));
  }
}

void gatherSettings(ReportPageModel& model, const VolumeReferenceResolver& resolver, SettingsManager& settings,
                    const VolumeReferenceSet& references) {
  std::unordered_map<std::string, std::size_t> volumeByBSDName;
  for (std::size_t i = 0; i < model.volumes.size(); ++i) volumeByBSDName.emplace(model.volumes[i].bsdName, i);
  for (const auto& reference : references) {
    auto [volume, resolution] = resolver.resolve(reference);
    ReportPageReference item{reference, resolution, {}, {}};
    if (volume) {
      item.volumeDescription = volume->description();
      if (auto found = volumeByBSDName.find(volume->bsdName().value_or("")); found != volumeByBSDName.end())
        item.volume = found->second;
    }
    model.references.push_back(std::move(item));
  }
  // Every reference of a document is a member of the set.
  std::unordered_map<SettingsVolumeReference, std::size_t, SettingsVolumeReferenceHash> index;
  for (std::size_t i = 0; i < model.references.size(); ++i) index.emplace(model.references[i].reference, i);
  auto find = [&](const std::optional<SettingsVolumeReference>& reference) -> std::optional<std::size_t> {
    if (!reference) return std::nullopt;
    if (auto found = index.find(*reference); found != index.end()) return found->second;
    return std::nullopt;
  };
  std::ostringstream dropped;
  for (const auto& document : settings.settingsReferences(dropped)) {
    ReportPageDocument d;
    d.name = settings.documentName(document);
    d.version = document.version;
    if (auto date = document.creationDate(dropped)) d.created = platform::dateDescription(*date);
    if (auto date = document.modificationDate(dropped)) d.modified = platform::dateDescription(*date);
    d.source = find(document.source);
    d.target = find(document.target);
    model.documents.push_back(std::move(d));
  }
}

}  // namespace

ReportPageModel gatherReportPageModel(ReportContext& context, RecordingFacts recording, std::string textReport) {
  ReportPageModel model;
  model.recording = std::move(recording);
  model.textReport = std::move(textReport);
  gatherVolumes(model, context.volumes());
  std::ostringstream dropped;
  const auto& references = context.settings().volumeReferences(dropped);
  const auto orphans = orphanedVolumeReferences(context.resolver(), references);
  model.orphans.assign(orphans.begin(), orphans.end());
  gatherRegistry(model, context.registry(), orphans);
  gatherSettings(model, context.resolver(), context.settings(), references);
  return model;
}
