// The demo machine that `scripts/demo` runs must stay a loadable, consistent
// Mac: these tests catch a demo folder that drifts from the folder format or
// from itself (a disk in machine.json that diskutil does not know, a mount
// point without its folder, a registry entry for a volume that is gone).

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "platform/value.h"
#include "platform/machine/machine.h"
#include "platform/machine/machine_platform.h"
#include "platform/machine/machine_queries.h"

namespace {

namespace pm = platform::machine;
using platform::Dictionary;
using platform::Value;
using pm::MediaObject;

const std::filesystem::path kDemo = std::filesystem::path(CVDIAG_SOURCE_DIR) / "demo" / "machine";
const std::string kSettings = "/Users/ada/Library/Application Support/Corvane!";

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
    ASSERT_TRUE(demo.propertyLists && demo.fileManager && demo.userDefaults && demo.bookmarks);
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

// Runs a program of the demo through /bin/sh, as a plain POSIX shell would.
std::pair<int, std::string> runUnderSh(const std::string& program, const std::string& arguments) {
  std::string command = "/bin/sh '" + (kDemo / program).string() + "' " + arguments + " 2>/dev/null";
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return {-1, ""};
  std::string out;
  char buffer[4096];
  for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
  int status = pclose(pipe);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out};
}

}  // namespace

TEST_F(DemoMachineTest, DisksAndMountsAreConsistent) {
  EXPECT_EQ(machine->home, "/Users/ada");
  EXPECT_FALSE(machine->bundleIdentifier) << "CVDiag is a bare tool; the demo runs it as one";
  EXPECT_TRUE(machine->failures.empty());
  ASSERT_EQ(machine->media.size(), 19u);
  std::vector<std::string> order;
  std::map<std::string, std::string> mounts;  // mount path -> BSD name
  for (std::size_t i = 0; i < machine->media.size(); ++i) {
    const MediaObject& m = machine->media[i];
    ASSERT_TRUE(m.da && m.io && m.bsdName());
    const std::string bsd = *m.bsdName();
    SCOPED_TRACE(bsd);
    order.push_back(bsd);
    EXPECT_EQ(text(*m.io, "BSD Name"), bsd);
    EXPECT_EQ(flag(*m.io, "Whole"), flag(*m.da, "DAMediaWhole"));
    auto whole = pm::wholeDiskIndex(*machine, i);
    ASSERT_TRUE(whole);
    EXPECT_TRUE(flag(*machine->media[*whole].da, "DAMediaWhole"));
    auto mount = m.mountPath();
    ASSERT_EQ(mount.has_value(), m.volume.has_value()) << "volume facts belong to mounted volumes";
    if (!mount) continue;
    EXPECT_TRUE(mounts.emplace(*mount, bsd).second) << "two volumes at " << *mount;
    EXPECT_TRUE(pm::existsAtMacPath(*machine, *mount)) << *mount;
    const Dictionary& r = m.volume->resources;
    EXPECT_EQ(text(r, "NSURLVolumeNameKey"), text(*m.da, "DAVolumeName"));
    EXPECT_EQ(text(r, "NSURLVolumeUUIDStringKey"), uuidText(*m.da, "DAVolumeUUID"));
    const Value* total = platform::lookup(r, "NSURLVolumeTotalCapacityKey");
    ASSERT_TRUE(total && m.volume->statfs);
    EXPECT_NEAR(static_cast<double>(m.volume->statfs->blocks * m.volume->statfs->bsize),
                static_cast<double>(*total->asInt64()), static_cast<double>(m.volume->statfs->bsize));
  }
  EXPECT_EQ(std::set<std::string>(order.begin(), order.end()).size(), order.size()) << "a disk described twice";
  EXPECT_FALSE(std::is_sorted(order.begin(), order.end())) << "registry order must differ from disk order";
  EXPECT_EQ(mounts.size(), 8u);
  EXPECT_EQ(mounts["/"], "disk1s1s1");
  for (auto [path, bsd] : {std::pair{"/Users/ada/Library", "disk1s1s1"}, {"/System/Volumes/Data/Users", "disk1s2"},
                           {"/Volumes/Backup/Backups.backupdb", "disk2s2"}}) {
    auto holder = pm::volumeIndexHolding(*machine, path);
    EXPECT_EQ(holder ? *machine->media[*holder].bsdName() : "(none)", bsd) << path;
  }
  auto version = plist("/System/Library/CoreServices/SystemVersion.plist");
  ASSERT_TRUE(version && version->dictionary());
  EXPECT_EQ(text(*version->dictionary(), "ProductVersion"), "14.2.1");
}

TEST_F(DemoMachineTest, BootVolumeGroupIsWiredAsOnAMac) {
  const MediaObject& system = media("disk1s1");
  const MediaObject& snapshot = media("disk1s1s1");
  const MediaObject& data = media("disk1s2");
  EXPECT_EQ(text(*media("disk1").da, "DAMediaContent"), "EF57347C-0000-11AA-AA11-00306543ECAC");
  std::multiset<std::string> roles;
  for (const MediaObject& m : machine->media)
    if (text(*m.da, "DAMediaContent") == "41504653-0000-11AA-AA11-00306543ECAC") {
      roles.insert(firstRole(m));
      EXPECT_EQ(text(*m.da, "DAVolumeKind"), "apfs") << *m.bsdName();
      auto whole = pm::wholeDiskIndex(*machine, static_cast<std::size_t>(&m - machine->media.data()));
      EXPECT_TRUE(whole && machine->media[*whole].bsdName() == "disk1") << *m.bsdName();
    }
  // One volume per role; the sealed snapshot has none of its own.
  EXPECT_EQ(roles, (std::multiset<std::string>{"", "Data", "PreBoot", "Recovery", "System", "Update", "VM"}));
  EXPECT_EQ(firstRole(system), "System");
  EXPECT_EQ(firstRole(data), "Data");

  const std::string group = text(*system.io, "VolGroupUUID");
  EXPECT_TRUE(platform::UUID::fromString(group)) << group;
  EXPECT_EQ(text(*data.io, "VolGroupUUID"), group);
  EXPECT_EQ(text(*snapshot.io, "VolGroupUUID"), group);
  EXPECT_NE(text(*media("disk1s3").io, "VolGroupUUID"), group);
  // The System volume is not mounted itself: its sealed snapshot is.
  EXPECT_FALSE(system.mountPath());
  EXPECT_EQ(text(*system.io, "VolGroupMntFromName"), "/dev/disk1s1s1");
  EXPECT_TRUE(pm::existsAtMacPath(*machine, "/dev/disk1s1s1"));
  EXPECT_EQ(uuidText(*snapshot.da, "DAVolumeUUID"), uuidText(*system.da, "DAVolumeUUID"));
  EXPECT_EQ(data.mountPath(), "/System/Volumes/Data");
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
  EXPECT_EQ(all.size(), bsdNames.size());
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
    EXPECT_EQ(platform::lookup(d, "Size")->asInt64(), platform::lookup(*m.da, "DAMediaSize")->asInt64()) << bsd;
  }

  // Every format a mounted demo volume reports is one diskutil knows.
  auto fileSystems = plist("/usr/sbin/diskutil.d/listFileSystems.plist");
  ASSERT_TRUE(fileSystems && fileSystems->array());
  std::set<std::string> known;
  for (const Value& fs : *fileSystems->array()) known.insert(text(*fs.dictionary(), "UserVisibleName"));
  for (const MediaObject& m : machine->media) {
    if (!m.volume) continue;
    EXPECT_TRUE(known.count(text(m.volume->resources, "NSURLVolumeLocalizedFormatDescriptionKey"))) << *m.bsdName();
  }

  auto groups = plist("/usr/sbin/diskutil.d/apfs-listVolumeGroups.plist");
  ASSERT_TRUE(groups && groups->dictionary());
  const Value* containers = platform::lookup(*groups->dictionary(), "Containers");
  ASSERT_TRUE(containers && containers->array() && containers->array()->size() == 1);
  const Value* volumeGroups = platform::lookup(*containers->array()->front().dictionary(), "VolumeGroups");
  ASSERT_TRUE(volumeGroups && volumeGroups->array() && volumeGroups->array()->size() == 1);
  const Dictionary& group = *volumeGroups->array()->front().dictionary();
  const Value* volumes = platform::lookup(group, "Volumes");
  ASSERT_TRUE(volumes && volumes->array() && volumes->array()->size() == 2);
  for (const Value& v : *volumes->array()) {
    const MediaObject& m = media(text(*v.dictionary(), "DeviceIdentifier"));
    EXPECT_EQ(text(group, "APFSVolumeGroupUUID"), text(*m.io, "VolGroupUUID"));
    EXPECT_EQ(text(*v.dictionary(), "DiskUUID"), uuidText(*m.da, "DAVolumeUUID"));
    EXPECT_EQ(text(*v.dictionary(), "Role"), firstRole(m));
  }
}

// The recorded programs answer from their recordings only, under a plain
// POSIX shell; anything else is refused with nothing on standard output.
TEST_F(DemoMachineTest, DiskutilAndTmutilRunUnderAPosixShell) {
  const std::string diskutil = "usr/sbin/diskutil", tmutil = "usr/bin/tmutil";
  for (const std::string& program : {diskutil, tmutil})
    EXPECT_NE(std::filesystem::status(kDemo / program).permissions() & std::filesystem::perms::owner_exec,
              std::filesystem::perms::none) << program;
  auto recorded = [](const char* name) { return readFile(kDemo / "usr/sbin/diskutil.d" / name); };
  const struct {
    std::string program, arguments;
    int status;
    std::string out;
  } cases[] = {
      {diskutil, "info -plist /dev/disk2s2", 0, recorded("info/disk2s2.plist")},
      {diskutil, "list -plist", 0, recorded("list.plist")},
      {diskutil, "apfs listVolumeGroups -plist", 0, recorded("apfs-listVolumeGroups.plist")},
      {diskutil, "listFileSystems -plist", 0, recorded("listFileSystems.plist")},
      {diskutil, "mount disk2s2", 0, "Volume Backup on disk2s2 mounted\n"},
      {diskutil, "mount disk2s3", 1, "Volume on disk2s3 failed to mount\n"},
      {diskutil, "info -plist disk9", 1, ""},
      {diskutil, "info -plist ../../../etc/passwd", 1, ""},
      {diskutil, "info disk2s2", 1, ""},
      {diskutil, "eject disk3", 1, ""},
      {diskutil, "list", 1, ""},
      {diskutil, "", 1, ""},
      {tmutil, "isexcluded /", 0, "[Included]    /\n"},
      {tmutil, "isexcluded /Volumes/USBSTICK/", 0, "[Excluded]    /Volumes/USBSTICK\n"},
      {tmutil, "isexcluded /Volumes/Gone", 1, ""},
      {tmutil, "listlocalsnapshots /Volumes/Backup", 0, "Snapshots for disk /Volumes/Backup:\n"},
      {tmutil, "status", 1, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.program + " " + c.arguments);
    auto [status, out] = runUnderSh(c.program, c.arguments);
    EXPECT_EQ(status, c.status);
    EXPECT_EQ(out, c.out);
  }
  auto [status, out] = runUnderSh(tmutil, "listlocalsnapshots /");
  EXPECT_EQ(status, 0);
  const std::string name = R"(com\.apple\.TimeMachine\.\d{4}-\d{2}-\d{2}-\d{6}(\.local)?\n)";
  EXPECT_TRUE(std::regex_match(out, std::regex("Snapshots for volume group containing disk /:\n(" + name + "){3}")))
      << out;
}

TEST_F(DemoMachineTest, RegistryHoldsEveryCaseItIsMeantToShow) {
  // The bare tool finds Corvane's domain by its preferences file.
  ASSERT_TRUE(demo.fileManager->fileExistsAtPath("/Users/ada/Library/Preferences/com.tamarlin.Corvane.plist"));
  auto defaults = demo.userDefaults->initWithSuiteName("com.tamarlin.Corvane");
  ASSERT_TRUE(defaults);
  auto registry = defaults->dictionaryForKey("CVDiskKnownVolumes");
  ASSERT_TRUE(registry);
  EXPECT_TRUE(defaults->objectForKey("SUEnableAutomaticChecks")) << "other preferences stand beside the registry";

  std::set<std::string> attached;
  for (const MediaObject& m : machine->media) attached.insert(uuidText(*m.da, "DAVolumeUUID"));
  std::map<std::string, int> guidsPerVolume;
  int unreadable = 0, detached = 0, unnamed = 0;
  for (const auto& [guid, blob] : *registry) {
    auto parsed = platform::UUID::fromString(guid);
    EXPECT_TRUE(parsed && parsed->uuidString() == guid) << guid << ": keys are canonical upper-case text";
    ASSERT_TRUE(blob.data()) << guid;
    // Read as the registry reads it: through the platform's bookmarks.
    const std::vector<std::string> keys{"NSURLVolumeNameKey", "NSURLVolumeLocalizedNameKey", "NSURLVolumeUUIDStringKey",
                                        "NSURLVolumeIsEjectableKey", "CVDiskVolume.volumeRealUUIDStringKey"};
    auto values = demo.bookmarks->resourceValues(keys, *blob.data());
    bool stale = true;
    auto resolved = demo.bookmarks->resolvingBookmarkData(*blob.data(), stale);
    ASSERT_EQ(bool(values), bool(resolved)) << guid;
    if (!values) {
      ++unreadable;
      continue;
    }
    EXPECT_TRUE(resolved->isFileURL() && resolved->hasDirectoryPath()) << resolved->absoluteString();
    // One entry remembers no name; it shows the registry's "no name".
    for (const std::string& key : keys) {
      EXPECT_TRUE(platform::lookup(*values, key) || key == "NSURLVolumeNameKey") << guid << " lacks " << key;
    }
    unnamed += !platform::lookup(*values, "NSURLVolumeNameKey");
    const std::string volume = text(*values, "NSURLVolumeUUIDStringKey");
    ++guidsPerVolume[volume];
    detached += !attached.count(volume);
  }
  EXPECT_EQ(registry->size(), 13u);
  EXPECT_EQ(unreadable, 1);
  EXPECT_EQ(unnamed, 1);
  EXPECT_EQ(detached, 5) << "the off-site disk (twice), the orphan, the long and the accented names are not attached";
  // The backup volume stands under three GUIDs, the off-site disk under two,
  // every other under one; the boot group is registered by its Data volume.
  const std::string backup = uuidText(*media("disk2s2").da, "DAVolumeUUID");
  for (const auto& [volume, count] : guidsPerVolume) EXPECT_LE(count, volume == backup ? 3 : 2) << volume;
  EXPECT_EQ(guidsPerVolume[backup], 3);
  EXPECT_EQ(guidsPerVolume.count(backup), 1u);
  EXPECT_EQ(guidsPerVolume.count(uuidText(*media("disk1s2").da, "DAVolumeUUID")), 1u);
  EXPECT_EQ(guidsPerVolume.count(uuidText(*media("disk1s1").da, "DAVolumeUUID")), 0u);
}

TEST_F(DemoMachineTest, SettingsPackagesAndTheirDatesAreInPlace) {
  auto support = demo.fileManager->NSSearchPathForDirectoriesInDomains(
      platform::SearchPathDirectory::NSApplicationSupportDirectory, platform::SearchPathDomainMask::NSUserDomainMask,
      true);
  ASSERT_FALSE(support.empty());
  EXPECT_EQ(support.front() + "/Corvane!", kSettings);
  auto subpaths = demo.fileManager->subpathsOfDirectoryAtPath(kSettings);
  ASSERT_TRUE(subpaths);
  std::vector<std::string> packages, unreadable;
  for (const std::string& sub : *subpaths)
    if (sub.size() > 5 && sub.compare(sub.size() - 5, 5, ".cvsp") == 0) {
      packages.push_back(sub);
      auto settings = plist(kSettings + "/" + sub + "/Session Settings.cvss");
      if (!settings || !settings->dictionary()) unreadable.push_back(sub);
    }
  EXPECT_EQ(packages, (std::vector<std::string>{"Archive/Photos 2023.cvsp", "Broken.cvsp", "Incomplete.cvsp",
                                                "Migration.cvsp", "Nightly Backup.cvsp", "Old.cvsp",
                                                "Projects to Stick.cvsp", "Quick Copy.cvsp"}));
  EXPECT_EQ(unreadable, (std::vector<std::string>{"Broken.cvsp", "Old.cvsp"}))
      << "Broken.cvsp is cut off and Old.cvsp has no settings file";

  // Every file with recorded dates exists, so the dates are what the report shows.
  EXPECT_FALSE(machine->files.empty());
  for (const auto& [path, facts] : machine->files) {
    EXPECT_TRUE(pm::existsAtMacPath(*machine, path)) << path;
    ASSERT_TRUE(facts.created && facts.modified) << path;
    EXPECT_LE(facts.created->secondsSince1970, facts.modified->secondsSince1970) << path;
  }
}
