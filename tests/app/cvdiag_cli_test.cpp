// The built CVDiag on its command line: streams, texts and exit statuses,
// and that none of them depends on the machine folder unless a report runs.
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>

#include "support/machine_builder.h"
#include "support/run_cvdiag.h"

namespace {

using cvdiag_test::runCVDiag;
using Environment = std::map<std::string, std::string>;

std::string golden(const std::string& name) {
  return cvdiag_test::readFile(std::string(CVDIAG_SOURCE_DIR) + "/tests/app/golden/" + name);
}

TEST(CVDiagCommandLine, NoFlagAndPruneAlonePrintNothing) {
  for (const auto& arguments : {std::vector<std::string>{}, std::vector<std::string>{"--prune-orphans"}}) {
    auto result = runCVDiag(arguments);
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_EQ(result.status, 0);
  }
}

TEST(CVDiagCommandLine, HelpOnStandardOutputAtEachWidth) {
  const struct {
    std::vector<std::string> arguments;
    Environment environment;
    const char* golden;
  } cases[] = {
      {{"--help"}, {}, "help-80.txt"},
      {{"-h"}, {}, "help-80.txt"},
      // The help request is found before the leftovers are reported.
      {{"--version", "--help", "--bad"}, {}, "help-80.txt"},
      {{"-h"}, {{"COLUMNS", "10"}}, "help-10.txt"},
      {{"--help"}, {{"COLUMNS", "120"}}, "help-120.txt"},
      // Not a decimal integer: the width falls back to 80.
      {{"--help"}, {{"COLUMNS", "+-120"}, {"LINES", "24"}}, "help-80.txt"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments.front() + " " + c.golden);
    auto result = runCVDiag(c.arguments, c.environment);
    EXPECT_EQ(result.out, golden(c.golden));
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.status, 0);
  }
}

// Every refused command line ("$ " and its words in the transcript): nothing
// on standard output, the error and the usage hint on standard error, status 64.
TEST(CVDiagCommandLine, RefusedCommandLines) {
  std::istringstream transcript(golden("refused.transcript"));
  std::string actual;
  for (std::string line; std::getline(transcript, line);) {
    if (!line.starts_with("$ ")) continue;
    std::istringstream words(line.substr(2));
    auto result = runCVDiag({std::istream_iterator<std::string>(words), std::istream_iterator<std::string>()});
    EXPECT_EQ(result.out, "") << line;
    EXPECT_EQ(result.status, 64) << line;
    actual += line + "\n" + result.err;
  }
  EXPECT_EQ(actual, golden("refused.transcript"));
}

// The command line is read before the machine: help, usage errors and the
// completion scripts come out the same on a folder that does not load, and
// only a run that would read the machine fails with the folder's one line.
TEST(CVDiagCommandLine, OnlyARunReadsTheMachineFolder) {
  testsupport::MachineBuilder machine;
  machine.jsonText("{");  // a machine.json that does not load
  const std::string folder = machine.folder().string();
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {"--help"}, {"-h"}, {"--bad"}, {"--generate-completion-script", "bash"}, {"--version", "x"}}) {
    SCOPED_TRACE(arguments.front());
    auto plain = runCVDiag(arguments);
    auto broken = runCVDiag(arguments, {{"CVDIAG_MACHINE", folder}});
    EXPECT_EQ(broken.out, plain.out);
    EXPECT_EQ(broken.err, plain.err);
    EXPECT_EQ(broken.status, plain.status);
  }
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{{}, {"--version"}}) {
    auto report = runCVDiag(arguments, {{"CVDIAG_MACHINE", folder}});
    EXPECT_EQ(report.out, "");
    EXPECT_TRUE(report.err.starts_with("CVDiag: " + folder + "/machine.json: ")) << report.err;
    EXPECT_EQ(std::count(report.err.begin(), report.err.end(), '\n'), 1) << report.err;
    EXPECT_EQ(report.status, 1);
  }
}

// A run reads what its sections need. The version line reads the root
// volume's media object alone and starts no registry, so neither a registry
// value that the registry's start would replace nor a broken object of
// another disk touches it; a section that reads the registry does replace
// the value, and one that reads the media ends on the broken object with the
// folder's one line before it prints anything.
TEST(CVDiagCommandLine, TheVersionLineReadsOnlyWhatItNeeds) {
  testsupport::MachineBuilder machine("volumes_catalogue");
  const std::string preferences = "/Users/ada/Library/Preferences/com.tamarlin.Corvane.plist";
  const std::string notADictionary =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
      "\t<key>CVDiskKnownVolumes</key>\n\t<string>not a dictionary</string>\n</dict>\n</plist>\n";
  machine.file(preferences, notADictionary);
  const Environment environment{{"CVDIAG_MACHINE", machine.folder().string()}};

  auto version = runCVDiag({"--version"}, environment);
  EXPECT_TRUE(version.out.starts_with("Corvane Diagnostics version: 3.12 (137-")) << version.out;
  EXPECT_TRUE(version.out.ends_with("), macOS 14.2.1 (23C71)\n\n")) << version.out;
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(machine.text(preferences), notADictionary);
  EXPECT_EQ(runCVDiag({"--volume-registry"}, environment).status, 0);
  EXPECT_NE(machine.text(preferences), notADictionary);

  auto document = nlohmann::json::parse(cvdiag_test::readFile((machine.folder() / "machine.json").string()));
  document["media"][14]["io"]["x"] = {{"$data", "abc"}};
  machine.json(document);
  EXPECT_EQ(runCVDiag({"--version"}, environment).out, version.out);
  auto catalogue = runCVDiag({"--version", "--local-volumes-and-disks"}, environment);
  EXPECT_EQ(catalogue.out, "");
  EXPECT_EQ(catalogue.err, "CVDiag: " + machine.folder().string() + "/machine.json: media[14].io.x.$data: expected base64 text\n");
  EXPECT_EQ(catalogue.status, 1);
}

}  // namespace
