// The built CVDiag writing its completion scripts; the scripts at work in
// the real shells are tested on the richer test commands.
#include <gtest/gtest.h>

#include "argument_parser/completions/shell_runner.h"
#include "support/run_cvdiag.h"

namespace completion_test {
namespace {

using cvdiag_test::runCVDiag;

std::string golden(const std::string& shell) {
  return readSourceFile("tests/argument_parser/completions/golden/CVDiag." + shell);
}

const char* const kUsageLines =
    "Usage: CVDiag <options>\n"
    "  See 'CVDiag --help' for more information.\n";

TEST(CVDiagCompletionScripts, EachShellGetsItsScriptOnStandardOutput) {
  for (const char* shell : {"bash", "zsh", "fish"}) {
    const auto run = runCVDiag({"--generate-completion-script", shell});
    EXPECT_EQ(run.status, 0) << shell;
    EXPECT_EQ(run.err, "") << shell;
    EXPECT_EQ(run.out, golden(shell)) << shell;
  }
  // The attached form, and the request wins over the command's own flags.
  EXPECT_EQ(runCVDiag({"--generate-completion-script=zsh"}).out, golden("zsh"));
  EXPECT_EQ(runCVDiag({"--all-diagnostics", "--generate-completion-script", "bash"}).out,
            golden("bash"));
  // Without a name the shell comes from SHELL.
  EXPECT_EQ(runCVDiag({"--generate-completion-script"}, {{"SHELL", "/usr/local/bin/fish"}}).out, golden("fish"));
}

TEST(CVDiagCompletionScripts, RefusalsGoToStandardErrorWithTheUsage) {
  const std::string shellList =
      "Please use --generate-completion-script=<shell> with one of:\n"
      "    zsh, bash, fish\n";
  const struct {
    std::vector<std::string> arguments;
    const char* shell;
    std::string err;
  } cases[] = {
      {{"--generate-completion-script"}, "/bin/sh", "Can't autodetect a supported shell.\n" + shellList},
      // A named shell wins over SHELL, even one that is unknown.
      {{"--generate-completion-script", "tcsh"}, "/bin/bash",
       "Can't generate completion scripts for 'tcsh'.\n" + shellList},
      // CVDiag has no argument with custom completion.
      {{"---completion", "--", "--all-diagnostics", "CVDiag"}, "/bin/bash",
       "Internal error. Invalid state while parsing command-line arguments.\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments.back() + " SHELL=" + c.shell);
    const auto run = runCVDiag(c.arguments, {{"SHELL", c.shell}});
    EXPECT_EQ(run.status, 64);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "Error: " + c.err + kUsageLines);
  }
}

}  // namespace
}  // namespace completion_test
