// Splitting words into classified elements and marking them used.
#include <gtest/gtest.h>

#include "argument_parser/errors.h"
#include "argument_parser/split_arguments.h"

namespace {

using namespace ArgumentParser;

// A compact picture of the unused elements: "v:text", "o:--name", "o:--name=value", "t",
// each followed by "@input" or "@input.sub".
std::string picture(const SplitArguments& split) {
  std::string text;
  for (std::size_t i = split.firstUnused(); i < split.elements().size(); ++i) {
    const auto& e = split.elements()[i];
    if (!text.empty()) text += ' ';
    if (e.isValue()) text += "v:" + e.value;
    if (e.isTerminator()) text += "t";
    if (e.isOption()) {
      text += "o:" + e.option.name.synopsisString();
      if (e.option.value) text += "=" + *e.option.value;
    }
    text += "@" + std::to_string(e.index.inputIndex.rawValue);
    if (!e.index.subIndex.isComplete) text += "." + std::to_string(e.index.subIndex.sub);
  }
  return text;
}

std::string invalidWord(const std::vector<std::string>& words) {
  try {
    SplitArguments split(words);
  } catch (const ParserError& error) {
    EXPECT_EQ(error.kind, ParserError::Case::invalidOption);
    return error.text.value_or("");
  }
  return "(no error)";
}

TEST(SplitArguments, ClassifiesWordsByTheirForm) {
  EXPECT_EQ(picture(SplitArguments({"", "-", "plain"})), "v:@0 v:-@1 v:plain@2");
  EXPECT_EQ(picture(SplitArguments({"--foo", "--foo=", "--foo=bar", "--x=y=z"})),
            "o:--foo@0 o:--foo@1 o:--foo=bar@2 o:--x=y=z@3");
  EXPECT_EQ(picture(SplitArguments({"-a", "-a=1", "-ab=1", "-a="})), "o:-a@0 o:-a=1@1 o:-ab=1@2 o:-a=@3");
  EXPECT_EQ(picture(SplitArguments({"-abc"})), "o:-abc@0 o:-a@0.0 o:-b@0.1 o:-c@0.2");
  EXPECT_EQ(picture(SplitArguments({"-5", "-1.5"})), "o:-5@0 o:-1.5@1 o:-1@1.0 o:-.@1.1 o:-5@1.2");
  // Dashes are counted as characters: a dash that a combining mark follows is none.
  const std::string accentedDash = "-\xCC\x81";
  EXPECT_EQ(picture(SplitArguments({accentedDash, "--" + accentedDash})), "v:" + accentedDash + "@0 o:--" + accentedDash + "@1");
}

TEST(SplitArguments, EverythingBehindTheTerminatorIsAValue) {
  EXPECT_EQ(picture(SplitArguments({"a", "--", "-b", "--c", "--"})), "v:a@0 t@1 v:-b@2 v:--c@3 v:--@4");
}

TEST(SplitArguments, RejectsRunsOfDashesAndLeadingEquals) {
  EXPECT_EQ(invalidWord({"---"}), "---");
  EXPECT_EQ(invalidWord({"ok", "---x"}), "---x");
  EXPECT_EQ(invalidWord({"-=x"}), "-=x");
  EXPECT_EQ(invalidWord({"-="}), "-=");
  EXPECT_EQ(invalidWord({"--", "---"}), "(no error)");
}

TEST(SplitArguments, RemovingALetterUsesTheWholeWordButKeepsTheOtherLetters) {
  SplitArguments split({"-abc", "x"});
  split.remove(Index{InputIndex{0}, SubIndex::makeSub(1)});
  EXPECT_EQ(picture(split), "o:-a@0.0 o:-c@0.2 v:x@1");
  split.remove(Index{InputIndex{0}, SubIndex::complete()});
  EXPECT_EQ(picture(split), "v:x@1");
  // Elements before firstUnused are not touched again.
  split.remove(0);
  EXPECT_EQ(picture(split), "v:x@1");
}

TEST(SplitArguments, MarkingUsedKeepsTheOrderOfTheRest) {
  SplitArguments split({"a", "b", "c", "d"});
  split.remove(2);
  EXPECT_EQ(picture(split), "v:a@0 v:b@1 v:d@3");
  split.removeAll(InputOrigin(Index{InputIndex{3}, SubIndex::complete()}));
  EXPECT_EQ(picture(split), "v:a@0 v:b@1");
  EXPECT_EQ(split.elements().front().value, "c");  // used elements stay in the list
}

TEST(SplitArguments, TerminatorAloneIsNoArgument) {
  SplitArguments split({"x", "--"});
  EXPECT_TRUE(split.containsNonTerminatorArguments());
  split.remove(0);
  EXPECT_FALSE(split.containsNonTerminatorArguments());
}

std::string taken(const std::optional<std::pair<Index, std::string>>& value) {
  return value ? value->second : "(none)";
}

TEST(SplitArguments, PopsBehindAnOrigin) {
  const InputOrigin first(Index{InputIndex{0}, SubIndex::complete()});
  SplitArguments scanning({"--opt", "--other", "value"});
  EXPECT_EQ(taken(scanning.popNextElementIfValue(first)), "(none)");  // the next word is an option
  EXPECT_EQ(taken(scanning.popNextValue(first)), "value");
  EXPECT_EQ(picture(scanning), "o:--opt@0 o:--other@1");
  SplitArguments anything({"--opt", "-xy", "z"});
  EXPECT_EQ(taken(anything.popNextElementAsValue(first)), "-xy");
  EXPECT_EQ(picture(anything), "o:--opt@0 v:z@2");
  // Behind the letter a come the letter b and then the next word.
  SplitArguments group({"-ab", "v"});
  EXPECT_EQ(taken(group.popNextElementIfValue(InputOrigin(Index{InputIndex{0}, SubIndex::makeSub(0)}))), "v");
}

TEST(SplitArguments, ContainsSeesNamesWithAttachedValues) {
  SplitArguments split({"--help=x", "-h"});
  EXPECT_TRUE(split.contains(Name::makeLong("help")));
  EXPECT_TRUE(split.contains(Name::makeShort('h')));
  split.remove(0);
  EXPECT_FALSE(split.contains(Name::makeLong("help")));
}

std::string extras(const SplitArguments& split) {
  std::string text;
  for (const auto& [origin, word] : split.coalescedExtraElements()) text += (text.empty() ? "" : " ") + word;
  return text;
}

TEST(SplitArguments, LeftoversAreReportedAsTyped) {
  SplitArguments split({"-xy", "word", "--", "after"});
  split.remove(Index{InputIndex{0}, SubIndex::makeSub(0)});
  EXPECT_EQ(extras(split), "-y word after");
  EXPECT_EQ(extras(SplitArguments({"-xy"})), "-xy");
}

}  // namespace
