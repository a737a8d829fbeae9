#include "argument_parser/dump/tool_info.h"

#include <nlohmann/json.hpp>

namespace ArgumentParserToolInfo {

namespace {

using nlohmann::json;

template <typename T>
void putOptional(json& object, const char* key, const std::optional<T>& value) {
  if (value) object[key] = *value;
}

template <typename T>
void getOptional(const json& object, const char* key, std::optional<T>& value) {
  auto found = object.find(key);
  if (found == object.end() || found->is_null()) {
    value.reset();
  } else {
    value = found->template get<T>();
  }
}

[[noreturn]] void unknownKind(const json& text, const char* what) {
  throw json::other_error::create(
      501, std::string("unknown ") + what + " kind " + text.dump(), &text);
}

}  // namespace

std::string rawValue(NameInfoV0::KindV0 kind) {
  switch (kind) {
    case NameInfoV0::KindV0::longName: return "long";
    case NameInfoV0::KindV0::shortName: return "short";
    case NameInfoV0::KindV0::longWithSingleDash: return "longWithSingleDash";
  }
  return "long";
}

std::string rawValue(ArgumentInfoV0::KindV0 kind) {
  switch (kind) {
    case ArgumentInfoV0::KindV0::positional: return "positional";
    case ArgumentInfoV0::KindV0::option: return "option";
    case ArgumentInfoV0::KindV0::flag: return "flag";
  }
  return "flag";
}

std::optional<std::string> nonEmpty(std::string text) {
  if (text.empty()) return std::nullopt;
  return text;
}

void to_json(json& out, const ToolInfoHeader& value) {
  out = json::object();
  out["serializationVersion"] = value.serializationVersion;
}

void from_json(const json& in, ToolInfoHeader& value) {
  value.serializationVersion = in.at("serializationVersion").get<int>();
}

void to_json(json& out, const NameInfoV0& value) {
  out = json::object();
  out["kind"] = rawValue(value.kind);
  out["name"] = value.name;
}

void from_json(const json& in, NameInfoV0& value) {
  const json& kind = in.at("kind");
  const auto text = kind.get<std::string>();
  if (text == "long") {
    value.kind = NameInfoV0::KindV0::longName;
  } else if (text == "short") {
    value.kind = NameInfoV0::KindV0::shortName;
  } else if (text == "longWithSingleDash") {
    value.kind = NameInfoV0::KindV0::longWithSingleDash;
  } else {
    unknownKind(kind, "name");
  }
  value.name = in.at("name").get<std::string>();
}

void to_json(json& out, const ArgumentInfoV0& value) {
  out = json::object();
  out["kind"] = rawValue(value.kind);
  out["shouldDisplay"] = value.shouldDisplay;
  putOptional(out, "sectionTitle", value.sectionTitle);
  out["isOptional"] = value.isOptional;
  out["isRepeating"] = value.isRepeating;
  putOptional(out, "names", value.names);
  putOptional(out, "preferredName", value.preferredName);
  putOptional(out, "valueName", value.valueName);
  putOptional(out, "defaultValue", value.defaultValue);
  putOptional(out, "allValues", value.allValues);
  putOptional(out, "abstract", value.abstract);
  putOptional(out, "discussion", value.discussion);
}

void from_json(const json& in, ArgumentInfoV0& value) {
  const json& kind = in.at("kind");
  const auto text = kind.get<std::string>();
  if (text == "positional") {
    value.kind = ArgumentInfoV0::KindV0::positional;
  } else if (text == "option") {
    value.kind = ArgumentInfoV0::KindV0::option;
  } else if (text == "flag") {
    value.kind = ArgumentInfoV0::KindV0::flag;
  } else {
    unknownKind(kind, "argument");
  }
  value.shouldDisplay = in.at("shouldDisplay").get<bool>();
  getOptional(in, "sectionTitle", value.sectionTitle);
  value.isOptional = in.at("isOptional").get<bool>();
  value.isRepeating = in.at("isRepeating").get<bool>();
  getOptional(in, "names", value.names);
  getOptional(in, "preferredName", value.preferredName);
  getOptional(in, "valueName", value.valueName);
  getOptional(in, "defaultValue", value.defaultValue);
  getOptional(in, "allValues", value.allValues);
  getOptional(in, "abstract", value.abstract);
  getOptional(in, "discussion", value.discussion);
}

void to_json(json& out, const CommandInfoV0& value) {
  out = json::object();
  putOptional(out, "superCommands", value.superCommands);
  out["commandName"] = value.commandName;
  putOptional(out, "abstract", value.abstract);
  putOptional(out, "discussion", value.discussion);
  putOptional(out, "defaultSubcommand", value.defaultSubcommand);
  putOptional(out, "subcommands", value.subcommands);
  putOptional(out, "arguments", value.arguments);
}

void from_json(const json& in, CommandInfoV0& value) {
  getOptional(in, "superCommands", value.superCommands);
  value.commandName = in.at("commandName").get<std::string>();
  getOptional(in, "abstract", value.abstract);
  getOptional(in, "discussion", value.discussion);
  getOptional(in, "defaultSubcommand", value.defaultSubcommand);
  getOptional(in, "subcommands", value.subcommands);
  getOptional(in, "arguments", value.arguments);
}

void to_json(json& out, const ToolInfoV0& value) {
  out = json::object();
  out["serializationVersion"] = value.serializationVersion;
  out["command"] = value.command;
}

void from_json(const json& in, ToolInfoV0& value) {
  value.serializationVersion = in.at("serializationVersion").get<int>();
  value.command = in.at("command").get<CommandInfoV0>();
}

std::string renderedJSON(const ToolInfoV0& toolInfo) {
  try {
    // The default object type keeps its keys in a std::map: sorted output.
    const json encoded = toolInfo;
    return encoded.dump(2);
  } catch (const json::exception&) {
    return "";
  }
}

}  // namespace ArgumentParserToolInfo
