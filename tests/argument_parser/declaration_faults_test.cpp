// Faults in a declaration stop the program with their messages.
#include <gtest/gtest.h>

#include <stdexcept>

#include "test_commands.h"

namespace apt {
namespace {

struct SelfNested : ParsableCommand {
  static CommandConfiguration configuration() { return {.ungroupedSubcommands = {typeOf<SelfNested>()}}; }
};

struct Aliased : ParsableCommand {
  static CommandConfiguration configuration() { return {.aliases = {"other", "aliased"}}; }
};
struct AliasRoot : ParsableCommand {
  static CommandConfiguration configuration() { return {.ungroupedSubcommands = {typeOf<Aliased>()}}; }
};

struct Unnamed : ParsableCommand {
  Flag<bool> flag{false, {.name = NameSpecification::none()}};
  static void declare(Declarations<Unnamed>& d) { d("flag", &Unnamed::flag); }
};

struct Broken : ParsableCommand {
  static CommandConfiguration configuration() { throw std::runtime_error("no configuration"); }
};

TEST(DeclarationFaults, StopTheProgramWithTheirMessages) {
  EXPECT_DEATH(parseAsRoot<Broken>({}), "Unexpected error: no configuration\\.");
  EXPECT_DEATH(parseAsRoot<SelfNested>({}),
               "The ParsableCommand \"apt::\\(anonymous namespace\\)::SelfNested\" can't have itself as its own "
               "subcommand\\.");
  EXPECT_DEATH(parseAsRoot<AliasRoot>({}),
               "The ParsableCommand \"apt::\\(anonymous namespace\\)::Aliased\" can't have an alias with the same "
               "name as the command itself\\.");
  EXPECT_DEATH(HelpGenerator({typeOf<Unnamed>()}, ArgumentVisibility::default_),
               "preferredName cannot be nil for named arguments");
}

}  // namespace
}  // namespace apt
