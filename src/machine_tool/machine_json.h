#pragma once
// Platform values as machine.json writes them: URLs, UUIDs, bytes and dates
// as one-key typed objects ({"$url": …}), everything else as plain JSON.

#include <nlohmann/json.hpp>

#include "platform/value.h"

namespace machine_tool {

nlohmann::ordered_json toJSON(const platform::Value& value);

// Padded base64 of the bytes.
std::string base64(const platform::Bytes& bytes);

}  // namespace machine_tool
