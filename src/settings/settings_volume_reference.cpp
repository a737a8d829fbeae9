#include "settings/settings_volume_reference.h"

#include <cstdlib>
#include <functional>
#include <memory>

#include <utf8proc.h>

std::string canonicalName(std::string_view name) {
  // Plain ASCII is its own decomposition; most names are.
  bool ascii = true;
  for (unsigned char c : name) ascii = ascii && c < 0x80;
  if (ascii) return std::string(name);
  utf8proc_uint8_t* mapped = nullptr;
  auto length = utf8proc_map(reinterpret_cast<const utf8proc_uint8_t*>(name.data()),
                             static_cast<utf8proc_ssize_t>(name.size()), &mapped,
                             static_cast<utf8proc_option_t>(UTF8PROC_STABLE | UTF8PROC_DECOMPOSE));
  if (length < 0) return std::string(name);
  std::unique_ptr<utf8proc_uint8_t, decltype(&std::free)> owned(mapped, &std::free);
  return std::string(reinterpret_cast<const char*>(mapped), static_cast<std::size_t>(length));
}

bool namesAreEquivalent(std::string_view a, std::string_view b) {
  return a == b || canonicalName(a) == canonicalName(b);
}

SettingsVolumeReference::SettingsVolumeReference(platform::UUID guid, std::string name)
    : guid_(guid), name_(std::move(name)), comparedName_(canonicalName(name_)) {}

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
