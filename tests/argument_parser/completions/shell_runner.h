#pragma once
// Runs real shells on generated scripts for the completion tests.

#include <string>

namespace completion_test {

struct ShellRun {
  int status = -1;
  std::string output;  // standard output and standard error together
};

// A file of the given text under the test's temporary directory; gives its path.
std::string writeTemporaryFile(const std::string& name, const std::string& text);

// Runs `program -c script` with `argument` as $1 (bash, zsh) or $argv[1] (fish),
// in an empty working directory so that file completions find nothing.
ShellRun runShell(const std::string& program, const std::string& script,
                  const std::string& argument = "");

// COMPREPLY, one per line, after sourcing `scriptPath` and calling `function`
// with COMP_WORDS = `words` (an array literal such as `(repo --f)`), cursor last.
ShellRun bashCompletions(const std::string& scriptPath, const std::string& function,
                         const std::string& words);

// The line an interactive zsh leaves after `typed` and one TAB, with `script`
// on its fpath as the completion function `functionName`.
ShellRun zshCompletedLine(const std::string& functionName, const std::string& script,
                          const std::string& typed);

// Reads a file of the source tree; empty if it is missing.
std::string readSourceFile(const std::string& relativePath);

}  // namespace completion_test
