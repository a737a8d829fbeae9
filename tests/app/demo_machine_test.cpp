// The demo machine that `scripts/demo` runs must stay a loadable, consistent
// Mac: these tests catch a demo folder that drifts from the folder format or
// from itself (a disk in machine.json that diskutil does not know, a mount
// point without its folder, a file that machine.json names but the folder
// lacks). The whole report on a copy of the demo is a golden file, so a
// recording or bookmark that no longer reads as before shows as a diff.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "platform/value.h"
#include "platform/machine/machine.h"
#include "platform/machine/machine_platform.h"
#include "platform/machine/machine_queries.h"
#include "support/machine_builder.h"
#include "support/run_cvdiag.h"

namespace {

namespace pm = platform::machine;
using platform::Dictionary;
using platform::Value;
using pm::MediaObject;

const std::filesystem::path kDemo = std::filesystem::path(CVDIAG_SOURCE_DIR) / "demo" / "machine";


std::string text(const Dictionary& d, std::string_view key) {
  const Value* v = platform::lookup(d, key);
  return v && v->string() ? *v->string() : std::string();
}

bool flag(const Dictionary& d, std::string_view key) {
  const Value* v = platform::lookup(d, key);
  return v && v->boolean().value_or(false);
}

std::string uuidText(const Dictionary& d, std::string_view key) {
  const Value* v = platform::lookup(d, key);
  return v && v->uuid() ? v->uuid()->uuidString() : std::string();
}

// The demo folder and the platform over it; property lists are read by that
// platform's reader, as the tool reads them.
class DemoMachineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto loaded = pm::loadMachine(kDemo);
    if (auto* error = std::get_if<std::string>(&loaded)) FAIL() << *error;
    machine = std::get<std::shared_ptr<const pm::Machine>>(loaded);
    demo = pm::makeMachinePlatform(machine, {});
  }
  std::shared_ptr<const pm::Machine> machine;
  platform::Platform demo;
};

}  // namespace

TEST_F(DemoMachineTest, DisksAndMountsAreConsistent) {
  EXPECT_TRUE(machine->failures.empty());
  std::set<std::string> bsdNames, mounts;
  for (std::size_t i = 0; i < machine->media.size(); ++i) {
    const MediaObject& m = machine->media[i];
    ASSERT_TRUE(m.da && m.io && m.bsdName());
    const std::string bsd = *m.bsdName();
    SCOPED_TRACE(bsd);
    EXPECT_TRUE(bsdNames.insert(bsd).second) << "a disk described twice";
    EXPECT_EQ(text(*m.io, "BSD Name"), bsd);
    EXPECT_EQ(flag(*m.io, "Whole"), flag(*m.da, "DAMediaWhole"));
    auto whole = pm::wholeDiskIndex(*machine, i);
    EXPECT_TRUE(whole && flag(*machine->media[*whole].da, "DAMediaWhole"));
    const std::string groupDevice = text(*m.io, "VolGroupMntFromName");
    EXPECT_TRUE(groupDevice.empty() || pm::existsAtMacPath(*machine, groupDevice)) << groupDevice;
    auto mount = m.mountPath();
    ASSERT_EQ(mount.has_value(), m.volume.has_value()) << "volume facts belong to mounted volumes";
    if (!mount) continue;
    EXPECT_TRUE(mounts.insert(*mount).second) << "two volumes at " << *mount;
    EXPECT_TRUE(pm::existsAtMacPath(*machine, *mount)) << *mount;
    const Dictionary& r = m.volume->resources;
    EXPECT_EQ(text(r, "NSURLVolumeNameKey"), text(*m.da, "DAVolumeName"));
    EXPECT_EQ(text(r, "NSURLVolumeUUIDStringKey"), uuidText(*m.da, "DAVolumeUUID"));
  }
  EXPECT_TRUE(mounts.count("/")) << "the demo Mac has a root volume";
  // Every file with recorded dates exists, so the dates are what the report shows.
  for (const auto& [path, facts] : machine->files) EXPECT_TRUE(pm::existsAtMacPath(*machine, path)) << path;
}

// The recorded programs answer from their recordings only, under a plain
// POSIX shell; anything else is refused with nothing on standard output.
TEST_F(DemoMachineTest, DiskutilAndTmutilRunUnderAPosixShell) {
  const std::string diskutil = "usr/sbin/diskutil", tmutil = "usr/bin/tmutil";
  const struct {
    std::string program;
    std::vector<std::string> arguments;
    int status;
    std::string out;
  } cases[] = {
      {diskutil, {"list", "-plist"}, 0, cvdiag_test::readFile(kDemo / "usr/sbin/diskutil.d/list.plist")},
      {diskutil, {"info", "-plist", "disk9"}, 1, ""},
      {diskutil, {"info", "-plist", "../../../etc/passwd"}, 1, ""},
      {diskutil, {"info", "disk2s2"}, 1, ""},
      {diskutil, {}, 1, ""},
      {tmutil, {"isexcluded", "/"}, 0, "[Included]    /\n"},
      {tmutil, {"status"}, 1, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.program + " " + (c.arguments.empty() ? "" : c.arguments.front()));
    std::vector<std::string> arguments{(kDemo / c.program).string()};
    arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
    auto result = cvdiag_test::runProgram("/bin/sh", arguments);
    EXPECT_EQ(result.status, c.status);
    EXPECT_EQ(result.out, c.out);
  }
}

// The whole report on a copy of the demo, which leaves the registry domain
// as it was; CVDIAG_UPDATE_GOLDENS=1 writes the golden file, to be checked by hand.
TEST(DemoMachineReport, AllDiagnosticsMatchTheGolden) {
  char folderTemplate[] = "/tmp/cvdiag-demo-XXXXXX";
  ASSERT_TRUE(::mkdtemp(folderTemplate));
  const std::filesystem::path folder(folderTemplate);
  std::filesystem::copy(kDemo, folder, std::filesystem::copy_options::recursive |
                                           std::filesystem::copy_options::copy_symlinks);
  const auto domain = folder / "Users/ada/Library/Preferences/com.tamarlin.Corvane.plist";
  const auto modified = std::filesystem::last_write_time(domain);
  auto result = cvdiag_test::runCVDiag({"--all-diagnostics"}, {{"CVDIAG_MACHINE", folder.string()}});
  EXPECT_EQ(cvdiag_test::readFile(domain), cvdiag_test::readFile(kDemo / "Users/ada/Library/Preferences/com.tamarlin.Corvane.plist"));
  EXPECT_EQ(std::filesystem::last_write_time(domain), modified);
  std::filesystem::remove_all(folder);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  const std::string actual = cvdiag_test::withoutVolatileParts(result.out);
  testsupport::expectGoldenFile(std::filesystem::path(CVDIAG_SOURCE_DIR) / "tests/app/golden/demo_all_diagnostics.txt",
                                actual);
}
