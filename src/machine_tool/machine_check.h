#pragma once
// Checking and summarising a machine folder.

#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace machine_tool {

// What check finds. A fault is a damaged folder: one line each, the file,
// the key in it, and what is wrong ("machine.json: media[2].da.DAMediaSize:
// expected a number"). A note is an answer the recorded Mac did not have (a
// command it answered with an error or did not know, a bookmark it could not
// resolve): the folder replays that as the Mac gave it.
struct CheckFindings {
  std::vector<std::string> faults;
  std::vector<std::string> notes;
};

// machine.json is read by the same loader as CVDiag's; the property lists it
// points to (diskutil answers, preferences and bookmarks, settings
// documents, SystemVersion.plist) by the same guarded reader.
CheckFindings checkMachineFolder(const std::filesystem::path& folder);

// A short summary: disks, volumes, registry entries, settings documents.
// Nothing when it printed; otherwise why the folder does not load.
std::optional<std::string> describeMachineFolder(const std::filesystem::path& folder, std::ostream& out);

}  // namespace machine_tool
