// Usage and help texts, compared whole.
#include <gtest/gtest.h>

#include "test_commands.h"

namespace apt {
namespace {

std::string helpText(const CommandStack& stack, int width,
                     ArgumentVisibility visibility = ArgumentVisibility::default_) {
  return HelpGenerator(stack, visibility).rendered(width);
}

struct Described : ParsableCommand {
  Flag<bool> abcdefghijklmnopqrstuv{false, {.help = "Twenty-four wide."}};
  Flag<bool> abcdefghijklmnopqrstu{false, {.help = "Twenty-three wide."}};
  Option<Speed> speed{Speed::fast, {.help = {"How fast.", "Fast is the default; slow is gentler on old disks."}}};
  Flag<bool> secret{false, {.help = ArgumentHelp::hidden("Hidden away.")}};
  Flag<bool> internal{false, {.help = ArgumentHelp::private_("Never shown.")}};
  Argument<std::vector<std::string>> passed{
      {.parsing = ArgumentArrayParsingStrategy::postTerminator, .help = {"Passed on.", {}, "arg"}}};
  static CommandConfiguration configuration() {
    return {.commandName = "described",
            .abstract = "Line one.\n\nLine three.",
            .discussion = "More words.",
            .helpNames = NameSpecification::long_()};
  }
  static void declare(Declarations<Described>& d) {
    d("abcdefghijklmnopqrstuv", &Described::abcdefghijklmnopqrstuv)(
        "abcdefghijklmnopqrstu", &Described::abcdefghijklmnopqrstu)("speed", &Described::speed)(
        "secret", &Described::secret)("internal", &Described::internal)("passed", &Described::passed);
  }
};

// A narrow screen drops the abstracts but keeps the labels; subcommands show
// their groups, aliases and the default; an option group has its own title and
// a subcommand inherits the version; at 60 columns a 24-wide label pushes its
// abstract to the next line while a 23-wide one does not.
TEST(HelpText, WholeTextsAtTheirWidths) {
  const struct {
    CommandStack stack;
    int width;
    const char* golden;
    ArgumentVisibility visibility = ArgumentVisibility::default_;
  } cases[] = {
      {{typeOf<Repeat>()}, 10, "repeat-narrow.help"},
      {{typeOf<Math>()}, 80, "math.help"},
      {{typeOf<Math>(), typeOf<Add>()}, 80, "math-add.help"},
      {{typeOf<Described>()}, 60, "described.help"},
      // A hidden argument shows only in hidden help; a private one never.
      {{typeOf<Described>()}, 200, "described-hidden.help", ArgumentVisibility::hidden},
  };
  for (const auto& c : cases) EXPECT_EQ(helpText(c.stack, c.width, c.visibility), golden(c.golden)) << c.golden;
}

ArgumentSet flags(int count, bool withRequiredPositional) {
  ArgumentSet set;
  for (int n = 0; n < count; ++n) {
    auto names = std::string(1, static_cast<char>('a' + n));
    set.append(boolFlagDefinitions(InputKey(names), FlagSettings{}, false));
  }
  if (withRequiredPositional)
    set.append(valueArgumentSet<std::string>(InputKey("name"), ArgumentDefinition::Kind::positional(),
                                             ParsingStrategy::default_, {}, {}, std::nullopt));
  return set;
}

TEST(Usage, TwelveArgumentsAreListedThirteenCollapse) {
  EXPECT_EQ((UsageGenerator{"t", flags(12, false)}.synopsis()),
            "t [--a] [--b] [--c] [--d] [--e] [--f] [--g] [--h] [--i] [--j] [--k] [--l]");
  EXPECT_EQ((UsageGenerator{"t", flags(13, false)}.synopsis()), "t <options>");
  EXPECT_EQ((UsageGenerator{"t", flags(12, true)}.synopsis()), "t [<options>] <name>");
  EXPECT_EQ((UsageGenerator{"t", ArgumentSet()}.synopsis()), "t");
}

TEST(Usage, ConfiguredUsageReplacesOrHidesTheSynopsis) {
  struct Custom : ParsableCommand {
    static CommandConfiguration configuration() {
      return {.commandName = "custom", .usage = "custom one\ncustom two"};
    }
  };
  struct Silent : ParsableCommand {
    static CommandConfiguration configuration() { return {.commandName = "silent", .usage = ""}; }
  };
  EXPECT_EQ(helpText({typeOf<Custom>()}, 80), golden("custom.help"));
  EXPECT_EQ(HelpGenerator({typeOf<Custom>()}, ArgumentVisibility::default_).usageMessage(),
            "Usage: custom one\n       custom two");
  EXPECT_EQ(HelpGenerator({typeOf<Silent>()}, ArgumentVisibility::default_).usageMessage(), "");
  EXPECT_EQ(usageString(typeOf<Custom>()), "custom one\ncustom two");
}

TEST(Usage, SuperCommandNameStandsInFront) {
  struct Plugin : ParsableCommand {
    Flag<bool> dry{false, {}};
    static CommandConfiguration configuration() { return {.commandName = "plugin", .superCommandName = "host"}; }
    static void declare(Declarations<Plugin>& d) { d("dry", &Plugin::dry); }
  };
  EXPECT_EQ(HelpGenerator({typeOf<Plugin>()}, ArgumentVisibility::default_).usage(), "host plugin [--dry]");
}

TEST(TextWrapping, WordsNewlinesAndIndents) {
  const std::tuple<const char*, int, int, const char*> cases[] = {{"abc def ghi", 7, 0, "abc\ndef ghi"},
                                                                  {"abcdefghij klm", 5, 0, "abcdefghij\nklm"},
                                                                  {"abcdefghij", 5, 0, "abcdefghij"},
                                                                  {"a\n\nb", 10, 2, "  a\n\n  b"},
                                                                  {"one two", 10, 3, "   one two"},
                                                                  {"x", 5, 5, ""},
                                                                  {"line\n", 10, 0, "line\n"}};
  for (const auto& [text, width, indent, result] : cases) EXPECT_EQ(wrapped(text, width, indent), result) << text;
  EXPECT_EQ(indentingEachLine("a\n\nb", 3), "   a\n\n   b");
  EXPECT_EQ(hangingIndent("x\ny\nz"), "x\n       y\n       z");
  EXPECT_EQ(hangingIndent("one line"), "one line");
}

TEST(TerminalWidth, ColumnsFromTheEnvironmentWin) {
  EXPECT_EQ(terminalWidth(environment("120")), 120);
  EXPECT_EQ(terminalWidth(environment("+90")), 90);
  EXPECT_EQ(terminalWidth(environment("-5")), -5);
  // Anything else is no width: the one of the terminal or 80 is taken.
  for (const char* text : {"+-5", "-+5", "++5", "--5", "5x", " 5", "", "+", "99999999999"})
    EXPECT_EQ(terminalWidth(environment(text)), terminalWidth(environment(std::nullopt))) << text;
}

// The hidden form drops short names; the default names are in the goldens.
TEST(HelpNames, HiddenHelpHasOnlyLongNames) {
  auto names = helpNames({typeOf<Repeat>()}, ArgumentVisibility::hidden);
  ASSERT_EQ(names.size(), 1u);
  EXPECT_EQ(names.front().synopsisString(), "--help-hidden");
}

}  // namespace
}  // namespace apt
