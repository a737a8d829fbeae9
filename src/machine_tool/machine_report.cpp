#include "machine_tool/machine_report.h"

#include <fstream>
#include <iostream>
#include <sstream>
#include <variant>

#include <nlohmann/json.hpp>

#include "app/bundle_info.h"
#include "platform/machine/machine_platform.h"
#include "app/report_context.h"
#include "registry/cv_disk_manager.h"
#include "report_page/all_diagnostics_text.h"
#include "report_page/report_page.h"
#include "settings/settings_manager.h"

namespace fs = std::filesystem;

namespace machine_tool {

namespace {

std::optional<std::vector<std::string>> lines(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return std::nullopt;
  std::vector<std::string> result;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty()) result.push_back(line);
  }
  return result;
}

}  // namespace

RecordingFacts readRecordingFacts(const fs::path& folder) {
  RecordingFacts facts;
  std::error_code ec;
  const fs::path absolute = fs::weakly_canonical(fs::absolute(folder, ec), ec);
  facts.machineName = (absolute.has_filename() ? absolute : absolute.parent_path()).filename().string();
  if (auto recording = lines(folder / "recording.txt")) {
    for (const auto& line : *recording)
      if (line.rfind("recorded ", 0) == 0) facts.recorded = line.substr(9);
  }
  facts.notRecorded = lines(folder / "manifest.txt");
  // An imported recording keeps both in machine.json.
  std::ifstream json(folder / "machine.json", std::ios::binary);
  const auto document = nlohmann::json::parse(json, nullptr, false);
  if (!document.is_object() || !document.contains("recording") || !document["recording"].is_object()) return facts;
  const auto& recording = document["recording"];
  if (!facts.recorded && recording.contains("recorded") && recording["recorded"].is_string())
    facts.recorded = recording["recorded"].get<std::string>();
  if (!facts.notRecorded && recording.contains("lacked") && recording["lacked"].is_array()) {
    facts.notRecorded.emplace();
    for (const auto& line : recording["lacked"])
      if (line.is_string()) facts.notRecorded->push_back(line.get<std::string>());
  }
  return facts;
}

std::optional<std::string> writeMachineReport(const fs::path& folder, const std::string& output) {
  auto loaded = platform::machine::loadMachine(folder);
  if (auto* error = std::get_if<std::string>(&loaded)) return *error;
  platform::install(platform::machine::makeMachinePlatform(
      std::get<std::shared_ptr<const platform::machine::Machine>>(loaded), cvdiagInfoDictionary()));
  auto facts = readRecordingFacts(folder);
  const fs::path file = output.empty() ? fs::path(facts.machineName + ".html") : fs::path(output);

  // The text report runs first, as CVDiag would, and the page's model is
  // read in the same context after it, so the media are walked and the
  // settings references resolved once for both.
  std::ostringstream text;
  ReportContext context(text, CVDiskManager::sharedInstance());
  writeAllDiagnostics(context);
  auto model = gatherReportPageModel(context, std::move(facts), text.str());
  if (output == "-") {
    writeReportPage(model, std::cout);
    std::cout.flush();
    return std::cout ? std::nullopt : std::optional<std::string>("cannot write to standard output");
  }
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  if (out) writeReportPage(model, out);
  out.close();
  if (!out) return file.string() + ": cannot write the page";
  return std::nullopt;
}

}  // namespace machine_tool
