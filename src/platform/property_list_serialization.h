#pragma once
// NSPropertyListSerialization and NSDictionary initWithContentsOfURL:
// property lists from and to bytes.
//
// Reading takes XML and binary property lists (told apart by their first
// bytes) and is safe against hostile input: an input larger than
// kMaxPropertyListBytes, nested deeper than kMaxPropertyListDepth, whose
// binary objects would expand to more than kMaxPropertyListNodes values, with
// references out of range or in a cycle, or with text that is not UTF-8 or
// holds U+0000, is refused with a message and never crashes.
//
// Numbers: a property list has one integer kind; integers read back as signed
// 64-bit (so an unsigned value above the signed range reads as its two's
// complement). URL and UUID values are written as their texts. Dates are kept
// within 68 years of 2001 (the range of 32-bit seconds): to the microsecond in
// binary, to the second they fall in in XML.
//
// Thread safety: every operation may be called from any thread at once.

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/error.h"
#include "platform/value.h"

namespace platform {

inline constexpr std::size_t kMaxPropertyListBytes = std::size_t{16} << 20;
inline constexpr std::size_t kMaxPropertyListDepth = 512;
inline constexpr std::size_t kMaxPropertyListNodes = std::size_t{1} << 20;

enum class PropertyListFormat { XML, Binary };

class PropertyListSerialization {
 public:
  virtual ~PropertyListSerialization() = default;

  // propertyListWithData:options:format:error: gives the root object or the
  // reason the bytes are no property list. `options` (0 immutable, 1 mutable
  // containers) changes nothing here: values are always copies.
  virtual Result<Value> propertyListWithData(const Bytes& data, std::uint64_t options) const = 0;

  // dataWithPropertyList:format:options:error: gives the encoded bytes, or the
  // reason the value can't be written (text that is not UTF-8 or holds
  // U+0000, a date out of range, nesting deeper than kMaxPropertyListDepth).
  virtual Result<Bytes> dataWithPropertyList(const Value& plist, PropertyListFormat format) const = 0;

  // NSDictionary initWithContentsOfURL: the dictionary of the property list
  // at a file URL of the Mac. Nothing when the file is missing, unreadable,
  // larger than kMaxPropertyListBytes, no property list, or its root no
  // dictionary.
  virtual std::optional<Dictionary> initWithContentsOfURL(const URL& url) const = 0;
};

}  // namespace platform
