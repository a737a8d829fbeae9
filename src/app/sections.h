#pragma once
// The report sections that `run` calls, in their fixed order. Each takes the
// run's context (app/report_context.h), writes its text through it, and
// reports its own failures in its own words.

#include <optional>
#include <string>

#include "app/report_context.h"

struct CVDiag;

// "Corvane Diagnostics version: …" and the empty line behind it.
void versionLine(ReportContext& context);
// The macOS text of the volume mounted at "/", for the version line.
std::optional<std::string> rootOperatingSystemText(const VolumeContext& volumes);
// Every attached disk object, one line each.
void catalogueReport(ReportContext& context);
// The table of the known-volume registry.
void registryDump(ReportContext& context);
// Volumes that stand under more than one GUID.
void registryDuplicates(ReportContext& context);
// "Resolvable GUIDs for local disks": each local disk the registry knows,
// with its GUID; never registers. Ends the settings consistency report.
void resolvableGUIDsForLocalDisks(ReportContext& context);
// Which settings references resolve; prunes orphans when the command asks.
void settingsConsistencyReport(ReportContext& context, const CVDiag& command);
// Local volumes that share a volume UUID.
void duplicateUUIDReport(ReportContext& context);
// What diskutil reports beside the tool's own volume objects.
void diskutilEntityReport(ReportContext& context);
