#include "argument_parser/completions/shell_runner.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "support/run_cvdiag.h"

namespace completion_test {

namespace {

std::string singleQuoted(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

std::filesystem::path scratchDirectory() {
  const auto* info = testing::UnitTest::GetInstance()->current_test_info();
  std::filesystem::path directory = std::filesystem::path(testing::TempDir()) /
                                    (std::string("completion_") + info->test_suite_name() + "_" +
                                     info->name());
  std::filesystem::create_directories(directory / "empty");
  return directory;
}

}  // namespace

std::string writeTemporaryFile(const std::string& name, const std::string& text) {
  const auto path = scratchDirectory() / name;
  std::ofstream(path, std::ios::binary) << text;
  return path.string();
}

ShellRun runShell(const std::string& program, const std::string& script, const std::string& argument) {
  const auto empty = (scratchDirectory() / "empty").string();
  // fish names its script's arguments after the script itself; bash and zsh
  // take a $0 first.
  std::vector<std::string> arguments{program, "-c", "cd " + singleQuoted(empty) + " && " + script};
  if (program != "fish") arguments.push_back("shell");
  arguments.push_back(argument);
  auto result = cvdiag_test::runProgram("/usr/bin/env", arguments, {{"HOME", empty}});
  return {result.status, result.out + result.err};
}

ShellRun bashCompletions(const std::string& scriptPath, const std::string& function,
                         const std::string& words) {
  return runShell("bash",
                  "source \"$1\"\nCOMP_WORDS=" + words +
                      "\nCOMP_CWORD=$(( ${#COMP_WORDS[@]} - 1 ))\n" + function +
                      "\nprintf '%s\\n' \"${COMPREPLY[@]}\"",
                  scriptPath);
}

ShellRun zshCompletedLine(const std::string& functionName, const std::string& script,
                          const std::string& typed) {
  const auto functions = scratchDirectory() / "zsh-functions";
  std::filesystem::create_directories(functions);
  std::ofstream(functions / functionName, std::ios::binary) << script;
  const std::string driver =
      std::string(CVDIAG_SOURCE_DIR) + "/tests/argument_parser/completions/zsh_complete.zsh";
  return runShell("zsh", "timeout 60 zsh -f " + singleQuoted(driver) + " \"$1\" " + singleQuoted(typed),
                  functions.string());
}

std::string readSourceFile(const std::string& relativePath) {
  return cvdiag_test::readFile(std::filesystem::path(CVDIAG_SOURCE_DIR) / relativePath);
}

}  // namespace completion_test
