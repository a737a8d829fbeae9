// The tool information records: their JSON text, read back and written
// again, and the framework's dump of whole command trees.
#include "argument_parser/dump/tool_info.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "argument_parser/completions/completion_test_commands.h"
#include "argument_parser/completions/shell_runner.h"
#include "argument_parser/dump/dump_help_generator.h"
#include "support/run_cvdiag.h"

namespace ArgumentParserToolInfo {
namespace {

using completion_test::readSourceFile;
using nlohmann::json;

std::string golden(const std::string& name) { return readSourceFile("tests/argument_parser/dump/golden/" + name); }

// Every key and kind text of the format, read and written again: what the
// reader drops or the writer misnames differs from the golden description.
// The pretty text has its keys sorted in every object and absent values
// left out, never null.
TEST(ToolInfo, ReadsAndWritesEveryKeyAsTheGoldenTexts) {
  const json full = json::parse(golden("tool_info_full.json"));
  EXPECT_EQ(json::parse(renderedJSON(full.get<ToolInfoV0>())), full);
  EXPECT_EQ(full.get<ToolInfoHeader>(), ToolInfoHeader{0});
  const std::string pretty = golden("tool_info_pretty.json");
  EXPECT_EQ(renderedJSON(json::parse(pretty).get<ToolInfoV0>()), pretty);
}

TEST(ToolInfo, RefusesUnknownKindsMissingKeysAndTextThatIsNotUTF8) {
  EXPECT_THROW(json::parse(R"({"kind": "medium", "name": "x"})").get<NameInfoV0>(), json::exception);
  EXPECT_THROW(json::parse(R"({"kind": "switch", "shouldDisplay": true, "isOptional": true, "isRepeating": false})")
                   .get<ArgumentInfoV0>(),
               json::exception);
  EXPECT_THROW(json::parse(R"({"abstract": "no name"})").get<CommandInfoV0>(), json::exception);
  ToolInfoV0 tool;
  tool.command.commandName = "bad\xff";
  EXPECT_EQ(renderedJSON(tool), "");
}

// The repo tree carries hidden and private arguments, a merged inverse pair,
// a hidden subcommand and a default subcommand; the plug-in has a pseudo
// parent that leads the superCommands of its subcommands but not its own,
// and a default subcommand without a declared name, so no key for it.
TEST(DumpHelp, WholeTreesMatchTheGoldenDescriptions) {
  for (auto root : {ArgumentParser::typeOf<completion_test::Repo>(), ArgumentParser::typeOf<completion_test::Plugin>()}) {
    const std::string name = root->commandName();
    EXPECT_EQ(json::parse(ArgumentParser::DumpHelpGenerator({root}).rendered()), json::parse(golden(name + ".json")))
        << name;
  }
  // The built CVDiag: each inverse pair as one argument, help last, and one
  // line feed behind the text.
  const auto run = cvdiag_test::runCVDiag({"--experimental-dump-help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  ASSERT_TRUE(json::accept(run.out)) << run.out;
  EXPECT_EQ(json::parse(run.out), json::parse(golden("CVDiag.json")));
  EXPECT_TRUE(run.out.ends_with("}\n"));
}

}  // namespace
}  // namespace ArgumentParserToolInfo
