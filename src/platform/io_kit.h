#pragma once
// The I/O registry: IOMedia matching and registry properties, with the
// recursive parent search.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/value.h"

namespace platform {

// One entry of the I/O registry (an io_registry_entry_t). Opaque: only the
// platform that handed it out can read it. Releasing is dropping the pointer
// (IOObjectRelease); an empty pointer stands for "no entry" (0).
class IORegistryEntry {
 public:
  virtual ~IORegistryEntry() = default;
};
using IORegistryEntryRef = std::shared_ptr<const IORegistryEntry>;

// The iterator of IOServiceGetMatchingServices: hands out each matching entry
// once, in the order the registry gives them.
class IOIterator {
 public:
  IOIterator() = default;
  explicit IOIterator(std::vector<IORegistryEntryRef> entries) : entries_(std::move(entries)) {}
  // IOIteratorNext: the next entry, or an empty pointer when all are out.
  IORegistryEntryRef next() {
    if (position_ >= entries_.size()) return nullptr;
    return entries_[position_++];
  }
  bool isEmpty() const { return entries_.empty(); }

 private:
  std::vector<IORegistryEntryRef> entries_;
  std::size_t position_ = 0;
};

// The plane of IORegistryEntrySearchCFProperty that the volume code searches.
inline constexpr std::string_view kIOServicePlane = "IOService";
// Options of IORegistryEntrySearchCFProperty; 3 is "recursive, towards the parents".
inline constexpr std::uint32_t kIORegistryIterateRecursively = 0x1;
inline constexpr std::uint32_t kIORegistryIterateParents = 0x2;

class IOKit {
 public:
  virtual ~IOKit() = default;

  // IOServiceMatching("IOMedia"): the matching dictionary of a class,
  // {"IOProviderClass": className}.
  virtual Dictionary IOServiceMatching(std::string_view className) const = 0;

  // IOServiceGetMatchingServices(kIOMasterPortDefault, matching, &iterator):
  // every registry entry of the matching dictionary's class. Nothing stands
  // for a non-zero status. Only "IOMedia" has entries on a simulated machine.
  virtual std::optional<IOIterator> IOServiceGetMatchingServices(const Dictionary& matching) const = 0;

  // IORegistryEntryCreateCFProperties(entry, &properties, kCFAllocatorDefault, 0):
  // all properties of the entry itself; nothing stands for a non-zero status
  // (also for an empty entry).
  virtual std::optional<Dictionary> IORegistryEntryCreateCFProperties(
      const IORegistryEntryRef& entry) const = 0;

  // IORegistryEntryCreateCFProperty(entry, key, kCFAllocatorDefault, 0): one
  // property of the entry itself, parents not searched; nothing when absent.
  virtual std::optional<Value> IORegistryEntryCreateCFProperty(const IORegistryEntryRef& entry,
                                                               std::string_view key) const = 0;

  // IORegistryEntrySearchCFProperty(entry, plane, key, kCFAllocatorDefault,
  // options): the entry's own property first; with
  // kIORegistryIterateRecursively | kIORegistryIterateParents, then the
  // entry's ancestors in the plane, nearest first, the first that has the key
  // winning. Without kIORegistryIterateRecursively only the entry is read.
  virtual std::optional<Value> IORegistryEntrySearchCFProperty(const IORegistryEntryRef& entry,
                                                               std::string_view plane,
                                                               std::string_view key,
                                                               std::uint32_t options) const = 0;
};

}  // namespace platform
