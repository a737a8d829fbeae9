#pragma once
// A settings document's name for a volume: the GUID it was registered under
// and the volume's name when the document was saved. Two references are the
// same only when both agree; names agree when they are canonically
// equivalent (a composed "é" equals "e" with a combining accent), and case
// matters.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/value.h"

// Whether two names are canonically equivalent: equal in canonical
// decomposed form. Text that is not UTF-8 compares by its bytes.
bool namesAreEquivalent(std::string_view a, std::string_view b);

class SettingsVolumeReference {
 public:
  SettingsVolumeReference(platform::UUID guid, std::string name);
  // A reference only when both parts are there.
  static std::optional<SettingsVolumeReference> make(std::optional<platform::UUID> guid,
                                                     std::optional<std::string> name);

  const platform::UUID& guid() const { return guid_; }
  const std::string& name() const { return name_; }
  // The name as compared and hashed.
  const std::string& comparedName() const { return comparedName_; }

  // "GUID: <guid>, Name: “<name>”".
  std::string description() const;

  friend bool operator==(const SettingsVolumeReference& a, const SettingsVolumeReference& b) {
    return a.guid_ == b.guid_ && a.comparedName_ == b.comparedName_;
  }

 private:
  platform::UUID guid_;
  std::string name_;
  std::string comparedName_;
};

struct SettingsVolumeReferenceHash {
  // The GUID, then the compared name.
  std::size_t operator()(const SettingsVolumeReference& reference) const;
};

// A set of references that iterates in the order of first insertion.
class VolumeReferenceSet {
 public:
  // Adds the reference unless an equal one is there; says whether it was added.
  bool insert(const SettingsVolumeReference& reference);
  bool contains(const SettingsVolumeReference& reference) const;
  std::size_t size() const { return members_.size(); }
  bool empty() const { return members_.empty(); }
  auto begin() const { return members_.begin(); }
  auto end() const { return members_.end(); }
  // The members of this set that `other` does not hold, in this set's order.
  VolumeReferenceSet subtracting(const VolumeReferenceSet& other) const;

 private:
  std::vector<SettingsVolumeReference> members_;
  std::unordered_map<SettingsVolumeReference, std::size_t, SettingsVolumeReferenceHash> index_;
};
