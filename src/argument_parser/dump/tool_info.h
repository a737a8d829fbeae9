#pragma once
// The records of the tool information dump: a versioned JSON description of
// a command tree, meant for other programs. Everything here is a wire format:
// the key names and the raw texts of the kinds must not change within a
// serialization version.
//
// An absent optional value is written as no key at all, never as null.
// Which values count as absent (an empty abstract, an empty name list) is
// decided by whoever fills the records; the encoding only omits what is empty
// in the optional sense.

#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace ArgumentParserToolInfo {

// The one key that every version of the format shares, so that a reader can
// pick the decoder for the rest.
struct ToolInfoHeader {
  int serializationVersion = 0;

  friend bool operator==(const ToolInfoHeader&, const ToolInfoHeader&) = default;
};

struct NameInfoV0 {
  enum class KindV0 { longName, shortName, longWithSingleDash };

  KindV0 kind = KindV0::longName;
  // The bare name: no dashes in front.
  std::string name;

  friend bool operator==(const NameInfoV0&, const NameInfoV0&) = default;
};

struct ArgumentInfoV0 {
  enum class KindV0 { positional, option, flag };

  KindV0 kind = KindV0::flag;
  bool shouldDisplay = true;
  std::optional<std::string> sectionTitle;
  bool isOptional = false;
  bool isRepeating = false;
  std::optional<std::vector<NameInfoV0>> names;
  std::optional<NameInfoV0> preferredName;
  std::optional<std::string> valueName;
  std::optional<std::string> defaultValue;
  std::optional<std::vector<std::string>> allValues;
  std::optional<std::string> abstract;
  std::optional<std::string> discussion;

  friend bool operator==(const ArgumentInfoV0&, const ArgumentInfoV0&) = default;
};

struct CommandInfoV0 {
  std::optional<std::vector<std::string>> superCommands;
  std::string commandName;
  std::optional<std::string> abstract;
  std::optional<std::string> discussion;
  std::optional<std::string> defaultSubcommand;
  std::optional<std::vector<CommandInfoV0>> subcommands;
  std::optional<std::vector<ArgumentInfoV0>> arguments;

  friend bool operator==(const CommandInfoV0&, const CommandInfoV0&) = default;
};

struct ToolInfoV0 {
  int serializationVersion = 0;
  CommandInfoV0 command;

  friend bool operator==(const ToolInfoV0&, const ToolInfoV0&) = default;
};

// The raw texts of the kinds: "long", "short", "longWithSingleDash";
// "positional", "option", "flag".
std::string rawValue(NameInfoV0::KindV0 kind);
std::string rawValue(ArgumentInfoV0::KindV0 kind);

// Helpers for filling records: empty text or an empty list is absent.
std::optional<std::string> nonEmpty(std::string text);
template <typename T>
std::optional<std::vector<T>> nonEmpty(std::vector<T> list) {
  if (list.empty()) return std::nullopt;
  return list;
}

// JSON conversion (found by nlohmann::json through argument-dependent
// lookup). Decoding throws nlohmann::json::exception on a missing required
// key, a wrong type or an unknown kind text.
void to_json(nlohmann::json& json, const ToolInfoHeader& value);
void from_json(const nlohmann::json& json, ToolInfoHeader& value);
void to_json(nlohmann::json& json, const NameInfoV0& value);
void from_json(const nlohmann::json& json, NameInfoV0& value);
void to_json(nlohmann::json& json, const ArgumentInfoV0& value);
void from_json(const nlohmann::json& json, ArgumentInfoV0& value);
void to_json(nlohmann::json& json, const CommandInfoV0& value);
void from_json(const nlohmann::json& json, CommandInfoV0& value);
void to_json(nlohmann::json& json, const ToolInfoV0& value);
void from_json(const nlohmann::json& json, ToolInfoV0& value);

// The dump as text: pretty-printed, keys of every object in sorted order,
// UTF-8. Text that cannot be encoded (invalid UTF-8) gives the empty text.
std::string renderedJSON(const ToolInfoV0& toolInfo);

}  // namespace ArgumentParserToolInfo
