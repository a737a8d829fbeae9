#include "machine_tool/machine_json.h"

#include <cmath>
#include <cstdio>
#include <ctime>

#include "platform/machine/base64.h"

namespace machine_tool {

namespace {

// "2024-03-01T10:00:00Z"; whole seconds, as recordings give them.
std::string isoDate(const platform::Date& date) {
  std::time_t seconds = static_cast<std::time_t>(std::floor(date.secondsSince1970()));
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text;
}

}  // namespace

nlohmann::ordered_json toJSON(const platform::Value& value) {
  using Kind = platform::Value::Kind;
  using json = nlohmann::ordered_json;
  switch (value.kind()) {
    case Kind::String: return *value.string();
    case Kind::Boolean: return *value.boolean();
    case Kind::Integer: return *value.asInt64();
    case Kind::Unsigned: return *value.asUInt64();
    case Kind::Real: {
      double d = *value.asDouble();
      return std::isfinite(d) ? json(d) : json(nullptr);
    }
    case Kind::Url: return json{{"$url", value.url()->absoluteString()}};
    case Kind::Uuid: return json{{"$uuid", value.uuid()->uuidString()}};
    case Kind::Data: return json{{"$data", platform::machine::base64Encoded(*value.data())}};
    case Kind::DateTime: return json{{"$date", isoDate(*value.date())}};
    case Kind::List: {
      json array = json::array();
      for (const auto& element : *value.array()) array.push_back(toJSON(element));
      return array;
    }
    case Kind::Uid: return value.uid()->value;  // machine.json has no UID: its number
    case Kind::Map: {
      json object = json::object();
      for (const auto& [key, element] : *value.dictionary()) object[key] = toJSON(element);
      return object;
    }
  }
  return nullptr;
}

}  // namespace machine_tool
