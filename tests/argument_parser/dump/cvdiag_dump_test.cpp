// The built CVDiag describing itself with --experimental-dump-help: the nine
// flags with each inverse pair as one argument, and help last.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "argument_parser/completions/shell_runner.h"
#include "support/run_cvdiag.h"

namespace completion_test {
namespace {

using nlohmann::json;

TEST(CVDiagDump, DescribesEveryFlagAsTheGoldenDescription) {
  const auto run = cvdiag_test::runCVDiag({"--experimental-dump-help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  ASSERT_TRUE(json::accept(run.out)) << run.out;
  EXPECT_EQ(json::parse(run.out), json::parse(readSourceFile("tests/argument_parser/dump/golden/CVDiag.json")));
  // One line feed behind the JSON text, as behind every help text.
  EXPECT_TRUE(run.out.ends_with("}\n"));
}

}  // namespace
}  // namespace completion_test
