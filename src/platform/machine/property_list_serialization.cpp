#include "platform/property_list_serialization.h"
#include "platform/machine/factories.h"
#include "platform/machine/property_list_codec.h"

namespace platform::machine {

namespace {

class MachinePropertyLists final : public PropertyListSerialization {
 public:
  explicit MachinePropertyLists(MachineRef machine) : machine_(std::move(machine)) {}

  Result<Value> propertyListWithData(const Bytes& data, std::uint64_t) const override {
    return decodePropertyList(data.bytes());
  }

  Result<Bytes> dataWithPropertyList(const Value& plist, PropertyListFormat format) const override {
    return encodePropertyList(plist, format);
  }

  std::optional<Dictionary> initWithContentsOfURL(const URL& url) const override {
    if (!url.isFileURL()) return std::nullopt;
    auto value = readPropertyListFile(machine_->hostPath(url.path()));
    if (!value || value->dictionary() == nullptr) return std::nullopt;
    return *value->dictionary();
  }

 private:
  MachineRef machine_;
};

}  // namespace

std::shared_ptr<PropertyListSerialization> makeMachinePropertyLists(MachineRef machine) {
  return std::make_shared<MachinePropertyLists>(std::move(machine));
}

}  // namespace platform::machine
