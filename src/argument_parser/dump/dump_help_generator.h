#pragma once
// The tool information dump behind --experimental-dump-help: the command
// tree below the last command of a stack, described as ToolInfoV0 records
// and rendered as JSON for other programs.

#include <string>
#include <vector>

#include "argument_parser/command_configuration.h"
#include "argument_parser/dump/tool_info.h"

namespace ArgumentParser {

class DumpHelpGenerator {
 public:
  // `commandStack` runs from the root to the command described; not empty.
  explicit DumpHelpGenerator(const std::vector<CommandType>& commandStack);

  const ArgumentParserToolInfo::ToolInfoV0& toolInfo() const { return toolInfo_; }
  // Pretty-printed JSON with sorted keys; the empty text if it cannot be
  // encoded.
  std::string rendered() const;

 private:
  ArgumentParserToolInfo::ToolInfoV0 toolInfo_;
};

// The arguments of the dump for a stack: those of help at `private`
// visibility, each composite flag merged into one definition that bears the
// names of all its members, `default`-kind definitions dropped.
std::vector<ArgumentDefinition> dumpedArguments(const std::vector<CommandType>& commandStack);

}  // namespace ArgumentParser
