#include "argument_parser/dump/tool_info.h"

#include <fstream>
#include <iterator>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ArgumentParserToolInfo {
namespace {

using nlohmann::json;

// A whole expected text from tests/argument_parser/dump/golden/tool_info_*.
std::string golden(const std::string& name) {
  std::ifstream file(std::string(CVDIAG_SOURCE_DIR) + "/tests/argument_parser/dump/golden/tool_info_" + name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

NameInfoV0 longName(std::string name) { return {NameInfoV0::KindV0::longName, std::move(name)}; }

ToolInfoV0 fullTool() {
  ArgumentInfoV0 option;
  option.kind = ArgumentInfoV0::KindV0::option;
  option.shouldDisplay = false;
  option.sectionTitle = "Input";
  option.isOptional = true;
  option.isRepeating = true;
  option.names = std::vector<NameInfoV0>{{NameInfoV0::KindV0::shortName, "f"},
                                         longName("file"),
                                         {NameInfoV0::KindV0::longWithSingleDash, "file"}};
  option.preferredName = longName("file");
  option.valueName = "path";
  option.defaultValue = "a.txt";
  option.allValues = std::vector<std::string>{"a.txt", "b.txt"};
  option.abstract = "The file.";
  option.discussion = "Read first.";

  CommandInfoV0 child;
  child.superCommands = std::vector<std::string>{"tool"};
  child.commandName = "sub";

  ToolInfoV0 tool;
  tool.command.commandName = "tool";
  tool.command.abstract = "Does things.";
  tool.command.discussion = "At length.";
  tool.command.defaultSubcommand = "sub";
  tool.command.subcommands = std::vector<CommandInfoV0>{child};
  tool.command.arguments = std::vector<ArgumentInfoV0>{option};
  return tool;
}

TEST(ToolInfoEncoding, EveryKeyAndKindTextAsTheWireFormatNamesThem) {
  EXPECT_EQ(json::parse(renderedJSON(fullTool())), json::parse(golden("full.json")));
}

TEST(ToolInfoEncoding, AbsentValuesHaveNoKeyAndNeverNull) {
  ArgumentInfoV0 positional;
  positional.kind = ArgumentInfoV0::KindV0::positional;
  ToolInfoV0 tool;
  tool.command.commandName = "bare";
  tool.command.arguments = std::vector<ArgumentInfoV0>{positional};

  const std::string text = renderedJSON(tool);
  EXPECT_EQ(json::parse(text), json::parse(R"({"serializationVersion": 0, "command": {"commandName": "bare",
    "arguments": [{"kind": "positional", "shouldDisplay": true, "isOptional": false, "isRepeating": false}]}})"));
  EXPECT_EQ(text.find("null"), std::string::npos) << text;
}

TEST(ToolInfoEncoding, TextIsPrettyWithKeysSortedInEveryObject) {
  ToolInfoV0 tool;
  tool.command.commandName = "t";
  tool.command.abstract = "A";
  ArgumentInfoV0 flag;
  flag.names = std::vector<NameInfoV0>{longName("x")};
  tool.command.arguments = std::vector<ArgumentInfoV0>{flag};

  EXPECT_EQ(renderedJSON(tool), golden("pretty.json"));
}

TEST(ToolInfoEncoding, TextThatIsNotUTF8GivesTheEmptyDump) {
  ToolInfoV0 tool;
  tool.command.commandName = "bad\xff";
  EXPECT_EQ(renderedJSON(tool), "");
}

TEST(ToolInfoDecoding, ReadsBackWhatItWroteAndTheHeaderAlone) {
  const ToolInfoV0 tool = fullTool();
  const json parsed = json::parse(renderedJSON(tool));
  EXPECT_EQ(parsed.get<ToolInfoV0>(), tool);
  EXPECT_EQ(parsed.get<ToolInfoHeader>(), ToolInfoHeader{0});
  EXPECT_EQ(json::parse(R"({"serializationVersion": 7, "other": true})").get<ToolInfoHeader>(),
            ToolInfoHeader{7});
}

TEST(ToolInfoDecoding, RefusesUnknownKindsAndMissingRequiredKeys) {
  EXPECT_THROW(json::parse(R"({"kind": "medium", "name": "x"})").get<NameInfoV0>(),
               json::exception);
  EXPECT_THROW(json::parse(R"({"kind": "switch", "shouldDisplay": true,
                               "isOptional": true, "isRepeating": false})")
                   .get<ArgumentInfoV0>(),
               json::exception);
  EXPECT_THROW(json::parse(R"({"abstract": "no name"})").get<CommandInfoV0>(), json::exception);
}

}  // namespace
}  // namespace ArgumentParserToolInfo
