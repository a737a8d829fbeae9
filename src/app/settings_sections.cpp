// The settings consistency report: every settings document with its two
// volume references, the set of distinct references, how each resolves
// (those that needed a heuristic or failed, group by group), the registry
// entries no document refers to (pruned on request), a check that the
// exactly resolved volumes are mounted, and the GUIDs of the local disks.
#include <string>
#include <vector>

#include "app/cv_diag.h"
#include "app/print.h"
#include "app/sections.h"
#include "platform/formatters.h"
#include "registry/cv_disk_manager.h"
#include "settings/orphan_pruning.h"
#include "settings/resolution.h"
#include "settings/settings_manager.h"
#include "volumes/cv_disk_volume.h"

namespace {

std::string text(const std::optional<platform::Date>& date) {
  return date ? platform::dateDescription(*date) : std::string();
}

std::string text(const std::optional<SettingsVolumeReference>& reference) {
  return reference ? reference->description() : std::string();
}

std::string text(const std::optional<platform::UUID>& uuid) { return uuid ? uuid->uuidString() : std::string(); }

std::string joined(const std::vector<std::string>& items, std::string_view separator) {
  std::string out;
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (i > 0) out += separator;
    out += items[i];
  }
  return out;
}

// The documents whose source or target is the reference, in document order.
std::string referringDocuments(const SettingsManager& settings, const std::vector<SettingsReference>& documents,
                               const SettingsVolumeReference& reference) {
  std::vector<std::string> names;
  for (const auto& document : documents) {
    if (document.source == reference || document.target == reference) names.push_back(settings.documentName(document));
  }
  return joined(names, "\n         ");
}

void printDocuments(std::ostream& out, SettingsManager& settings) {
  for (const auto& document : settings.settingsReferences(out)) {
    auto version = document.version ? std::to_string(*document.version) : std::string();
    auto created = text(document.creationDate(out));
    auto modified = text(document.modificationDate(out));
    print(out, "\n  " + settings.documentName(document) + ", version: " + version + ", created: " + created +
                   ", modified: " + modified);
    print(out, "   (source) " + text(document.source));
    print(out, "   (target) " + text(document.target));
  }
}

std::vector<const VolumeReferenceResolvable*> membersWith(const std::vector<VolumeReferenceResolvable>& resolved,
                                                         Resolution resolution) {
  std::vector<const VolumeReferenceResolvable*> members;
  for (const auto& item : resolved) {
    if (item.resolution == resolution) members.push_back(&item);
  }
  return members;
}

void printGroups(std::ostream& out, const CVDiskManager& manager, SettingsManager& settings,
                 const std::vector<VolumeReferenceResolvable>& resolved) {
  const auto& documents = settings.settingsReferences(out);
  if (auto byName = membersWith(resolved, Resolution::knownVolumeMatchesName); !byName.empty()) {
    print(out,
          "\n  WARN: The following Settings volume reference(s) were resolved by name - the GUID volume name did "
          "not match the settings name!\n");
    for (const auto* member : byName) {
      const auto& reference = member->reference;
      auto guidVolume = manager.volumeForGUID(reference.guid());
      const auto& volume = member->volume;
      print(out, "    Settings volume reference " + reference.description() + " name mismatch!");
      print(out, "      Settings name: \u201C" + reference.name() + "\u201D, GUID Volume name: \u201C" +
                     (guidVolume ? guidVolume->name() : std::string("<volume not found>")) + "\u201D");
      print(out, "      Volume resolver resolved by " + std::string(caseName(member->resolution)) +
                     " to volume: \n        " + (volume ? volume->description() : std::string()));
      print(out, "          UUID: " + (volume ? text(volume->volumeUUID()) : std::string()) +
                     ", Media UUID: " + (volume ? text(volume->volumeMediaUUID()) : std::string()));
      print(out, "      Volume referenced by settings documents:\n         " +
                     referringDocuments(settings, documents, reference));
    }
  }
  if (auto unknown = membersWith(resolved, Resolution::unknownVolumeGUID); !unknown.empty()) {
    print(out,
          "\n  WARN: The following GUID(s) do not exist in the Known Volume Registry - settings reference GUID not "
          "in registry\n");
    for (const auto* member : unknown) {
      print(out, "    Settings volume reference " + member->reference.description());
      // Eight blanks before the first document, nine between the others.
      print(out, "      Volume is referenced by settings documents:\n        " +
                     referringDocuments(settings, documents, member->reference));
    }
  }
  if (auto unresolvable = membersWith(resolved, Resolution::unresolvable); !unresolvable.empty()) {
    print(out,
          "\n  INFO: The following volume reference(s) could not be resolved - the volumes may not be attached\n");
    for (const auto* member : unresolvable) {
      print(out, "    Settings volume reference " + member->reference.description() +
                     " not resolvable - may not be attached");
      print(out, "      Volume is referenced by settings documents:\n         " +
                     referringDocuments(settings, documents, member->reference));
    }
  }
}

void printMountedCheck(std::ostream& out, const CVDiskManager& manager,
                       const std::vector<VolumeReferenceResolvable>& resolved) {
  print(out,
        "\nLocating volume for discretely-resolvable settings-volume-references to available local volume "
        "instances\n");
  for (const auto* member : membersWith(resolved, Resolution::knownVolumeMatchesIdentity)) {
    const auto guid = member->reference.guid().uuidString();
    print(out, "  Checking GUID: " + guid);
    auto volume = manager.volumeForGUID(member->reference.guid());
    if (!volume) {
      print(out, "  ** CVDiskManager could not resolve " + guid);
      continue;
    }
    print(out, "  => " + volume->description());
    if (!volume->isReady()) {
      print(out, "  ** Volume is not mounted, details follow...");
      print(out, volume->debugDescription());
    }
  }
}

}  // namespace

void settingsConsistencyReport(std::ostream& out, const CVDiag& command) {
  auto& manager = CVDiskManager::sharedInstance();
  auto& settings = SettingsManager::sharedInstance();

  print(out, "Collecting volume references from Settings documents:");
  printDocuments(out, settings);

  const auto& references = settings.volumeReferences(out);
  std::vector<std::string> texts;
  for (const auto& reference : references) texts.push_back(reference.description());
  print(out, "\nVolume-reference set from all Settings documents:\n\n  " + joined(texts, "\n  "));

  print(out, "\nChecking Settings volume-reference consistency");
  std::vector<VolumeReferenceResolvable> resolved;
  for (const auto& reference : references) {
    auto [volume, resolution] = resolve(reference, manager);
    resolved.push_back({reference, std::move(volume), resolution});
  }

  if (membersWith(resolved, Resolution::knownVolumeMatchesIdentity).size() == resolved.size()) {
    print(out,
          "  All volume references were discretely-resolvable from their reference (i.e. no heuristics applied");
  } else {
    print(out, "  The following settings volume-references were unresolvable or required a heuristic to resolve");
    printGroups(out, manager, settings, resolved);
  }

  print(out, {"\nPotentially orphaned volume references in registry (i.e. known but not currently referenced any "
              "Settings)\n\n  "},
        "");
  auto orphans = orphanedVolumeReferences(manager, references);
  texts.clear();
  for (const auto& orphan : orphans) texts.push_back(orphan.description());
  print(out, joined(texts, "\n  "));

  if (command.pruneOrphans) pruneOrphanedVolumeReferences(out, manager, orphans);

  printMountedCheck(out, manager, resolved);
  resolvableGUIDsForLocalDisks(out, manager);
}
