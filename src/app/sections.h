#pragma once
// The report sections that `run` calls, in their fixed order. Each writes its
// text to `out` and reports its own failures in its own words.

#include <optional>
#include <ostream>
#include <string>

struct CVDiag;
class CVDiskManager;

// "Corvane Diagnostics version: …" and the empty line behind it.
void versionLine(std::ostream& out);
// The macOS text of the volume mounted at "/", for the version line.
std::optional<std::string> rootOperatingSystemText();
// Every attached disk object, one line each.
void catalogueReport(std::ostream& out);
// The table of the known-volume registry.
void registryDump(std::ostream& out);
// Volumes that stand under more than one GUID.
void registryDuplicates(std::ostream& out);
// "Resolvable GUIDs for local disks": each local disk the registry knows,
// with its GUID; never registers. Ends the settings consistency report.
void resolvableGUIDsForLocalDisks(std::ostream& out);
void resolvableGUIDsForLocalDisks(std::ostream& out, CVDiskManager& manager);
// Which settings references resolve; prunes orphans when the command asks.
void settingsConsistencyReport(std::ostream& out, const CVDiag& command);
// Local volumes that share a volume UUID.
void duplicateUUIDReport(std::ostream& out);
// What diskutil reports beside the tool's own volume objects.
void diskutilEntityReport(std::ostream& out);
