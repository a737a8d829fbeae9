#include "platform/machine/machine.h"

#include "platform/machine/machine_queries.h"

#include <stdexcept>

namespace platform::machine {

std::filesystem::path Machine::hostPath(std::string_view macPath) const {
  // Lexically normalised, so ".." stops at the Mac's "/".
  std::string normal = normalizeMacPath(macPath);
  std::filesystem::path result = folder;
  if (normal != "/") result /= std::string_view(normal).substr(1);
  return result;
}

void Machine::indexMedia() {
  mediaByBSDName.clear();
  mediaByMountPath.clear();
  for (std::size_t i = 0; i < media.size(); ++i) {
    if (const auto& bsd = media.bsdName(i); bsd && !bsd->empty()) mediaByBSDName.try_emplace(*bsd, i);
    if (const auto& mount = media.mountPath(i)) mediaByMountPath.try_emplace(normalizeMacPath(*mount), i);
  }
}

const MediaObject& MediaList::operator[](std::size_t index) const {
  const Entry& entry = *entries_[index];
  std::lock_guard lock(entry.mutex);
  // A failed read leaves the reader in place: every later request fails the
  // same way.
  if (!entry.object) entry.object = (*entry.read)(entry.text, index);
  return *entry.object;
}

const MediaObject& MediaList::at(std::size_t index) const {
  if (index >= entries_.size()) throw std::out_of_range("no media object " + std::to_string(index));
  return (*this)[index];
}

void MediaList::push_back(MediaObject object) {
  auto entry = std::make_unique<Entry>();
  entry->bsdName = object.bsdName();
  entry->mountPath = object.mountPath();
  entry->object = std::move(object);
  entries_.push_back(std::move(entry));
}

void MediaList::pushUnread(std::shared_ptr<const Reader> read, std::string_view text,
                           std::optional<std::string> bsdName, std::optional<std::string> mountPath) {
  auto entry = std::make_unique<Entry>();
  entry->bsdName = std::move(bsdName);
  entry->mountPath = std::move(mountPath);
  entry->read = std::move(read);
  entry->text = text;
  entries_.push_back(std::move(entry));
}

std::optional<std::string> bsdNameOf(const Value* value) {
  if (value == nullptr || value->string() == nullptr) return std::nullopt;
  return *value->string();
}

std::optional<std::string> mountPathOf(const Value* value) {
  if (value == nullptr || value->url() == nullptr) return std::nullopt;
  return value->url()->path();
}

std::optional<std::string> MediaObject::bsdName() const {
  if (!da) return std::nullopt;
  return bsdNameOf(lookup(*da, "DAMediaBSDName"));
}

std::optional<std::string> MediaObject::mountPath() const {
  if (!da) return std::nullopt;
  return mountPathOf(lookup(*da, "DAVolumePath"));
}

void MachineChanges::renameVolume(std::size_t index, std::string name) {
  std::lock_guard lock(mutex_);
  volumeNames_.insert_or_assign(index, std::move(name));
}

std::optional<std::string> MachineChanges::volumeName(std::size_t index) const {
  std::lock_guard lock(mutex_);
  auto it = volumeNames_.find(index);
  if (it == volumeNames_.end()) return std::nullopt;
  return it->second;
}

}  // namespace platform::machine
