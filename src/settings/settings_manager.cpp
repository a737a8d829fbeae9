#include "settings/settings_manager.h"

#include "platform/file_manager.h"
#include "platform/platform.h"

using platform::current;

namespace {

constexpr std::string_view kSettingsFolderName = "Corvane!";
constexpr std::string_view kPackageExtension = ".cvsp";

std::optional<platform::URL> findSettingsFolder() {
  auto paths = current().fileManager->NSSearchPathForDirectoriesInDomains(
      platform::SearchPathDirectory::NSApplicationSupportDirectory, platform::SearchPathDomainMask::NSUserDomainMask,
      true);
  if (paths.empty()) return std::nullopt;
  return platform::URL::fileURLWithPath(paths.front() + "/" + std::string(kSettingsFolderName), true);
}

}  // namespace

std::shared_ptr<SettingsManager> SettingsManager::create() { return std::make_shared<SettingsManager>(Passkey{}); }

SettingsManager::SettingsManager(Passkey) : settingsFolderURL_(findSettingsFolder()) {}

const std::vector<platform::URL>& SettingsManager::settingsPackages(std::ostream& messages) {
  std::lock_guard lock(mutex_);
  if (settingsPackages_) return *settingsPackages_;
  std::vector<platform::URL> packages;
  std::optional<std::vector<std::string>> subpaths;
  if (settingsFolderURL_) {
    auto listed = current().fileManager->subpathsOfDirectoryAtPath(settingsFolderURL_->path());
    if (listed) subpaths = std::move(listed).value();
  }
  if (!subpaths) {
    messages << "Failed to collect subpaths\n";
  } else {
    const std::string folder = settingsFolderURL_->path();
    for (const auto& subpath : *subpaths) {
      if (subpath.ends_with(kPackageExtension))
        packages.push_back(platform::URL::fileURLWithPath(folder + "/" + subpath, true));
    }
  }
  settingsPackages_ = std::move(packages);
  return *settingsPackages_;
}

const std::vector<SettingsReference>& SettingsManager::settingsReferences(std::ostream& messages) {
  const auto& packages = settingsPackages(messages);
  std::lock_guard lock(mutex_);
  if (settingsReferences_) return *settingsReferences_;
  std::vector<SettingsReference> references;
  for (const auto& package : packages) {
    auto document = platform::URL::fileURLWithPath(package.path() + "/" + std::string(kSessionSettingsFileName), false);
    if (auto reference = SettingsReference::make(document, messages)) references.push_back(std::move(*reference));
  }
  settingsReferences_ = std::move(references);
  return *settingsReferences_;
}

const VolumeReferenceSet& SettingsManager::volumeReferences(std::ostream& messages) {
  const auto& references = settingsReferences(messages);
  std::lock_guard lock(mutex_);
  if (volumeReferences_) return *volumeReferences_;
  VolumeReferenceSet set;
  for (const auto& reference : references) {
    if (reference.source) set.insert(*reference.source);
    if (reference.target) set.insert(*reference.target);
  }
  volumeReferences_ = std::move(set);
  return *volumeReferences_;
}

std::string SettingsManager::documentName(const SettingsReference& reference) const {
  return reference.documentName(settingsFolderURL_ ? settingsFolderURL_->path() : std::string());
}
