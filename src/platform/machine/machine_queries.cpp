#include "platform/machine/machine_queries.h"

#include <vector>

namespace platform::machine {

std::string normalizeMacPath(std::string_view macPath) {
  std::vector<std::string_view> parts;
  std::string_view rest = macPath;
  while (!rest.empty()) {
    auto slash = rest.find('/');
    std::string_view part = rest.substr(0, slash);
    rest = slash == std::string_view::npos ? std::string_view() : rest.substr(slash + 1);
    if (part.empty() || part == ".") continue;
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
      continue;
    }
    parts.push_back(part);
  }
  if (parts.empty()) return "/";
  std::string result;
  for (auto p : parts) {
    result += '/';
    result += p;
  }
  return result;
}

std::string_view stripDevPrefix(std::string_view name) {
  constexpr std::string_view dev = "/dev/";
  if (name.substr(0, dev.size()) == dev) name.remove_prefix(dev.size());
  return name;
}

std::optional<std::size_t> mediaIndexByBSDName(const Machine& machine, std::string_view name) {
  name = stripDevPrefix(name);
  auto found = machine.mediaByBSDName.find(name);
  if (found == machine.mediaByBSDName.end()) return std::nullopt;
  return found->second;
}

std::optional<std::size_t> wholeDiskIndex(const Machine& machine, std::size_t index) {
  const MediaObject& m = machine.media.at(index);
  switch (m.whole.kind) {
    case WholeRule::Kind::None: return std::nullopt;
    case WholeRule::Kind::Named: return mediaIndexByBSDName(machine, m.whole.bsdName);
    case WholeRule::Kind::Default: break;
  }
  if (m.da) {
    if (const Value* whole = lookup(*m.da, "DAMediaWhole"); whole && whole->boolean().value_or(false))
      return index;
  }
  auto bsd = m.bsdName();
  if (!bsd || bsd->rfind("disk", 0) != 0) return std::nullopt;
  std::size_t end = 4;
  while (end < bsd->size() && (*bsd)[end] >= '0' && (*bsd)[end] <= '9') ++end;
  if (end == 4) return std::nullopt;
  return mediaIndexByBSDName(machine, bsd->substr(0, end));
}

std::optional<std::size_t> volumeIndexHolding(const Machine& machine, std::string_view macPath) {
  // The path itself, then each shorter prefix of whole components, down to "/".
  const std::string path = normalizeMacPath(macPath);
  std::string_view prefix = path;
  while (true) {
    if (auto found = machine.mediaByMountPath.find(prefix); found != machine.mediaByMountPath.end())
      return found->second;
    if (prefix == "/") return std::nullopt;
    auto slash = prefix.rfind('/');
    prefix = prefix.substr(0, slash == 0 ? 1 : slash);
  }
}

const VolumeFacts* volumeFactsHolding(const Machine& machine, std::string_view macPath) {
  auto index = volumeIndexHolding(machine, macPath);
  if (!index || !machine.media[*index].volume) return nullptr;
  return &*machine.media[*index].volume;
}

bool existsAtMacPath(const Machine& machine, std::string_view macPath) {
  const std::string path = normalizeMacPath(macPath);
  constexpr std::string_view dev = "/dev/";
  if (!machine.isHost && path.size() > dev.size() && path.compare(0, dev.size(), dev) == 0 &&
      mediaIndexByBSDName(machine, path))
    return true;
  std::error_code ec;
  return std::filesystem::exists(machine.hostPath(path), ec);
}

}  // namespace platform::machine
