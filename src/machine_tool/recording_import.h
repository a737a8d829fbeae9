#pragma once
// Turns a recording made by cvdiag-record into a machine folder.

#include <filesystem>
#include <string>
#include <variant>
#include <vector>

namespace machine_tool {

// Reads the recording (its unpacked folder, or the .tar.gz archive, which is
// unpacked with the system's tar into a temporary folder) and writes the
// machine folder `folder`, which must not exist yet or be empty. Gives the
// list of what could not be derived, one line each, or the one-line reason
// why nothing was written.
std::variant<std::vector<std::string>, std::string> importRecording(const std::filesystem::path& recording,
                                                                   const std::filesystem::path& folder);

}  // namespace machine_tool
