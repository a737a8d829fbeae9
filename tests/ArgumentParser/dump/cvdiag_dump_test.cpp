// The built CVDiag describing itself with --experimental-dump-help.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/run_cvdiag.h"

namespace completion_test {
namespace {

using nlohmann::json;

json flag(const std::string& name, const std::string& abstract, bool hasInverse) {
  json names = json::array({{{"kind", "long"}, {"name", name}}});
  if (hasInverse) names.push_back({{"kind", "long"}, {"name", "no-" + name}});
  return {{"kind", "flag"},
          {"shouldDisplay", true},
          {"isOptional", true},
          {"isRepeating", false},
          {"names", names},
          {"preferredName", {{"kind", "long"}, {"name", name}}},
          {"valueName", name},
          {"abstract", abstract}};
}

TEST(CVDiagDump, DescribesTheNineFlagsWithEachInversePairAsOneArgumentAndHelpLast) {
  json arguments = json::array({
      flag("all-diagnostics", "Run all diagnostics", true),
      flag("local-volumes-and-disks", "Show all local volumes and disks currently attached", true),
      flag("volume-registry", "Show all the volumes currently in Corvane's volume registry", true),
      flag("duplicate-volume-entries", "Show volumes associated with more than one GUID", true),
      flag("settings-volumes", "Show volumes referenced by the Corvane settings documents", true),
      flag("duplicate-volume-UUIDs", "Show all volumes with duplicated UUIDs", true),
      flag("disk-utility-entities", "Show Disk Utility's local disks and volumes", true),
      flag("version", "Display the version", false),
      flag("prune-orphans", "Prune orphaned GUIDs from Volume Registry", false),
  });
  json help = flag("help", "Show help information.", false);
  help["names"] = json::parse(R"([{"kind": "short", "name": "h"}, {"kind": "long", "name": "help"}])");
  arguments.push_back(help);

  const json expected = {
      {"serializationVersion", 0},
      {"command",
       {{"commandName", "CVDiag"},
        {"abstract", "Tamarlin diagnostics tool for Corvane"},
        {"arguments", arguments}}}};

  const auto run = cvdiag_test::runCVDiag({"--experimental-dump-help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  ASSERT_TRUE(json::accept(run.out)) << run.out;
  EXPECT_EQ(json::parse(run.out), expected);
  // One line feed behind the JSON text, as behind every help text.
  ASSERT_FALSE(run.out.empty());
  EXPECT_EQ(run.out.substr(run.out.size() - 2), "}\n");
}

}  // namespace
}  // namespace completion_test
