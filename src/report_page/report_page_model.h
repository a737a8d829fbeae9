#pragma once
// What the report page shows of one Mac: its disks and volumes, the registry
// entries that stand for each volume, the settings documents with the volume
// each reference resolves to, and the entries that pruning would remove. It
// is gathered from the same objects the text report reads (the volume model,
// the registry, the settings resolution), never from the report's text, so
// the two cannot disagree.

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "settings/resolution.h"
#include "settings/settings_volume_reference.h"
#include "volumes/volume_role.h"

class ReportContext;

// How a disk object stands: mounted (ready), mountable but not mounted, or
// not mountable at all (a whole disk, a container, a partition map).
enum class MountState { mounted, notMounted, notMountable };

struct ReportPageVolume {
  std::string bsdName;
  std::string name;
  // The line the catalogue prints for it.
  std::string description;
  bool isWhole = false;
  // The whole disk it lies on; its own name for a whole disk, empty when the
  // platform names none.
  std::string wholeBSDName;
  std::optional<std::int64_t> size;
  // The partition scheme of a whole disk, the partition type of a slice.
  std::string content;
  std::optional<std::string> fileSystem;
  std::optional<std::string> mountPath;
  MountState state = MountState::notMountable;
  // The APFS role; only APFS volumes carry one.
  std::optional<VolumeRole> role;
  std::optional<std::string> volumeUUID;
  std::optional<std::string> protocol;
  bool isInternal = false;
  // The disk image file behind the volume, when it is a mounted image.
  std::optional<std::string> imagePath;
  // The names of its local Time Machine snapshots (mounted volumes only).
  std::vector<std::string> localSnapshots;
  // The registry entries whose bookmark carries this volume's UUID, in key
  // order.
  std::vector<std::string> guids;
  // The volume that registers for this one (the data volume of a system
  // volume or of its snapshot), when that is another volume.
  std::optional<std::string> registeredAs;
};

// A whole disk and the objects on it, in disk order.
struct ReportPageDisk {
  std::size_t whole;                  // index into volumes
  std::vector<std::size_t> members;   // slices, indexes into volumes
  bool isAPFSContainer = false;
};

struct ReportPageRegistryEntry {
  std::string guid;
  std::optional<std::string> name;
  std::optional<std::string> volumeUUID;
  // Some attached disk object carries its volume UUID.
  bool isAttached = false;
  // More than one entry carries its volume UUID.
  bool isDuplicate = false;
  // No settings document refers to it: pruning would remove it.
  bool isOrphan = false;
};

// One distinct reference of the documents, resolved once.
struct ReportPageReference {
  SettingsVolumeReference reference;
  Resolution resolution;
  // The volume it resolves to: its index in `volumes`, and its description
  // (also for a volume that is not in the catalogue).
  std::optional<std::size_t> volume;
  std::optional<std::string> volumeDescription;
};

struct ReportPageDocument {
  std::string name;
  std::optional<std::int64_t> version;
  std::optional<std::string> created;
  std::optional<std::string> modified;
  // Indexes into `references`.
  std::optional<std::size_t> source;
  std::optional<std::size_t> target;
};

// What the machine folder says of the recording it came from, beside the Mac.
struct RecordingFacts {
  std::string machineName;
  std::optional<std::string> recorded;
  // The manifest's lines: what the recording could not read. Absent when the
  // folder holds no manifest.
  std::optional<std::vector<std::string>> notRecorded;
};

struct ReportPageModel {
  RecordingFacts recording;
  std::optional<std::string> macOSVersion;
  std::vector<ReportPageVolume> volumes;
  std::vector<ReportPageDisk> disks;
  std::vector<ReportPageRegistryEntry> registry;
  // Volume UUID to its GUIDs, for every UUID that more than one GUID carries.
  std::map<std::string, std::vector<std::string>> duplicates;
  std::vector<ReportPageReference> references;
  std::vector<ReportPageDocument> documents;
  std::vector<SettingsVolumeReference> orphans;
  // The whole text of the report with every section.
  std::string textReport;
};

// Reads the attached disks, the registry and the settings through a report's
// context, as the report's sections do. Reading never writes; messages of the
// settings reader are dropped here (the text report tells them).
ReportPageModel gatherReportPageModel(ReportContext& context, RecordingFacts recording, std::string textReport);
