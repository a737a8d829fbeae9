// The settings consistency report: every settings document with its two
// volume references, the set of distinct references, how each resolves
// (those that needed a heuristic or failed, group by group), the registry
// entries no document refers to (pruned on request), a check that the
// exactly resolved volumes are mounted, and the GUIDs of the local disks.
#include <string>
#include <vector>

#include "app/cv_diag.h"
#include "app/sections.h"
#include "platform/formatters.h"
#include "registry/cv_disk_manager.h"
#include "app/orphan_pruning.h"
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

void printDocuments(ReportContext& context, SettingsManager& settings) {
  for (const auto& document : settings.settingsReferences(context.out())) {
    auto version = document.version ? std::to_string(*document.version) : std::string();
    auto created = text(document.creationDate(context.out()));
    auto modified = text(document.modificationDate(context.out()));
    context.print("\n  " + settings.documentName(document) + ", version: " + version + ", created: " + created +
                      ", modified: " + modified);
    context.print("   (source) " + text(document.source));
    context.print("   (target) " + text(document.target));
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

void printGroups(ReportContext& context, const CVDiskManager& manager, SettingsManager& settings,
                 const std::vector<VolumeReferenceResolvable>& resolved) {
  const auto& documents = settings.settingsReferences(context.out());
  if (auto byName = membersWith(resolved, Resolution::knownVolumeMatchesName); !byName.empty()) {
    context.print(
        "\n  WARN: The following Settings volume reference(s) were resolved by name - the GUID volume name did "
        "not match the settings name!\n");
    for (const auto* member : byName) {
      const auto& reference = member->reference;
      auto guidVolume = manager.volumeForGUID(reference.guid(), context.volumes());
      const auto& volume = member->volume;
      context.print("    Settings volume reference " + reference.description() + " name mismatch!");
      context.print("      Settings name: \u201C" + reference.name() + "\u201D, GUID Volume name: \u201C" +
                        (guidVolume ? guidVolume->name() : std::string("<volume not found>")) + "\u201D");
      context.print("      Volume resolver resolved by " + std::string(caseName(member->resolution)) +
                        " to volume: \n        " + (volume ? volume->description() : std::string()));
      context.print("          UUID: " + (volume ? text(volume->volumeUUID()) : std::string()) +
                        ", Media UUID: " + (volume ? text(volume->volumeMediaUUID()) : std::string()));
      context.print("      Volume referenced by settings documents:\n         " +
                        referringDocuments(settings, documents, reference));
    }
  }
  if (auto unknown = membersWith(resolved, Resolution::unknownVolumeGUID); !unknown.empty()) {
    context.print(
        "\n  WARN: The following GUID(s) do not exist in the Known Volume Registry - settings reference GUID not "
        "in registry\n");
    for (const auto* member : unknown) {
      context.print("    Settings volume reference " + member->reference.description());
      // Eight blanks before the first document, nine between the others.
      context.print("      Volume is referenced by settings documents:\n        " +
                        referringDocuments(settings, documents, member->reference));
    }
  }
  if (auto unresolvable = membersWith(resolved, Resolution::unresolvable); !unresolvable.empty()) {
    context.print(
        "\n  INFO: The following volume reference(s) could not be resolved - the volumes may not be attached\n");
    for (const auto* member : unresolvable) {
      context.print("    Settings volume reference " + member->reference.description() +
                        " not resolvable - may not be attached");
      context.print("      Volume is referenced by settings documents:\n         " +
                        referringDocuments(settings, documents, member->reference));
    }
  }
}

void printMountedCheck(ReportContext& context, const CVDiskManager& manager,
                       const std::vector<VolumeReferenceResolvable>& resolved) {
  context.print(
      "\nLocating volume for discretely-resolvable settings-volume-references to available local volume "
      "instances\n");
  for (const auto* member : membersWith(resolved, Resolution::knownVolumeMatchesIdentity)) {
    const auto guid = member->reference.guid().uuidString();
    context.print("  Checking GUID: " + guid);
    auto volume = manager.volumeForGUID(member->reference.guid(), context.volumes());
    if (!volume) {
      context.print("  ** CVDiskManager could not resolve " + guid);
      continue;
    }
    context.print("  => " + volume->description());
    if (!volume->isReady()) {
      context.print("  ** Volume is not mounted, details follow...");
      context.print(volume->debugDescription());
    }
  }
}

}  // namespace

void settingsConsistencyReport(ReportContext& context, const CVDiag& command) {
  auto& manager = context.registry();
  auto& settings = context.settings();

  context.print("Collecting volume references from Settings documents:");
  printDocuments(context, settings);

  const auto& references = settings.volumeReferences(context.out());
  std::vector<std::string> texts;
  for (const auto& reference : references) texts.push_back(reference.description());
  context.print("\nVolume-reference set from all Settings documents:\n\n  " + joined(texts, "\n  "));

  context.print("\nChecking Settings volume-reference consistency");
  std::vector<VolumeReferenceResolvable> resolved;
  for (const auto& reference : references) {
    auto [volume, resolution] = context.resolver().resolve(reference);
    resolved.push_back({reference, std::move(volume), resolution});
  }

  if (membersWith(resolved, Resolution::knownVolumeMatchesIdentity).size() == resolved.size()) {
    context.print(
        "  All volume references were discretely-resolvable from their reference (i.e. no heuristics applied");
  } else {
    context.print("  The following settings volume-references were unresolvable or required a heuristic to resolve");
    printGroups(context, manager, settings, resolved);
  }

  context.print({"\nPotentially orphaned volume references in registry (i.e. known but not currently referenced any "
                 "Settings)\n\n  "},
                "");
  auto orphans = orphanedVolumeReferences(context.resolver(), references);
  texts.clear();
  for (const auto& orphan : orphans) texts.push_back(orphan.description());
  context.print(joined(texts, "\n  "));

  if (command.pruneOrphans) pruneOrphanedVolumeReferences(context.out(), manager, orphans);

  printMountedCheck(context, manager, resolved);
  resolvableGUIDsForLocalDisks(context);
}
