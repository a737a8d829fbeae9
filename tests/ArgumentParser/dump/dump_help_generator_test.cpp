#include "ArgumentParser/dump/dump_help_generator.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ArgumentParser/completions/test_commands.h"

namespace completion_test {
namespace {

using ArgumentParser::typeOf;
using nlohmann::json;

json dumped(const ArgumentParser::CommandStack& stack) {
  return json::parse(ArgumentParser::DumpHelpGenerator(stack).rendered());
}

// The flags that every command of a stack with a version gets.
const char* const kVersionAndHelp = R"(
  {"kind": "flag", "shouldDisplay": true, "isOptional": true, "isRepeating": false,
   "names": [{"kind": "long", "name": "version"}],
   "preferredName": {"kind": "long", "name": "version"},
   "valueName": "version", "abstract": "Show the version."},
  {"kind": "flag", "shouldDisplay": true, "isOptional": true, "isRepeating": false,
   "names": [{"kind": "short", "name": "h"}, {"kind": "long", "name": "help"}],
   "preferredName": {"kind": "long", "name": "help"},
   "valueName": "help", "abstract": "Show help information."})";

TEST(DumpHelp, TheWholeTreeWithHiddenArgumentsMergedPairsAndTheDefaultSubcommand) {
  const json expected = json::parse(std::string(R"({
    "serializationVersion": 0,
    "command": {
      "commandName": "repo",
      "abstract": "Keeps things in order.",
      "discussion": "Longer text.",
      "defaultSubcommand": "add",
      "arguments": [
        {"kind": "flag", "shouldDisplay": true, "isOptional": true, "isRepeating": false,
         "names": [{"kind": "short", "name": "v"}, {"kind": "long", "name": "verbose"}],
         "preferredName": {"kind": "long", "name": "verbose"},
         "valueName": "verbose", "abstract": "Talk more."},
        {"kind": "flag", "shouldDisplay": true, "isOptional": true, "isRepeating": false,
         "names": [{"kind": "long", "name": "color"}, {"kind": "long", "name": "no-color"}],
         "preferredName": {"kind": "long", "name": "color"},
         "valueName": "color", "defaultValue": "true", "abstract": "Don't [color] 'it'."},
        {"kind": "option", "shouldDisplay": true, "isOptional": true, "isRepeating": false,
         "names": [{"kind": "long", "name": "format"}],
         "preferredName": {"kind": "long", "name": "format"},
         "valueName": "format", "defaultValue": "text", "abstract": "Output format."},
        {"kind": "option", "shouldDisplay": true, "isOptional": true, "isRepeating": true,
         "names": [{"kind": "short", "name": "I"}, {"kind": "long", "name": "include"}],
         "preferredName": {"kind": "long", "name": "include"},
         "valueName": "include", "abstract": "Header to read."},
        {"kind": "option", "shouldDisplay": true, "isOptional": true, "isRepeating": false,
         "names": [{"kind": "longWithSingleDash", "name": "out"}],
         "preferredName": {"kind": "longWithSingleDash", "name": "out"},
         "valueName": "out", "abstract": "Where to write."},
        {"kind": "option", "shouldDisplay": false, "isOptional": true, "isRepeating": false,
         "names": [{"kind": "long", "name": "secret"}],
         "preferredName": {"kind": "long", "name": "secret"},
         "valueName": "secret", "abstract": "Hidden."},
        {"kind": "flag", "shouldDisplay": false, "isOptional": true, "isRepeating": false,
         "names": [{"kind": "long", "name": "internal"}],
         "preferredName": {"kind": "long", "name": "internal"},
         "valueName": "internal", "abstract": "Private."},
        )") + kVersionAndHelp + R"(
      ],
      "subcommands": [
        {"superCommands": ["repo"], "commandName": "add", "abstract": "Add a file.",
         "arguments": [
           {"kind": "positional", "shouldDisplay": true, "isOptional": false, "isRepeating": false,
            "valueName": "file", "abstract": "The file to add."},
           {"kind": "option", "shouldDisplay": true, "isOptional": true, "isRepeating": false,
            "names": [{"kind": "short", "name": "b"}, {"kind": "long", "name": "branch"}],
            "preferredName": {"kind": "long", "name": "branch"},
            "valueName": "branch", "abstract": "The branch."},
           {"kind": "option", "shouldDisplay": true, "isOptional": true, "isRepeating": false,
            "names": [{"kind": "long", "name": "tag"}],
            "preferredName": {"kind": "long", "name": "tag"},
            "valueName": "tag", "abstract": "The tag."},
           {"kind": "flag", "shouldDisplay": true, "isOptional": true, "isRepeating": false,
            "names": [{"kind": "long", "name": "dry-run"}],
            "preferredName": {"kind": "long", "name": "dry-run"},
            "valueName": "dry-run", "abstract": "Don't [do] it, just show."},
           )" + kVersionAndHelp + R"(
         ]},
        {"superCommands": ["repo"], "commandName": "remove-all", "abstract": "Remove what's listed.",
         "arguments": [
           {"kind": "positional", "shouldDisplay": true, "isOptional": true, "isRepeating": true,
            "valueName": "items", "abstract": "Items to remove."},
           {"kind": "flag", "shouldDisplay": true, "isOptional": true, "isRepeating": false,
            "names": [{"kind": "short", "name": "f"}, {"kind": "long", "name": "force"}],
            "preferredName": {"kind": "long", "name": "force"},
            "valueName": "force", "abstract": "Force it"},
           )" + kVersionAndHelp + R"(
         ]},
        {"superCommands": ["repo"], "commandName": "debug", "abstract": "Inspect.",
         "arguments": [
           {"kind": "flag", "shouldDisplay": true, "isOptional": true, "isRepeating": false,
            "names": [{"kind": "long", "name": "trace"}],
            "preferredName": {"kind": "long", "name": "trace"},
            "valueName": "trace", "abstract": "Trace."},
           )" + kVersionAndHelp + R"(
         ]}
      ]
    }
  })");
  EXPECT_EQ(dumped({typeOf<Repo>()}), expected);
}

TEST(DumpHelp, APseudoParentLeadsTheSuperCommandsOfSubcommandsButNotOfTheRoot) {
  // The default subcommand has no declared name, so there is no key for it.
  const json expected = json::parse(R"({
    "serializationVersion": 0,
    "command": {
      "commandName": "plug-in",
      "abstract": "Extends the host.",
      "arguments": [
        {"kind": "positional", "shouldDisplay": true, "isOptional": true, "isRepeating": false,
         "valueName": "target", "abstract": "What to act on."},
        {"kind": "flag", "shouldDisplay": true, "isOptional": true, "isRepeating": false,
         "names": [{"kind": "short", "name": "h"}, {"kind": "long", "name": "help"}],
         "preferredName": {"kind": "long", "name": "help"},
         "valueName": "help", "abstract": "Show help information."}
      ],
      "subcommands": [
        {"superCommands": ["host", "plug-in"], "commandName": "status", "abstract": "Show status.",
         "arguments": [
           {"kind": "flag", "shouldDisplay": true, "isOptional": true, "isRepeating": false,
            "names": [{"kind": "short", "name": "h"}, {"kind": "long", "name": "help"}],
            "preferredName": {"kind": "long", "name": "help"},
            "valueName": "help", "abstract": "Show help information."}
         ]}
      ]
    }
  })");
  EXPECT_EQ(dumped({typeOf<Plugin>()}), expected);
}

}  // namespace
}  // namespace completion_test
