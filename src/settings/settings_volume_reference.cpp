#include "settings/settings_volume_reference.h"

#include <functional>

#include "text/text.h"

bool namesAreEquivalent(std::string_view a, std::string_view b) {
  return a == b || text::canonicalDecomposition(a) == text::canonicalDecomposition(b);
}

SettingsVolumeReference::SettingsVolumeReference(platform::UUID guid, std::string name)
    : guid_(guid), name_(std::move(name)), comparedName_(text::canonicalDecomposition(name_)) {}

std::optional<SettingsVolumeReference> SettingsVolumeReference::make(std::optional<platform::UUID> guid,
                                                                     std::optional<std::string> name) {
  if (!guid || !name) return std::nullopt;
  return SettingsVolumeReference(*guid, std::move(*name));
}

std::string SettingsVolumeReference::description() const {
  return "GUID: " + guid_.uuidString() + ", Name: \u201C" + name_ + "\u201D";
}

std::size_t SettingsVolumeReferenceHash::operator()(const SettingsVolumeReference& reference) const {
  std::size_t hash = 0;
  for (auto byte : reference.guid().bytes()) hash = hash * 131 + byte;
  return hash ^ (std::hash<std::string>{}(reference.comparedName()) + 0x9E3779B97F4A7C15ull + (hash << 6) +
                 (hash >> 2));
}

bool VolumeReferenceSet::insert(const SettingsVolumeReference& reference) {
  auto [at, added] = index_.emplace(reference, members_.size());
  if (added) members_.push_back(reference);
  return added;
}

bool VolumeReferenceSet::contains(const SettingsVolumeReference& reference) const {
  return index_.contains(reference);
}

VolumeReferenceSet VolumeReferenceSet::subtracting(const VolumeReferenceSet& other) const {
  VolumeReferenceSet result;
  for (const auto& member : members_) {
    if (!other.contains(member)) result.insert(member);
  }
  return result;
}
