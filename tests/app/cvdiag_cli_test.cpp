// The built CVDiag on its command line: streams, texts and exit statuses.
#include <gtest/gtest.h>

#include <regex>

#include "bundle_info.inc"
#include "support/run_cvdiag.h"

namespace {

using cvdiag_test::runCVDiag;

const std::string usageAndSee =
    "Usage: CVDiag <options>\n"
    "  See 'CVDiag --help' for more information.\n";

const std::string helpAt80 =
    "OVERVIEW: Tamarlin diagnostics tool for Corvane\n"
    "\n"
    "USAGE: CVDiag <options>\n"
    "\n"
    "OPTIONS:\n"
    "  --all-diagnostics/--no-all-diagnostics\n"
    "                          Run all diagnostics\n"
    "  --local-volumes-and-disks/--no-local-volumes-and-disks\n"
    "                          Show all local volumes and disks currently attached\n"
    "  --volume-registry/--no-volume-registry\n"
    "                          Show all the volumes currently in Corvane's volume\n"
    "                          registry\n"
    "  --duplicate-volume-entries/--no-duplicate-volume-entries\n"
    "                          Show volumes associated with more than one GUID\n"
    "  --settings-volumes/--no-settings-volumes\n"
    "                          Show volumes referenced by the Corvane settings\n"
    "                          documents\n"
    "  --duplicate-volume-UUIDs/--no-duplicate-volume-UUIDs\n"
    "                          Show all volumes with duplicated UUIDs\n"
    "  --disk-utility-entities/--no-disk-utility-entities\n"
    "                          Show Disk Utility's local disks and volumes\n"
    "  --version               Display the version\n"
    "  --prune-orphans         Prune orphaned GUIDs from Volume Registry\n"
    "  -h, --help              Show help information.\n"
    "\n";

// The version line of this build; the macOS text depends on the machine.
const std::regex versionLine(std::string("Corvane Diagnostics version: 3\\.12 \\(137-") + CVDIAG_SOURCE_VERSION +
                             "\\), macOS [^\n]*\n\n");

TEST(CVDiagCommandLine, NoFlagAndPruneAlonePrintNothing) {
  for (const auto& arguments : {std::vector<std::string>{}, std::vector<std::string>{"--prune-orphans"}}) {
    auto result = runCVDiag(arguments);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(result.status, 0);
  }
}

TEST(CVDiagCommandLine, VersionPrintsTheLineAndAnEmptyLine) {
  auto result = runCVDiag({"--version"});
  EXPECT_TRUE(std::regex_match(result.out, versionLine)) << result.out;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 0);
  // Later sections follow it; the line always comes first.
  auto all = runCVDiag({"--disk-utility-entities", "--all-diagnostics"});
  std::smatch match;
  EXPECT_TRUE(std::regex_search(all.out, match, versionLine, std::regex_constants::match_continuous)) << all.out;
  EXPECT_EQ(all.status, 0);
}

TEST(CVDiagCommandLine, HelpOnStandardOutputAtEachWidth) {
  for (const char* flag : {"--help", "-h"}) {
    auto result = runCVDiag({flag});
    EXPECT_EQ(result.out, helpAt80);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
  }
  EXPECT_EQ(runCVDiag({"--help"}, {{"COLUMNS", "80"}, {"LINES", "24"}}).out, helpAt80);
  // The help request is found before the leftovers are reported.
  EXPECT_EQ(runCVDiag({"--version", "--help", "--bad"}).out, helpAt80);

  EXPECT_EQ(runCVDiag({"-h"}, {{"COLUMNS", "10"}}).out,
            "OVERVIEW:\n"
            "Tamarlin\n"
            "diagnostics\n"
            "tool for\n"
            "Corvane\n"
            "\n"
            "USAGE: CVDiag <options>\n"
            "\n"
            "OPTIONS:\n"
            "  --all-diagnostics/--no-all-diagnostics\n"
            "\n"
            "  --local-volumes-and-disks/--no-local-volumes-and-disks\n"
            "\n"
            "  --volume-registry/--no-volume-registry\n"
            "\n"
            "  --duplicate-volume-entries/--no-duplicate-volume-entries\n"
            "\n"
            "  --settings-volumes/--no-settings-volumes\n"
            "\n"
            "  --duplicate-volume-UUIDs/--no-duplicate-volume-UUIDs\n"
            "\n"
            "  --disk-utility-entities/--no-disk-utility-entities\n"
            "\n"
            "  --version\n"
            "  --prune-orphans\n"
            "  -h, --help\n"
            "\n");

  auto wide = runCVDiag({"--help"}, {{"COLUMNS", "120"}});
  EXPECT_NE(wide.out.find("                          Show all the volumes currently in Corvane's volume registry\n"),
            std::string::npos)
      << wide.out;
}

// Every refused command line: nothing on standard output, the error and the
// usage hint on standard error, status 64.
TEST(CVDiagCommandLine, RefusedCommandLines) {
  const struct {
    std::vector<std::string> arguments;
    std::string message;
  } cases[] = {
      {{"--bad"}, "Unknown option '--bad'"},
      {{"-x"}, "Unknown option '-x'"},
      {{"--all-diagnostic"}, "Unknown option '--all-diagnostic'. Did you mean '--all-diagnostics'?"},
      {{"--all-diagnostisc"}, "Unknown option '--all-diagnostisc'. Did you mean '--all-diagnostics'?"},
      {{"--volume-registy"}, "Unknown option '--volume-registy'. Did you mean '--volume-registry'?"},
      {{"-version"}, "Unknown option '-version'. Did you mean '--version'?"},
      {{"--no-version"}, "Unknown option '--no-version'. Did you mean '--version'?"},
      {{"--no-prune-orphans"}, "Unknown option '--no-prune-orphans'. Did you mean '--prune-orphans'?"},
      {{"--version=1"}, "The option '--version' does not take any value, but '1' was specified."},
      {{"--settings-volumes=yes"}, "The option '--settings-volumes' does not take any value, but 'yes' was specified."},
      {{"help"}, "Unexpected argument 'help'"},
      {{"--version", "a", "b"}, "2 unexpected arguments: 'a', 'b'"},
      {{"--", "--version"}, "Unexpected argument '--version'"},
      {{"---"}, "Invalid option: ---"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments.front());
    auto result = runCVDiag(c.arguments);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "Error: " + c.message + "\n" + usageAndSee);
    EXPECT_EQ(result.status, 64);
  }
}

}  // namespace
