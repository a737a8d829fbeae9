#pragma once
// Finds Corvane's saved settings: every ".cvsp" package at any depth below
// "<Application Support>/Corvane!", the document inside each, and the set of
// volume references the documents hold. Each list is read once, at its
// first use, and kept; what goes wrong while reading is told, at that
// moment, on the stream the first caller gives.
//
// Thread safety: the lists may be asked for from any thread; the first
// reader computes them and the others wait.

#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "platform/value.h"
#include "settings/settings_reference.h"
#include "settings/settings_volume_reference.h"

class SettingsManager {
  struct Passkey {};

 public:
  // A manager over the installed platform; each run of the report makes
  // its own, so nothing read in one run is seen by the next.
  static std::shared_ptr<SettingsManager> create();

  explicit SettingsManager(Passkey);
  SettingsManager(const SettingsManager&) = delete;
  SettingsManager& operator=(const SettingsManager&) = delete;

  // The folder of the settings packages; nothing when the system names no
  // application support folder. Worked out once.
  const std::optional<platform::URL>& settingsFolderURL() const { return settingsFolderURL_; }

  // Every package, in the order the file manager lists them; "Failed to
  // collect subpaths" and none when the folder can't be listed.
  const std::vector<platform::URL>& settingsPackages(std::ostream& messages);
  // One per package whose document could be read, in package order.
  const std::vector<SettingsReference>& settingsReferences(std::ostream& messages);
  // Every source and target reference, each once, in document order.
  const VolumeReferenceSet& volumeReferences(std::ostream& messages);

  // The name under which a report shows a document.
  std::string documentName(const SettingsReference& reference) const;

 private:
  std::optional<platform::URL> settingsFolderURL_;
  std::mutex mutex_;
  std::optional<std::vector<platform::URL>> settingsPackages_;
  std::optional<std::vector<SettingsReference>> settingsReferences_;
  std::optional<VolumeReferenceSet> volumeReferences_;
};
