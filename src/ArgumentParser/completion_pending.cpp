// Placeholders until the completion scripts and the tool information dump
// are built: the requests are answered as not implemented. The completion
// engineer replaces this file.
#include "ArgumentParser/CompletionHooks.h"
#include "ArgumentParser/Errors.h"

namespace ArgumentParser {

std::string completionScript(CommandType, const std::optional<std::string>&, const EnvironmentReader&) {
  throw ParserError::simple(ParserError::Case::notImplemented);
}

std::string customCompletionResponse(const Tree&, const std::vector<std::string>&) {
  throw ParserError::simple(ParserError::Case::notImplemented);
}

std::string dumpHelp(const CommandStack&) { throw ParserError::simple(ParserError::Case::notImplemented); }

}  // namespace ArgumentParser
