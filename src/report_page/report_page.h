#pragma once
// One self-contained HTML page of a Mac: the disk map with the registry GUIDs
// of each volume, the registry entries of volumes that are not attached, the
// settings documents with the volume each reference resolves to, the entries
// that pruning would remove, and the whole text report at the end. Nothing in
// it is fetched: the style, the pictures (inline SVG) and the little script
// are all inside, and a content security policy forbids any load.

#include <ostream>

#include "report_page/report_page_model.h"

// Parts longer than these are folded (closed <details>) so that a large Mac's
// page stays quick to read; the reference map is drawn only up to its limit.
inline constexpr std::size_t kFoldRowsAbove = 60;
inline constexpr std::size_t kFoldDiskVolumesAbove = 24;
inline constexpr std::size_t kDrawnDocumentsAtMost = 40;

void writeReportPage(const ReportPageModel& model, std::ostream& out);

// The page's style sheet and script (report_page_style.cpp).
extern const char* const kReportPageStyle;
extern const char* const kReportPageScript;
