#include "platform/bundle.h"
#include "platform/machine/factories.h"

namespace platform::machine {

namespace {

// The bundle identifier comes from the machine; the information dictionary
// from the executable.
class MachineBundle final : public Bundle {
 public:
  MachineBundle(MachineRef machine, Dictionary info)
      : machine_(std::move(machine)), info_(std::move(info)) {}
  std::optional<std::string> bundleIdentifier() const override { return machine_->bundleIdentifier; }
  std::optional<Dictionary> infoDictionary() const override {
    if (info_.empty()) return std::nullopt;
    return info_;
  }

 private:
  MachineRef machine_;
  Dictionary info_;
};

}  // namespace

std::shared_ptr<Bundle> makeMachineBundle(MachineRef machine, Dictionary infoDictionary) {
  return std::make_shared<MachineBundle>(std::move(machine), std::move(infoDictionary));
}

}  // namespace platform::machine
