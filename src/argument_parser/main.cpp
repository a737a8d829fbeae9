#include "argument_parser/main.h"

namespace ArgumentParser {

int main(CommandType root, const std::vector<std::string>& arguments, ProcessIO& io, const BeforeRun& beforeRun) {
  std::shared_ptr<ParsableCommand> command;
  try {
    command = parseAsRoot(root, arguments);
  } catch (...) {
    return exitWithError(root, std::current_exception(), io);
  }
  // The framework's own help command needs nothing the tool sets up.
  const bool isHelp = std::dynamic_pointer_cast<HelpCommand>(command) != nullptr;
  if (beforeRun && !isHelp) {
    if (auto status = beforeRun()) return *status;
  }
  try {
    command->run();
    return 0;
  } catch (...) {
    return exitWithError(root, std::current_exception(), io);
  }
}

}  // namespace ArgumentParser
