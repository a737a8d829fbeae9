#pragma once
// NSPropertyListSerialization and NSDictionary initWithContentsOfURL:
// property lists from and to bytes.
//
// Reading takes XML and binary property lists (told apart by their first
// bytes) of any size, and holds every value the platform does: text with any
// Unicode (U+0000 included), integers from -2^63 to 2^64-1 (those above
// 2^63-1 as Unsigned), 64-bit reals, dates of any year as seconds from
// 2001-01-01 kept bit for bit, data, booleans and UIDs. It refuses, with
// Cocoa's "corrupt" error (3840) and never by crashing: malformed XML, an
// unknown element, an <integer> or <real> that is no number, a dictionary key
// without a value, text that is not UTF-8 (or, in the binary form, ASCII or
// UTF-16), a truncated binary list or one whose trailer, offsets or
// references point outside it, references in a cycle, nesting deeper than
// kMaxPropertyListDepth, and shared references that would expand past what
// the input pays for (kMaxPropertyListNodes values plus one per input byte).
//
// Writing gives back every value as it was read: a read followed by a write
// changes no type and no value (an XML date keeps its whole second only, as
// the XML form does). URL and UUID values are written as their texts.
//
// Thread safety: every operation may be called from any thread at once.

#include <cstddef>
#include <cstdint>
#include <optional>

#include "platform/error.h"
#include "platform/value.h"

namespace platform {

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
  // reason the value can't be written (text that is not UTF-8, nesting deeper
  // than kMaxPropertyListDepth, in XML a date beyond the calendar).
  virtual Result<Bytes> dataWithPropertyList(const Value& plist, PropertyListFormat format) const = 0;

  // NSDictionary initWithContentsOfURL: the dictionary of the property list
  // at a file URL of the Mac. Nothing when the file is missing, unreadable,
  // no property list, or its root no dictionary.
  virtual std::optional<Dictionary> initWithContentsOfURL(const URL& url) const = 0;
};

}  // namespace platform
