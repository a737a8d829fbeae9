#include "argument_parser/completions/completion_test_commands.h"

namespace completion_test {

std::vector<std::string> tagValues(const std::vector<std::string>& words) {
  std::vector<std::string> values{"v1", "v2"};
  for (const auto& word : words) values.push_back("seen:" + word);
  return values;
}

CommandConfiguration Repo::configuration() {
  return {.commandName = "repo",
          .abstract = "Keeps things in order.",
          .discussion = "Longer text.",
          .version = "1.0",
          .ungroupedSubcommands = {typeOf<Add>(), typeOf<RemoveAll>(), typeOf<Debug>()},
          .defaultSubcommand = typeOf<Add>()};
}

CommandConfiguration Plugin::configuration() {
  return {.commandName = "plug-in",
          .superCommandName = "host",
          .abstract = "Extends the host.",
          .ungroupedSubcommands = {typeOf<Status>()},
          .defaultSubcommand = typeOf<Status>()};
}

}  // namespace completion_test
