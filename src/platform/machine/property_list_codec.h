#pragma once
// The property-list reader and writer under every machine-folder family that
// touches property lists (serialization, user defaults, bookmarks, settings
// documents, diskutil answers) and under the recording importer. Both forms,
// XML and binary, are our own code; what they hold and refuse is told in
// platform/property_list_serialization.h.

#include <cstdint>
#include <filesystem>
#include <span>

#include "platform/property_list_serialization.h"
#include "platform/error.h"
#include "platform/value.h"

namespace platform::machine {

// Bytes (XML or binary, told apart by the first eight bytes) to a value.
Result<Value> decodePropertyList(std::span<const std::uint8_t> bytes);

// A value to bytes of the form asked for.
Result<Bytes> encodePropertyList(const Value& value, PropertyListFormat format);

// The whole content of a regular host file, mapped rather than read, so that
// a file of any size costs its pages and no copy. The mapping lives as long
// as the bytes (and their copies) do. Not a regular file, or missing: an
// error.
Result<Bytes> mapFile(const std::filesystem::path& path);
// The same for a file already open; `fd` stays open and the caller's.
Result<Bytes> mapOpenFile(int fd);

// mapFile and decodePropertyList together.
Result<Value> readPropertyListFile(const std::filesystem::path& path);

}  // namespace platform::machine
