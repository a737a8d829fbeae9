#pragma once
// Checking and summarising a machine folder.

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace machine_tool {

// Every fault of the folder, one line each: the file, the key in it, and what
// is wrong ("machine.json: media[2].da.DAMediaSize: expected a number").
// machine.json is read by the same loader as CVDiag's; the property lists it
// points to (diskutil answers, preferences and bookmarks, settings
// documents, SystemVersion.plist) by the same guarded reader.
std::vector<std::string> checkMachineFolder(const std::filesystem::path& folder);

// A short summary: disks, volumes, registry entries, settings documents.
// Nothing when it printed; otherwise why the folder does not load.
std::optional<std::string> describeMachineFolder(const std::filesystem::path& folder, std::ostream& out);

}  // namespace machine_tool
