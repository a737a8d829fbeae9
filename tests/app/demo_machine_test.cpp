// The demo machine that `scripts/demo` runs must stay a loadable, consistent
// Mac: these tests catch a demo folder that drifts from the folder format or
// from itself (a disk in machine.json that diskutil does not know, a mount
// point without its folder, a file that machine.json names but the folder
// lacks). They check no counts or names: the demo may grow.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "platform/value.h"
#include "platform/machine/machine.h"
#include "platform/machine/machine_platform.h"
#include "platform/machine/machine_queries.h"
#include "support/run_cvdiag.h"

namespace {

namespace pm = platform::machine;
using platform::Dictionary;
using platform::Value;
using pm::MediaObject;

const std::filesystem::path kDemo = std::filesystem::path(CVDIAG_SOURCE_DIR) / "demo" / "machine";

std::string readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

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

std::vector<std::string> texts(const Value* v) {
  std::vector<std::string> out;
  if (v && v->array())
    for (const Value& item : *v->array())
      if (item.string()) out.push_back(*item.string());
  return out;
}

std::string firstRole(const MediaObject& m) {
  auto roles = texts(platform::lookup(*m.io, "Role"));
  return roles.empty() ? std::string() : roles.front();
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
  std::optional<Value> plist(std::string_view macPath) const {
    auto parsed = demo.propertyLists->propertyListWithData(
        platform::Bytes::fromString(readFile(machine->hostPath(macPath))), 0);
    return parsed ? std::optional<Value>(*parsed) : std::nullopt;
  }
  const MediaObject& media(std::string_view bsdName) const {
    auto index = pm::mediaIndexByBSDName(*machine, bsdName);
    if (!index) throw std::runtime_error("no media object " + std::string(bsdName));
    return machine->media[*index];
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

TEST_F(DemoMachineTest, DiskutilRecordingsAgreeWithTheDisks) {
  std::set<std::string> bsdNames, wholeNames;
  for (const MediaObject& m : machine->media) {
    bsdNames.insert(*m.bsdName());
    if (flag(*m.da, "DAMediaWhole")) wholeNames.insert(*m.bsdName());
  }
  auto list = plist("/usr/sbin/diskutil.d/list.plist");
  ASSERT_TRUE(list && list->dictionary());
  auto all = texts(platform::lookup(*list->dictionary(), "AllDisks"));
  auto whole = texts(platform::lookup(*list->dictionary(), "WholeDisks"));
  EXPECT_EQ(std::set<std::string>(all.begin(), all.end()), bsdNames);
  EXPECT_EQ(std::set<std::string>(whole.begin(), whole.end()), wholeNames);

  for (const std::string& bsd : all) {
    auto info = plist("/usr/sbin/diskutil.d/info/" + bsd + ".plist");
    ASSERT_TRUE(info && info->dictionary()) << bsd;
    const Dictionary& d = *info->dictionary();
    const MediaObject& m = media(bsd);
    EXPECT_EQ(text(d, "DeviceIdentifier") + text(d, "DeviceNode"), bsd + "/dev/" + bsd);
    EXPECT_EQ(text(d, "VolumeUUID"), uuidText(*m.da, "DAVolumeUUID")) << bsd;
    EXPECT_EQ(text(d, "VolumeName"), text(*m.da, "DAVolumeName")) << bsd;
    EXPECT_EQ(text(d, "MountPoint"), m.mountPath().value_or("")) << bsd;
  }

  // Every member of a recorded volume group is that disk, in that group.
  auto groups = plist("/usr/sbin/diskutil.d/apfs-listVolumeGroups.plist");
  ASSERT_TRUE(groups && groups->dictionary());
  const Value* containers = platform::lookup(*groups->dictionary(), "Containers");
  ASSERT_TRUE(containers && containers->array());
  for (const Value& container : *containers->array())
    for (const Value& group : *platform::lookup(*container.dictionary(), "VolumeGroups")->array())
      for (const Value& v : *platform::lookup(*group.dictionary(), "Volumes")->array()) {
        const MediaObject& m = media(text(*v.dictionary(), "DeviceIdentifier"));
        EXPECT_EQ(text(*group.dictionary(), "APFSVolumeGroupUUID"), text(*m.io, "VolGroupUUID"));
        EXPECT_EQ(text(*v.dictionary(), "DiskUUID"), uuidText(*m.da, "DAVolumeUUID"));
        EXPECT_EQ(text(*v.dictionary(), "Role"), firstRole(m));
      }
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
      {diskutil, {"list", "-plist"}, 0, readFile(kDemo / "usr/sbin/diskutil.d/list.plist")},
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

// Every registry key is canonical GUID text, and every blob either reads as
// a bookmark with every value the report asks of it, or not at all.
TEST_F(DemoMachineTest, RegistryEntriesAreWellFormed) {
  ASSERT_TRUE(demo.fileManager->fileExistsAtPath("/Users/ada/Library/Preferences/com.tamarlin.Corvane.plist"));
  auto defaults = demo.userDefaults->initWithSuiteName("com.tamarlin.Corvane");
  ASSERT_TRUE(defaults);
  auto registry = defaults->dictionaryForKey("CVDiskKnownVolumes");
  ASSERT_TRUE(registry);
  const std::vector<std::string> keys{"NSURLVolumeNameKey", "NSURLVolumeLocalizedNameKey", "NSURLVolumeUUIDStringKey",
                                      "NSURLVolumeIsEjectableKey", "CVDiskVolume.volumeRealUUIDStringKey"};
  for (const auto& [guid, blob] : *registry) {
    auto parsed = platform::UUID::fromString(guid);
    EXPECT_TRUE(parsed && parsed->uuidString() == guid) << guid << ": keys are canonical upper-case text";
    ASSERT_TRUE(blob.data()) << guid;
    auto values = demo.bookmarks->resourceValues(keys, *blob.data());
    bool stale = true;
    auto resolved = demo.bookmarks->resolvingBookmarkData(*blob.data(), stale);
    ASSERT_EQ(bool(values), bool(resolved)) << guid;
    if (!values) continue;
    EXPECT_TRUE(resolved->isFileURL() && resolved->hasDirectoryPath()) << resolved->absoluteString();
    // One entry remembers no name on purpose: the dump shows it as "no name".
    for (const std::string& key : keys)
      EXPECT_TRUE(platform::lookup(*values, key) || key == "NSURLVolumeNameKey") << guid << " lacks " << key;
  }
}
