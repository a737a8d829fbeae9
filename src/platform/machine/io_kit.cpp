// The I/O registry of a machine folder: one IOMedia entry per media object,
// in file order, with the "io" properties of the object and its "ioParents"
// as the ancestors in the IOService plane.

#include "platform/io_kit.h"
#include "platform/machine/factories.h"
#include "platform/machine/machine_queries.h"

namespace platform::machine {

namespace {

constexpr std::string_view kProviderClassKey = "IOProviderClass";

class MachineIOKit final : public IOKit {
 public:
  explicit MachineIOKit(MachineRef machine) : machine_(std::move(machine)) {}

  Dictionary IOServiceMatching(std::string_view className) const override {
    return Dictionary{{std::string(kProviderClassKey), Value(className)}};
  }

  std::optional<IOIterator> IOServiceGetMatchingServices(const Dictionary& matching) const override {
    if (machine_->fails("IOServiceGetMatchingServices")) return std::nullopt;
    const Value* wanted = lookup(matching, kProviderClassKey);
    if (wanted == nullptr || wanted->string() == nullptr || *wanted->string() != "IOMedia")
      return IOIterator();
    std::vector<IORegistryEntryRef> entries;
    entries.reserve(machine_->media.size());
    for (std::size_t i = 0; i < machine_->media.size(); ++i)
      entries.push_back(std::make_shared<MediaRegistryEntry>(machine_, i));
    return IOIterator(std::move(entries));
  }

  std::optional<Dictionary> IORegistryEntryCreateCFProperties(
      const IORegistryEntryRef& entry) const override {
    const MediaObject* media = mediaOf(entry);
    if (media == nullptr) return std::nullopt;
    return media->io;
  }

  std::optional<Value> IORegistryEntryCreateCFProperty(const IORegistryEntryRef& entry,
                                                       std::string_view key) const override {
    const MediaObject* media = mediaOf(entry);
    if (media == nullptr || !media->io) return std::nullopt;
    if (const Value* v = lookup(*media->io, key)) return *v;
    return std::nullopt;
  }

  std::optional<Value> IORegistryEntrySearchCFProperty(const IORegistryEntryRef& entry,
                                                       std::string_view plane, std::string_view key,
                                                       std::uint32_t options) const override {
    const MediaObject* media = mediaOf(entry);
    if (media == nullptr) return std::nullopt;
    if (media->io) {
      if (const Value* v = lookup(*media->io, key)) return *v;
    }
    // Only ancestors are recorded: a recursive search towards the children
    // finds nothing more, and other planes hold no ancestors.
    const std::uint32_t upwards = kIORegistryIterateRecursively | kIORegistryIterateParents;
    if ((options & upwards) != upwards || plane != kIOServicePlane) return std::nullopt;
    for (const Dictionary& parent : media->ioParents)
      if (const Value* v = lookup(parent, key)) return *v;
    return std::nullopt;
  }

 private:
  // The media object of an entry that this machine handed out.
  const MediaObject* mediaOf(const IORegistryEntryRef& entry) const {
    auto* media = dynamic_cast<const MediaRegistryEntry*>(entry.get());
    if (media == nullptr || &media->machine() != machine_.get()) return nullptr;
    return &media->media();
  }

  MachineRef machine_;
};

}  // namespace

std::shared_ptr<IOKit> makeMachineIOKit(MachineRef machine) {
  return std::make_shared<MachineIOKit>(std::move(machine));
}

}  // namespace platform::machine
