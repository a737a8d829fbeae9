#pragma once
// Runs real shells on generated scripts for the completion tests.

#include <string>

namespace completion_test {

struct ShellRun {
  int status = -1;
  std::string output;  // standard output and standard error together
};

// A file of the given text under the test's temporary directory; gives its
// path.
std::string writeTemporaryFile(const std::string& name, const std::string& text);

// Runs `program -c script` (bash, zsh, fish) with `argument` as the first
// positional parameter ($1 in bash and zsh, $argv[1] in fish), in an empty
// working directory so that file completions find nothing.
ShellRun runShell(const std::string& program, const std::string& script,
                  const std::string& argument = "");

// The completions that bash's function `function` leaves in COMPREPLY, one
// per line, after sourcing `scriptPath` with COMP_WORDS set to `words` (a
// bash array literal such as `(repo --f)`) and COMP_CWORD to its last index.
ShellRun bashCompletions(const std::string& scriptPath, const std::string& function,
                         const std::string& words);

// The command line as an interactive zsh leaves it after `typed` and one
// TAB, with the completion function `functionName` (a file of that name
// holding `script`) on its fpath.
ShellRun zshCompletedLine(const std::string& functionName, const std::string& script,
                          const std::string& typed);

// Reads a file of the source tree; empty if it is missing.
std::string readSourceFile(const std::string& relativePath);

}  // namespace completion_test
