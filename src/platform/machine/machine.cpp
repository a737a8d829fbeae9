#include "platform/machine/machine.h"

#include "platform/machine/machine_queries.h"

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
    if (auto bsd = media[i].bsdName(); bsd && !bsd->empty()) mediaByBSDName.try_emplace(*bsd, i);
    if (auto mount = media[i].mountPath()) mediaByMountPath.try_emplace(normalizeMacPath(*mount), i);
  }
}

std::optional<std::string> MediaObject::bsdName() const {
  if (!da) return std::nullopt;
  const Value* v = lookup(*da, "DAMediaBSDName");
  if (v == nullptr || v->string() == nullptr) return std::nullopt;
  return *v->string();
}

std::optional<std::string> MediaObject::mountPath() const {
  if (!da) return std::nullopt;
  const Value* v = lookup(*da, "DAVolumePath");
  if (v == nullptr || v->url() == nullptr) return std::nullopt;
  return v->url()->path();
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
