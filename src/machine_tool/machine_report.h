#pragma once
// The report page of a machine folder: the folder becomes the platform, the
// tool's own report runs on it, and the page is written.

#include <filesystem>
#include <optional>
#include <string>

#include "report_page/report_page_model.h"

namespace machine_tool {

// What the folder keeps of its recording beside machine.json: the "recorded"
// line of recording.txt and the lines of manifest.txt, when they are there.
RecordingFacts readRecordingFacts(const std::filesystem::path& folder);

// Writes the page of `folder` to `output`: a file, "-" for standard output,
// or, when empty, "<folder name>.html" in the current folder. Nothing when
// written; otherwise the one-line reason.
std::optional<std::string> writeMachineReport(const std::filesystem::path& folder, const std::string& output);

}  // namespace machine_tool
