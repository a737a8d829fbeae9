#pragma once
// Runs the built CVDiag (or another program) as a child process and captures
// what it wrote on each stream and how it ended.

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace cvdiag_test {

struct RunResult {
  std::string out;   // standard output
  std::string err;   // standard error
  int status = -1;   // exit status; 128 + signal number when killed by a signal
  long peakResidentKilobytes = 0;  // the child's largest resident set (with the children it reaped)
};

// Runs CVDIAG_EXECUTABLE with the arguments. The child gets the test's own
// environment without COLUMNS and LINES, with `environment` added (entries
// replace those of the same name; an empty value sets the variable empty).
// Its standard output is a pipe, so the terminal width is 80 unless COLUMNS
// is given.
RunResult runCVDiag(const std::vector<std::string>& arguments,
                    const std::map<std::string, std::string>& environment = {});

// The whole content of a host file, or empty text if it cannot be read.
std::string readFile(const std::filesystem::path& path);

// A report with what changes from run to run masked: the source revision of
// the version line becomes "<rev>", and the hash column of the registry dump
// "<hash>" (a blob's hash is seeded per process).
std::string withoutVolatileParts(const std::string& report);

// The same for any executable.
RunResult runProgram(const std::string& executable, const std::vector<std::string>& arguments,
                     const std::map<std::string, std::string>& environment = {});

}  // namespace cvdiag_test
