#include <gtest/gtest.h>

#include <string>

#include "platform/machine/json_outline.h"

using platform::machine::JsonOutline;

namespace {

// The outline as text: each value's kind and text, members with their keys,
// nested in brackets: {a=1 b=[x y]}.
std::string shape(const JsonOutline::Value& value) {
  std::string out;
  if (!value.key().empty()) out += std::string(value.key()) + "=";
  if (!value.first()) return out + std::string(value.text());
  out += value.kind() == JsonOutline::Kind::object ? "{" : "[";
  for (auto child = value.first(); child; child = child->next()) {
    out += shape(*child);
    if (child->next()) out += " ";
  }
  return out + (value.kind() == JsonOutline::Kind::object ? "}" : "]");
}

std::string outline(std::string_view text, int depth, int nesting = 8) {
  auto found = JsonOutline::of(text, depth, nesting, {"media", "da"});
  return found ? shape(found->root()) : "(none)";
}

}  // namespace

TEST(JsonOutlineTest, FindsMembersAndElementsToTheDepthAskedFor) {
  const struct {
    std::string text;
    int depth;
    std::string shape;
  } cases[] = {
      {R"( {"a": 1, "media": [true, {"da": {"k": "v"}, "io": {"x": 1}}]} )", 4,
       R"({a=1 media=[true {da={k="v"} io={"x": 1}}]})"},
      // Only the keys asked for are followed; the depth stops the rest.
      {R"({"files": {"a": 1}, "media": [[1, [2]]]})", 2, R"({files={"a": 1} media=[[1, [2]]]})"},
      {R"({"media": [[1, [2]]]})", 3, R"({media=[[1 [2]]]})"},
      {"[]", 1, "[]"},
      {"{ }", 1, "{ }"},
      {"-1.5e3", 1, "-1.5e3"},
      // Brackets and escaped quotes inside text, blanks anywhere.
      {"{\"a\" :\t\"[{\\\"}\" ,\n\"b\":null}", 1, "{a=\"[{\\\"}\" b=null}"},
      // Keys with escapes are decoded, and followed by the decoded name.
      {R"({"\u006d\u0065dia": [1], "\u00e9": 2})", 2, "{media=[1] \xC3\xA9=2}"},
      // Broken structure: nothing.
      {R"({"a" 1})", 1, "(none)"},
      {R"({"a": 1,})", 1, "(none)"},
      {R"([1,])", 1, "(none)"},
      {R"({"a": "x})", 1, "(none)"},
      {R"({"a": [}]})", 0, "(none)"},
      {R"({"a": [}]})", 1, "(none)"},
      {R"("x" y)", 1, "(none)"},
      {R"({1: 2})", 1, "(none)"},
      {"{\"a\x01\": 1}", 1, "(none)"},
      {"", 1, "(none)"},
  };
  for (const auto& c : cases) EXPECT_EQ(outline(c.text, c.depth), c.shape) << c.text;
}

TEST(JsonOutlineTest, TheLastOfAKeyWrittenTwiceAndTheNestingLimit) {
  auto found = JsonOutline::of(R"({"a": 1, "b": 2, "a": 3})", 1, 8, {});
  ASSERT_TRUE(found);
  EXPECT_EQ(found->root().last("a")->text(), "3");
  EXPECT_FALSE(found->root().last("c"));

  // Eight brackets deep is the limit, whether the outline follows them or
  // passes over them.
  const std::string eight = std::string(8, '[') + std::string(8, ']');
  const std::string nine = std::string(9, '[') + std::string(9, ']');
  for (int depth : {0, 3, 20}) {
    EXPECT_NE(outline(eight, depth), "(none)") << depth;
    EXPECT_EQ(outline(nine, depth), "(none)") << depth;
  }
}
