#pragma once
// The whole life of a run: parse, run, and leave through exitWithError on
// any failure.

#include <string>
#include <vector>

#include "argument_parser/command_parser.h"
#include "argument_parser/message_info.h"

namespace ArgumentParser {

// Returns 0 after a successful run; otherwise the status that exitWithError
// chose (when `io.exit` returns).
int main(CommandType root, const std::vector<std::string>& arguments, ProcessIO& io);

template <class T>
int main(int argc, char** argv) {
  std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
  ProcessIO io = ProcessIO::standard();
  return main(typeOf<T>(), arguments, io);
}

}  // namespace ArgumentParser
