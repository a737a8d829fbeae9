#pragma once
// The property-list reader and writer under every machine-folder family that
// touches property lists (serialization, user defaults, bookmarks). The
// guards in front of the library live here.

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>

#include "platform/property_list_serialization.h"
#include "platform/error.h"
#include "platform/value.h"

namespace platform::machine {

// Structural check of a binary property list ("bplist00"), without recursion:
// trailer and offset table in bounds, every object in bounds and of a known
// kind, every reference in range, dictionary keys that are text, no cycle,
// depth at most kMaxPropertyListDepth, and at most kMaxPropertyListNodes
// values when shared references are counted each time they are reached.
// Nothing when the input passes; otherwise why not.
std::optional<Error> checkBinaryPropertyList(std::span<const std::uint8_t> bytes);

// Nesting and date check of an XML property list: array and dict elements
// nested at most kMaxPropertyListDepth deep, every date text readable and in
// the range a property-list date can hold.
std::optional<Error> checkXMLPropertyList(std::string_view text);

// Bytes (XML or binary) to a value, with all the guards.
Result<Value> decodePropertyList(std::span<const std::uint8_t> bytes);

// A value to bytes.
Result<Bytes> encodePropertyList(const Value& value, PropertyListFormat format);

// Reads a whole host file of at most kMaxPropertyListBytes.
Result<Bytes> readFileCapped(const std::filesystem::path& path, std::size_t cap);

// readFileCapped and decodePropertyList together.
Result<Value> readPropertyListFile(const std::filesystem::path& path);

}  // namespace platform::machine
