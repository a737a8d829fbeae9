#include "platform/machine/Machine.h"

namespace platform::machine {

std::filesystem::path Machine::hostPath(std::string_view macPath) const {
  // Normalise lexically so that ".." stops at the Mac's "/".
  std::vector<std::string> parts;
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
    parts.emplace_back(part);
  }
  std::filesystem::path result = folder;
  for (const auto& p : parts) result /= p;
  return result;
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

}  // namespace platform::machine
