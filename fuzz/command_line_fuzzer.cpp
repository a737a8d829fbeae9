// libFuzzer entry: every input is a command line for CVDiag, its words
// separated by NUL bytes. Splitting and parsing either give a command or an
// error, and every error turns into its words and an exit status of 0, 1 or
// 64; nothing else may escape.
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include "app/cv_diag.h"
#include "argument_parser/command_parser.h"
#include "argument_parser/message_info.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> words;
  std::string word;
  for (std::size_t i = 0; i < size; ++i) {
    if (data[i] == 0) {
      words.push_back(word);
      word.clear();
    } else {
      word.push_back(static_cast<char>(data[i]));
    }
  }
  if (!word.empty()) words.push_back(word);
  if (words.size() > 64) return 0;

  const auto root = ArgumentParser::typeOf<CVDiag>();
  try {
    auto command = ArgumentParser::parseAsRoot(root, words);
    if (!command) std::abort();
  } catch (...) {
    // The words and the status come from one message, as on the way out of
    // the tool.
    const ArgumentParser::MessageInfo info(std::current_exception(), root);
    (void)info.fullText(root);
    const int status = info.exitStatus();
    if (status != 0 && status != 1 && status != 64) std::abort();
  }
  return 0;
}
