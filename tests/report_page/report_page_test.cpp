// The report page of `cvdiag-machine report`, read back with python's HTML
// parser and held against CVDiag's own text report of the same folder: every
// disk object with its mount state, every registry GUID, the duplicates, every
// document reference with the report's words for its outcome, the orphans,
// and the embedded report itself. Then a real browser renders the page.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

#include "support/machine_builder.h"
#include "support/run_cvdiag.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
const fs::path kHere = fs::path(CVDIAG_SOURCE_DIR) / "tests" / "report_page";

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

// The report with the registry table's hashes masked, a blob's hash being
// seeded per process, and the source revision, which a partial build can
// leave older in one of the two programs.
std::string withoutHashes(const std::string& report) {
  static const std::regex row(R"(^(\S+ .* (?:YES|NO) +)[0-9A-F]+( [0-9]+ bytes)$)");
  std::string out;
  for (const auto& line : lines(report)) out += std::regex_replace(line, row, "$1<hash>$2") + "\n";
  return cvdiag_test::withoutVolatileParts(out);
}

// What the text report says, read from its text: the oracle of the page.
struct ReportFacts {
  std::map<std::string, std::string> states;  // BSD name to its mount state
  std::set<std::string> guids, duplicateUUIDs;
  std::vector<std::string> orphans;
  std::vector<std::pair<std::string, std::vector<std::string>>> documents;  // name, source and target text
  std::map<std::string, std::string> outcome;  // reference text to case, where it is not discrete

  explicit ReportFacts(const std::string& report) {
    const std::regex catalogue(R"(^Mounted: (YES|NO ) Mountable: (YES|NO ) .* device: (\S+) .*)");
    const std::regex reference(R"(^    Settings volume reference (GUID: .*”)( name mismatch!| not resolvable.*)?$)");
    std::string section, group;
    bool table = false;
    std::smatch m;
    for (const auto& line : lines(report)) {
      if (line.rfind("------------------------------------ ", 0) == 0) {
        table = true;
        continue;
      }
      table = table && !line.empty();
      if (table) guids.insert(line.substr(0, line.find(' ')));
      if (!line.empty() && line[0] != ' ' && line.rfind("Error ", 0) != 0) section = line;
      if (std::regex_match(line, m, catalogue))
        states[m[3]] = m[1] == "YES" ? "mounted" : m[2] == "YES" ? "not-mounted" : "not-mountable";
      else if (line.rfind("  Volume ", 0) == 0 && section.rfind("Duplicate entries", 0) == 0) duplicateUUIDs.insert(line.substr(9, 36));
      else if (line.rfind("  GUID: ", 0) == 0 && section.rfind("Potentially orphaned", 0) == 0) orphans.push_back(line.substr(2));
      else if (section.rfind("Collecting volume references", 0) == 0 && line.find(", version: ") != std::string::npos)
        documents.push_back({line.substr(2, line.find(", version: ") - 2), {}});
      else if (line.rfind("   (source) ", 0) == 0 || line.rfind("   (target) ", 0) == 0) documents.back().second.push_back(line.substr(12));
      if (line.find("WARN: The following Settings") != std::string::npos) group = "knownVolumeMatchesName";
      if (line.find("WARN: The following GUID(s)") != std::string::npos) group = "unknownVolumeGUID";
      if (line.find("INFO: The following volume") != std::string::npos) group = "unresolvable";
      if (std::regex_match(line, m, reference)) outcome[m[1]] = group;
    }
  }
};

struct Case {
  const char* name;
  std::function<void(testsupport::MachineBuilder&)> make;
};

void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

void copyOver(const fs::path& from, const fs::path& to) {
  fs::copy(from, to, fs::copy_options::recursive | fs::copy_options::overwrite_existing | fs::copy_options::copy_symlinks);
}

class ReportPageTest : public ::testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    GetParam().make(machine);
    page = machine.hostPath("/private/page.html");
    fs::create_directories(page.parent_path());
    auto written = cvdiag_test::runProgram(CVDIAG_MACHINE_TOOL, {"report", machine.folder().string(), "-o", page.string()});
    ASSERT_EQ(written.status, 0) << written.err;
    EXPECT_EQ(written.out + written.err, "");
    report = cvdiag_test::runCVDiag({"--all-diagnostics"}, {{"CVDIAG_MACHINE", machine.folder().string()}}).out;
    auto parsed = cvdiag_test::runProgram("/usr/bin/python3", {(kHere / "page_facts.py").string(), page.string()});
    ASSERT_EQ(parsed.status, 0) << parsed.err;
    facts = json::parse(parsed.out);
  }
  testsupport::MachineBuilder machine;
  fs::path page;
  std::string report;
  json facts;
};

}  // namespace

TEST_P(ReportPageTest, ShowsWhatTheTextReportSays) {
  const ReportFacts expected(report);
  ASSERT_FALSE(expected.states.empty());
  EXPECT_EQ(withoutHashes(facts["report"]), withoutHashes(report));
  EXPECT_EQ(facts["leaving"], json::array()) << "the page fetches from elsewhere";

  std::map<std::string, std::string> states;
  for (const auto& v : facts["volumes"]) states[v["bsd"]] = v["state"];
  EXPECT_EQ(states, expected.states);

  std::set<std::string> guids = facts["volume_guids"], detached = facts["detached"];
  guids.insert(detached.begin(), detached.end());
  EXPECT_EQ(guids, expected.guids);
  EXPECT_EQ(std::set<std::string>(facts["duplicate_uuids"]), expected.duplicateUUIDs);
  std::vector<std::string> orphans;
  for (const std::string guid : facts["orphans"])
    for (const auto& text : expected.orphans)
      if (text.find(guid) != std::string::npos) orphans.push_back(text);
  EXPECT_EQ(orphans, expected.orphans);

  // Each document with its references, and each reference with the outcome
  // and the words the text report gives it.
  const std::map<std::string, std::string> words = {{"knownVolumeMatchesIdentity", "discretely-resolvable"},
                                                    {"knownVolumeMatchesName", "resolved by name"},
                                                    {"unknownVolumeGUID", "GUID not in registry"},
                                                    {"unresolvable", "not resolvable - may not be attached"}};
  std::map<std::string, std::vector<std::string>> shown;
  for (const auto& doc : facts["documents"]) {
    for (const auto& ref : doc["refs"]) {
      if (!ref.contains("guid")) {
        shown[doc["name"]].push_back("");
        continue;
      }
      const std::string text = "GUID: " + ref["guid"].get<std::string>() + ", Name: \u201C" + ref["name"].get<std::string>() + "\u201D";
      shown[doc["name"]].push_back(text);
      const auto found = expected.outcome.find(text);
      const std::string outcome = found == expected.outcome.end() ? "knownVolumeMatchesIdentity" : found->second;
      EXPECT_EQ(ref["resolution"], outcome) << text;
      EXPECT_NE(ref["text"].get<std::string>().find(words.at(outcome)), std::string::npos) << text;
      EXPECT_NE(report.find(words.at(outcome)), std::string::npos) << "the report never says " << words.at(outcome);
    }
  }
  EXPECT_EQ(shown, (std::map<std::string, std::vector<std::string>>(expected.documents.begin(), expected.documents.end())));
}

INSTANTIATE_TEST_SUITE_P(
    Macs, ReportPageTest,
    ::testing::Values(Case{"Demo", [](auto& m) { copyOver(fs::path(CVDIAG_SOURCE_DIR) / "demo" / "machine", m.folder()); }},
                      Case{"DuplicatesRenamedAndUnresolvable",
                           [](auto& m) {
                             copyOver(fs::path(CVDIAG_TEST_MACHINES) / "settings", m.folder());
                             copyOver(fs::path(CVDIAG_TEST_MACHINES) / "settings_cases" / "all_groups", m.folder());
                           }}),
    [](const auto& info) { return std::string(info.param.name); });

// Chromium renders the demo Mac's page. The page logs nothing, so any console
// line is a fault: a script error, or a load that the page's security policy
// refused. A copy of the page that asks for an image from elsewhere shows
// that such a load is caught.
TEST(ReportPageBrowser, ChromiumRendersTheDemoPageWithoutConsoleMessages) {
  if (!fs::exists("/usr/bin/chromium")) GTEST_SKIP() << "chromium is not installed";
  testsupport::MachineBuilder machine;
  copyOver(fs::path(CVDIAG_SOURCE_DIR) / "demo" / "machine", machine.folder());
  const fs::path work = machine.hostPath("/private/page");
  fs::create_directories(work);
  auto written = cvdiag_test::runProgram(CVDIAG_MACHINE_TOOL, {"report", machine.folder().string(), "-o", (work / "page.html").string()});
  ASSERT_EQ(written.status, 0) << written.err;
  std::string html = cvdiag_test::readFile(work / "page.html");
  html.insert(html.find("<body>") + 6, "<img src=\"https://cvdiag.invalid/logo.png\" alt=\"\">");
  std::ofstream(work / "fetching.html") << html;

  auto render = [&](const std::string& name) {
    const fs::path profile = work / ("profile-" + name);
    auto run = cvdiag_test::runProgram(
        "/usr/bin/timeout",
        {"120", "/usr/bin/chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync",
         "--user-data-dir=" + profile.string(), "--enable-logging=stderr", "--v=0", "--window-size=1200,900",
         "--screenshot=" + (work / (name + ".png")).string(), "file://" + (work / (name + ".html")).string()});
    EXPECT_EQ(run.status, 0) << run.err;
    std::string console;
    for (const auto& line : lines(run.err))
      if (line.find(":CONSOLE") != std::string::npos) console += line + "\n";
    return console;
  };
  EXPECT_EQ(render("page"), "");
  auto picture = cvdiag_test::runProgram("/usr/bin/python3", {(kHere / "page_facts.py").string(), "--png", (work / "page.png").string()});
  std::istringstream measured(picture.out);
  std::size_t colours = 0;
  double offBackground = 0;
  ASSERT_TRUE(measured >> colours >> offBackground) << picture.err;
  EXPECT_GE(colours, 16u) << "a blank picture";
  EXPECT_GT(offBackground, 0.05) << "a blank picture";
  EXPECT_NE(render("fetching").find("cvdiag.invalid"), std::string::npos) << "a refused load went unnoticed";
}

// The header tells the recording's date and what it could not read, from the
// files the folder keeps beside machine.json, and says so when it has none.
TEST(ReportPageHeader, TellsWhatTheFolderKeepsOfItsRecording) {
  struct Row {
    std::map<std::string, std::string> files;
    std::string recorded, notRecorded;
  };
  const Row rows[] = {
      {{}, "not known: the folder names no recording date", "not known: the folder holds no manifest of its recording"},
      {{{"recording.txt", "format 1\nhome /Users/ada\nrecorded 2026-11-23T101500Z\n"}, {"manifest.txt", ""}},
       "2026-11-23T101500Z", "nothing: the recording read everything it looked for"},
      {{{"manifest.txt", "diskutil apfs listVolumeGroups: exit 1\r\n/Users/ada/x.plist: Operation not permitted\n"}},
       "not known: the folder names no recording date",
       "diskutil apfs listVolumeGroups: exit 1/Users/ada/x.plist: Operation not permitted"},
  };
  for (const auto& row : rows) {
    testsupport::MachineBuilder machine("settings");
    for (const auto& [name, content] : row.files) std::ofstream(machine.folder() / name) << content;
    auto written = cvdiag_test::runProgram(CVDIAG_MACHINE_TOOL, {"report", machine.folder().string(), "-o", "-"});
    ASSERT_EQ(written.status, 0) << written.err;
    const fs::path page = machine.hostPath("/page.html");
    std::ofstream(page) << written.out;
    auto parsed = cvdiag_test::runProgram("/usr/bin/python3", {(kHere / "page_facts.py").string(), page.string()});
    const auto facts = json::parse(parsed.out);
    EXPECT_EQ(facts["recorded"], row.recorded);
    EXPECT_EQ(facts["not-recorded"], row.notRecorded);
  }
  auto missing = cvdiag_test::runProgram(CVDIAG_MACHINE_TOOL, {"report", "/nonexistent/machine"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.out, "");
  EXPECT_EQ(std::count(missing.err.begin(), missing.err.end(), '\n'), 1) << missing.err;
}
