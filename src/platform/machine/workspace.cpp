// iconForFile: over a machine folder: an icon named by the kind of item.

#include "platform/workspace.h"
#include "platform/machine/factories.h"
#include "platform/machine/machine_queries.h"

namespace platform::machine {

namespace {

class MachineWorkspace final : public Workspace {
 public:
  explicit MachineWorkspace(MachineRef machine) : machine_(std::move(machine)) {}

  Image iconForFile(std::string_view path) const override {
    Image icon{Image::Kind::Missing, std::string(path)};
    if (!existsAtMacPath(*machine_, path)) return icon;
    const std::string normalized = normalizeMacPath(path);
    for (const MediaObject& media : machine_->media) {
      if (auto mount = media.mountPath(); mount && normalizeMacPath(*mount) == normalized) {
        icon.kind = Image::Kind::Volume;
        return icon;
      }
    }
    std::error_code ec;
    icon.kind = std::filesystem::is_directory(machine_->hostPath(path), ec) ? Image::Kind::Folder
                                                                            : Image::Kind::File;
    return icon;
  }

 private:
  MachineRef machine_;
};

}  // namespace

std::shared_ptr<Workspace> makeMachineWorkspace(MachineRef machine) {
  return std::make_shared<MachineWorkspace>(std::move(machine));
}

}  // namespace platform::machine
