#pragma once
// The two forms of a property list behind property_list_codec.h, and the
// failures they share. Only the codec includes this.

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "platform/error.h"
#include "platform/value.h"

namespace platform::machine {

// A property list that can't be read: Cocoa's "corrupt" error (3840), with
// why in parentheses.
Error propertyListReadError(std::string_view why);
// A value that can't be written (3851).
Error propertyListWriteError(std::string_view why);

// The binary form ("bplist00"): object table, offset table, trailer.
Result<Value> decodeBinaryPropertyList(std::span<const std::uint8_t> bytes);
Result<Bytes> encodeBinaryPropertyList(const Value& value);

// The XML form.
Result<Value> decodeXMLPropertyList(std::string_view text);
Result<Bytes> encodeXMLPropertyList(const Value& value);

// The key of the one-pair dictionary by which the XML form holds a UID.
inline constexpr std::string_view kXMLUIDKey = "CF$UID";

}  // namespace platform::machine
