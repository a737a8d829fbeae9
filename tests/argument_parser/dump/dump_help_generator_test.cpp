#include "argument_parser/dump/dump_help_generator.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "argument_parser/completions/shell_runner.h"
#include "argument_parser/completions/completion_test_commands.h"

namespace completion_test {
namespace {

using ArgumentParser::typeOf;
using nlohmann::json;

// The repo tree carries hidden and private arguments, a merged inverse pair,
// a hidden subcommand and a default subcommand; the plug-in has a pseudo parent
// that leads the superCommands of its subcommands but not its own, and a
// default subcommand without a declared name, so no key for it.
TEST(DumpHelp, TheWholeTreeMatchesTheGoldenDescription) {
  for (auto root : {typeOf<Repo>(), typeOf<Plugin>()}) {
    const std::string name = root->commandName();
    const std::string golden = readSourceFile("tests/argument_parser/dump/golden/" + name + ".json");
    ASSERT_TRUE(json::accept(golden)) << name;
    EXPECT_EQ(json::parse(ArgumentParser::DumpHelpGenerator({root}).rendered()), json::parse(golden)) << name;
  }
}

}  // namespace
}  // namespace completion_test
