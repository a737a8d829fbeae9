// Names, keys and the conversion of identifiers to long names.
#include <gtest/gtest.h>

#include "argument_parser/argument_parser.h"
#include "argument_parser/message_info.h"

namespace {

using namespace ArgumentParser;
using Element = NameSpecification::Element;

std::vector<std::string> synopses(const std::vector<Name>& names) {
  std::vector<std::string> result;
  for (const auto& n : names) result.push_back(n.synopsisString());
  return result;
}

TEST(NameConversion, SplitsAtCapitalsAndRunsOfCapitals) {
  const std::pair<const char*, const char*> cases[] = {{"allDiagnostics", "all-diagnostics"},
                                                       {"JSONReader", "json-reader"},
                                                       {"knownUUIDs", "known-uui-ds"},
                                                       {"showKnownVolumeRegistery", "show-known-volume-registery"},
                                                       {"already-split", "already-split"},
                                                       {"URL", "url"},
                                                       {"x", "x"},
                                                       {"", ""}};
  for (const auto& [identifier, name] : cases) EXPECT_EQ(convertedToSnakeCase(identifier), name) << identifier;
  EXPECT_EQ(convertedToSnakeCase("fooBar", '_'), "foo_bar");
}

TEST(InputKey, DropsOneLeadingUnderscoreAndDescribesItsPath) {
  EXPECT_EQ(InputKey("_force").name, "force");
  EXPECT_EQ(InputKey("__x").name, "_x");
  EXPECT_EQ(InputKey("verbose", {"options", "inner"}).description(), "options.inner.verbose");
  EXPECT_EQ(NameSpecification::long_().makeNames(InputKey("_force").name).front().synopsisString(), "--force");
}

TEST(NameSpecification, MakesOneNamePerDistinctElementInOrder) {
  EXPECT_EQ(synopses(NameSpecification({Element::long_(), Element::long_()}).makeNames("verbose")),
            std::vector<std::string>{"--verbose"});
  EXPECT_EQ(synopses(NameSpecification::short_().makeNames("verbose")), std::vector<std::string>{"-v"});
  EXPECT_EQ(synopses(NameSpecification({Element::customShort('x', true), Element::customLong("exe", true),
                                        Element::customLong("Raw_Name")})
                         .makeNames("ignored")),
            (std::vector<std::string>{"-x", "-exe", "--Raw_Name"}));
  auto names = NameSpecification::customShort('o', true).makeNames("output");
  EXPECT_TRUE(names.front().allowingJoined);
}

TEST(NameSpecification, EmptyKeyCannotFormAShortName) {
  EXPECT_DEATH(NameSpecification::short_().makeNames(""), "Key '' has not characters to form short option name.");
}

TEST(InvertedNames, PrefixRulesForEachKindOfName) {
  auto no = makeInvertedNames(NameSpecification::long_(), "verbose", FlagInversion::prefixedNo);
  EXPECT_EQ(synopses(no.enabling), std::vector<std::string>{"--verbose"});
  EXPECT_EQ(synopses(no.inverted), std::vector<std::string>{"--no-verbose"});

  auto camel = makeInvertedNames(NameSpecification::long_(), "includeCounter", FlagInversion::prefixedNo);
  EXPECT_EQ(synopses(camel.inverted), std::vector<std::string>{"--no-include-counter"});

  auto custom = [](const char* name) {
    return makeInvertedNames(NameSpecification::customLong(name), "key", FlagInversion::prefixedNo).inverted;
  };
  EXPECT_EQ(synopses(custom("settings-volumes")), std::vector<std::string>{"--no-settings-volumes"});
  EXPECT_EQ(synopses(custom("duplicate-volume-UUIDs")), std::vector<std::string>{"--no-duplicate-volume-UUIDs"});
  EXPECT_EQ(synopses(custom("snake_case")), std::vector<std::string>{"--no_snake_case"});
  EXPECT_EQ(synopses(custom("camelCase")), std::vector<std::string>{"--noCamelCase"});
  EXPECT_EQ(synopses(custom("plain")), std::vector<std::string>{"--no-plain"});

  auto pair = makeInvertedNames(NameSpecification::shortAndLong(), "color", FlagInversion::prefixedEnableDisable);
  EXPECT_EQ(synopses(pair.enabling), (std::vector<std::string>{"-c", "--enable-color"}));
  EXPECT_EQ(synopses(pair.inverted), std::vector<std::string>{"--disable-color"});
}

TEST(EditDistance, CountsCharactersAfterTrimmingCommonEnds) {
  const std::tuple<const char*, const char*, int> cases[] = {{"", "abc", 3},
                                                             {"abc", "", 3},
                                                             {"same", "same", 0},
                                                             {"--all-diagnostic", "--all-diagnostics", 1},
                                                             {"--all-diagnostisc", "--all-diagnostics", 2},
                                                             {"kitten", "sitting", 3},
                                                             {"ñandú", "nandu", 2}};  // characters, not bytes
  for (const auto& [a, b, distance] : cases) EXPECT_EQ(editDistance(a, b), distance) << a << " " << b;
}

}  // namespace
