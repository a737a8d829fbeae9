#pragma once
// The whole life of a run: parse, run, and leave through exitWithError on
// any failure.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "argument_parser/command_parser.h"
#include "argument_parser/message_info.h"

namespace ArgumentParser {

// A step between a successful parse and the run, such as a setup that needs
// the parsed command line to be valid first. A status it returns ends the run
// with that status, without `run`; nothing lets the run go on.
using BeforeRun = std::function<std::optional<int>()>;

// Returns 0 after a successful run, the status of `beforeRun` if it stopped
// the run, otherwise the status that exitWithError chose (when `io.exit`
// returns). Help, completion and dump requests and every parse failure leave
// without calling `beforeRun`.
int main(CommandType root, const std::vector<std::string>& arguments, ProcessIO& io,
         const BeforeRun& beforeRun = {});

template <class T>
int main(int argc, char** argv, const BeforeRun& beforeRun = {}) {
  std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  ProcessIO io = ProcessIO::standard();
  return main(typeOf<T>(), arguments, io, beforeRun);
}

}  // namespace ArgumentParser
