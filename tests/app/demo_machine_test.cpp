// The demo machine that `scripts/demo` runs must stay a loadable, consistent
// Mac: these tests catch a demo folder that drifts from the folder format or
// from itself (a disk in machine.json that diskutil does not know, a mount
// point without its folder, a registry entry for a volume that is gone).

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "platform/Value.h"
#include "platform/machine/Machine.h"
#include "platform/machine/MachinePlatform.h"
#include "platform/machine/MachineQueries.h"
#include "tools/TaskShell.h"
#include "volumes/cv_disk_volume.h"

namespace {

using platform::Dictionary;
using platform::Value;
using platform::machine::Machine;
using platform::machine::MediaObject;

const std::filesystem::path kDemo = std::filesystem::path(CVDIAG_SOURCE_DIR) / "demo" / "machine";
constexpr std::string_view kSettings = "/Users/ada/Library/Application Support/Corvane!";
constexpr std::string_view kRegistry = "/Users/ada/Library/Preferences/com.tamarlin.Corvane.plist";
constexpr std::string_view kApfsVolumeContent = "41504653-0000-11AA-AA11-00306543ECAC";
constexpr std::string_view kApfsContainerContent = "EF57347C-0000-11AA-AA11-00306543ECAC";

std::shared_ptr<const Machine> loadDemo() {
  auto loaded = platform::machine::loadMachine(kDemo);
  if (auto* error = std::get_if<std::string>(&loaded)) {
    ADD_FAILURE() << *error;
    return nullptr;
  }
  return std::get<std::shared_ptr<const Machine>>(loaded);
}

std::string readFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

// The demo folder and the platform over it. Every property list below is
// read by that platform's reader, as the tool reads them.
struct Demo {
  std::shared_ptr<const Machine> machine;
  platform::Platform platform;

  std::optional<Value> parse(std::string_view bytes) const {
    auto parsed = platform.propertyLists->propertyListWithData(platform::Bytes::fromString(bytes), 0);
    if (!parsed) return std::nullopt;
    return *parsed;
  }
  std::optional<Value> readPlist(std::string_view macPath) const {
    auto host = machine->hostPath(macPath);
    if (!std::filesystem::is_regular_file(host)) return std::nullopt;
    return parse(readFile(host));
  }
};

std::optional<Demo> openDemo() {
  auto machine = loadDemo();
  if (!machine) return std::nullopt;
  Demo demo{machine, platform::machine::makeMachinePlatform(machine, {})};
  if (!demo.platform.propertyLists) {
    ADD_FAILURE() << "the machine platform has no property-list reader";
    return std::nullopt;
  }
  return demo;
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
  if (v == nullptr || v->array() == nullptr) return out;
  for (const Value& item : *v->array())
    if (item.string()) out.push_back(*item.string());
  return out;
}

const MediaObject& media(const Machine& machine, std::string_view bsdName) {
  auto index = platform::machine::mediaIndexByBSDName(machine, bsdName);
  if (!index) throw std::runtime_error("no media object " + std::string(bsdName));
  return machine.media[*index];
}

std::string firstRole(const MediaObject& m) {
  auto roles = texts(platform::lookup(*m.io, "Role"));
  return roles.empty() ? std::string() : roles.front();
}

struct ProgramRun {
  int status = -1;
  std::string out;
};

// Runs a program of the demo machine through /bin/sh, as a plain POSIX shell
// would, and collects its standard output.
ProgramRun runDemoProgram(std::string_view macPath, const std::string& arguments) {
  std::string command = "/bin/sh '" + (kDemo / std::string(macPath).substr(1)).string() + "' " +
                        arguments + " 2>/dev/null";
  ProgramRun run;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return run;
  char buffer[4096];
  std::size_t n = 0;
  while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) run.out.append(buffer, n);
  int status = pclose(pipe);
  run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return run;
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) out.push_back(line);
  return out;
}

}  // namespace

TEST(DemoMachineTest, LoadsWithEveryDiskDescribedOnce) {
  auto demo = openDemo();
  ASSERT_TRUE(demo);
  const auto& machine = demo->machine;
  EXPECT_EQ(machine->home, "/Users/ada");
  EXPECT_FALSE(machine->bundleIdentifier) << "CVDiag is a bare tool; the demo runs it as one";
  EXPECT_TRUE(machine->failures.empty());
  ASSERT_EQ(machine->media.size(), 19u);

  std::set<std::string> names;
  for (const MediaObject& m : machine->media) {
    ASSERT_TRUE(m.da && m.io) << "every demo disk has a description and registry properties";
    auto bsd = m.bsdName();
    ASSERT_TRUE(bsd);
    EXPECT_TRUE(names.insert(*bsd).second) << *bsd << " is described twice";
    EXPECT_EQ(text(*m.io, "BSD Name"), *bsd);
    EXPECT_EQ(flag(*m.io, "Whole"), flag(*m.da, "DAMediaWhole")) << *bsd;
    EXPECT_TRUE(platform::lookup(*m.da, "DAMediaSize") != nullptr) << *bsd;
    EXPECT_FALSE(uuidText(*m.da, "DAMediaUUID").empty()) << *bsd;
    // A slice belongs to a whole disk of this machine.
    auto index = static_cast<std::size_t>(&m - machine->media.data());
    auto whole = platform::machine::wholeDiskIndex(*machine, index);
    ASSERT_TRUE(whole) << *bsd;
    EXPECT_TRUE(flag(*machine->media[*whole].da, "DAMediaWhole")) << *bsd;
  }
  // IOKit's order is not the sorted order; the demo keeps it that way so
  // that sorting by disk order shows in the reports.
  std::vector<std::string> order;
  for (const MediaObject& m : machine->media) order.push_back(*m.bsdName());
  EXPECT_FALSE(std::is_sorted(order.begin(), order.end()));
}

TEST(DemoMachineTest, EveryMountHasItsFolderAndItsVolumeFacts) {
  auto demo = openDemo();
  ASSERT_TRUE(demo);
  const auto& machine = demo->machine;
  std::map<std::string, std::string> mounts;  // mount path -> BSD name
  for (const MediaObject& m : machine->media) {
    auto mount = m.mountPath();
    if (!mount) {
      EXPECT_FALSE(m.volume) << *m.bsdName() << " has volume facts but no mount";
      continue;
    }
    const std::string bsd = *m.bsdName();
    EXPECT_TRUE(mounts.emplace(*mount, bsd).second) << "two volumes at " << *mount;
    EXPECT_TRUE(platform::machine::existsAtMacPath(*machine, *mount)) << *mount;
    EXPECT_TRUE(flag(*m.da, "DAVolumeMountable")) << bsd;
    ASSERT_TRUE(m.volume) << bsd;
    const Dictionary& r = m.volume->resources;
    EXPECT_EQ(text(r, "NSURLVolumeNameKey"), text(*m.da, "DAVolumeName")) << bsd;
    EXPECT_EQ(text(r, "NSURLVolumeUUIDStringKey"), uuidText(*m.da, "DAVolumeUUID")) << bsd;
    EXPECT_FALSE(text(r, "NSURLVolumeLocalizedFormatDescriptionKey").empty()) << bsd;
    const Value* total = platform::lookup(r, "NSURLVolumeTotalCapacityKey");
    const Value* available = platform::lookup(r, "NSURLVolumeAvailableCapacityKey");
    ASSERT_TRUE(total && available) << bsd;
    EXPECT_LT(*available->asInt64(), *total->asInt64()) << bsd;
    ASSERT_TRUE(m.volume->statfs) << bsd;
    // statfs and the resource values describe the same file system.
    const auto& s = *m.volume->statfs;
    EXPECT_NEAR(static_cast<double>(s.blocks * s.bsize), static_cast<double>(*total->asInt64()),
                static_cast<double>(s.bsize))
        << bsd;
    EXPECT_TRUE(m.volume->fileCount && m.volume->directoryCount && m.volume->device) << bsd;
  }
  EXPECT_EQ(mounts.size(), 8u);

  // The running system is the sealed snapshot of the System volume, and
  // everything not on another volume is on it.
  EXPECT_EQ(mounts["/"], "disk1s1s1");
  auto holder = [&](std::string_view path) {
    auto i = platform::machine::volumeIndexHolding(*machine, path);
    return i ? *machine->media[*i].bsdName() : std::string("(none)");
  };
  EXPECT_EQ(holder("/Users/ada/Library/Preferences"), "disk1s1s1");
  EXPECT_EQ(holder("/System/Volumes/Data/Users"), "disk1s2");
  EXPECT_EQ(holder("/Volumes/Backup/Backups.backupdb"), "disk2s2");
  auto version = demo->readPlist("/System/Library/CoreServices/SystemVersion.plist");
  ASSERT_TRUE(version && version->dictionary());
  EXPECT_EQ(text(*version->dictionary(), "ProductVersion"), "14.2.1");
  EXPECT_EQ(text(*version->dictionary(), "ProductBuildVersion"), "23C71");
}

TEST(DemoMachineTest, BootVolumeGroupIsWiredAsOnAMac) {
  auto demo = openDemo();
  ASSERT_TRUE(demo);
  const auto& machine = demo->machine;
  const MediaObject& system = media(*machine, "disk1s1");
  const MediaObject& snapshot = media(*machine, "disk1s1s1");
  const MediaObject& data = media(*machine, "disk1s2");
  const MediaObject& container = media(*machine, "disk1");

  EXPECT_EQ(text(*container.da, "DAMediaContent"), kApfsContainerContent);
  EXPECT_EQ(firstRole(system), "System");
  EXPECT_EQ(firstRole(data), "Data");
  std::set<std::string> roles;
  for (const MediaObject& m : machine->media) {
    if (text(*m.da, "DAMediaContent") != kApfsVolumeContent) continue;
    roles.insert(firstRole(m));
    EXPECT_EQ(text(*m.da, "DAVolumeKind"), "apfs") << *m.bsdName();
    auto whole = platform::machine::wholeDiskIndex(*machine, static_cast<std::size_t>(&m - machine->media.data()));
    ASSERT_TRUE(whole);
    EXPECT_EQ(*machine->media[*whole].bsdName(), "disk1") << *m.bsdName();
  }
  for (const char* role : {"System", "Data", "PreBoot", "Recovery", "VM"})
    EXPECT_EQ(roles.count(role), 1u) << role;

  const std::string group = text(*system.io, "VolGroupUUID");
  EXPECT_TRUE(platform::UUID::fromString(group));
  EXPECT_NE(group, "00000000-0000-0000-0000-000000000000");
  EXPECT_EQ(text(*data.io, "VolGroupUUID"), group);
  EXPECT_EQ(text(*snapshot.io, "VolGroupUUID"), group);
  EXPECT_NE(text(*media(*machine, "disk1s3").io, "VolGroupUUID"), group);

  // The System volume is not mounted itself: its snapshot, slice 1 of it, is.
  EXPECT_FALSE(system.mountPath());
  EXPECT_EQ(text(*system.io, "VolGroupMntFromName"), "/dev/disk1s1s1");
  EXPECT_TRUE(platform::machine::existsAtMacPath(*machine, "/dev/disk1s1s1"));
  EXPECT_EQ(uuidText(*snapshot.da, "DAVolumeUUID"), uuidText(*system.da, "DAVolumeUUID"));
  EXPECT_EQ(data.mountPath(), "/System/Volumes/Data");
  EXPECT_EQ(text(*data.da, "DAVolumeName"), "Macintosh HD - Data");
}

TEST(DemoMachineTest, DiskutilRecordingsAgreeWithTheDisks) {
  auto demo = openDemo();
  ASSERT_TRUE(demo);
  const auto& machine = demo->machine;
  std::set<std::string> bsdNames, wholeNames;
  for (const MediaObject& m : machine->media) {
    bsdNames.insert(*m.bsdName());
    if (flag(*m.da, "DAMediaWhole")) wholeNames.insert(*m.bsdName());
  }

  auto list = demo->readPlist("/usr/sbin/diskutil.d/list.plist");
  ASSERT_TRUE(list && list->dictionary());
  auto allDisks = texts(platform::lookup(*list->dictionary(), "AllDisks"));
  EXPECT_EQ(std::set<std::string>(allDisks.begin(), allDisks.end()), bsdNames);
  EXPECT_EQ(allDisks.size(), bsdNames.size());
  auto wholeDisks = texts(platform::lookup(*list->dictionary(), "WholeDisks"));
  EXPECT_EQ(std::set<std::string>(wholeDisks.begin(), wholeDisks.end()), wholeNames);
  const Value* partitions = platform::lookup(*list->dictionary(), "AllDisksAndPartitions");
  ASSERT_TRUE(partitions && partitions->array());
  EXPECT_EQ(partitions->array()->size(), wholeNames.size());
  EXPECT_TRUE(platform::lookup(*list->dictionary(), "VolumesFromDisks"));

  for (const std::string& bsd : allDisks) {
    auto info = demo->readPlist("/usr/sbin/diskutil.d/info/" + bsd + ".plist");
    ASSERT_TRUE(info && info->dictionary()) << bsd;
    const Dictionary& d = *info->dictionary();
    const MediaObject& m = media(*machine, bsd);
    EXPECT_EQ(text(d, "DeviceIdentifier"), bsd);
    EXPECT_EQ(text(d, "DeviceNode"), "/dev/" + bsd);
    EXPECT_EQ(text(d, "VolumeUUID"), uuidText(*m.da, "DAVolumeUUID")) << bsd;
    EXPECT_EQ(text(d, "VolumeName"), text(*m.da, "DAVolumeName")) << bsd;
    EXPECT_EQ(text(d, "MountPoint"), m.mountPath().value_or("")) << bsd;
    EXPECT_EQ(flag(d, "WholeDisk"), flag(*m.da, "DAMediaWhole")) << bsd;
    EXPECT_EQ(platform::lookup(d, "Size")->asInt64(), platform::lookup(*m.da, "DAMediaSize")->asInt64())
        << bsd;
  }

  auto fileSystems = demo->readPlist("/usr/sbin/diskutil.d/listFileSystems.plist");
  ASSERT_TRUE(fileSystems && fileSystems->array());
  std::set<std::string> visibleNames;
  for (const Value& fs : *fileSystems->array()) {
    ASSERT_TRUE(fs.dictionary());
    EXPECT_FALSE(text(*fs.dictionary(), "Personality").empty());
    visibleNames.insert(text(*fs.dictionary(), "UserVisibleName"));
  }
  // Every format that a mounted demo volume reports is one diskutil knows.
  for (const MediaObject& m : machine->media) {
    if (!m.volume) continue;
    EXPECT_EQ(visibleNames.count(text(m.volume->resources, "NSURLVolumeLocalizedFormatDescriptionKey")), 1u)
        << *m.bsdName();
  }

  auto groups = demo->readPlist("/usr/sbin/diskutil.d/apfs-listVolumeGroups.plist");
  ASSERT_TRUE(groups && groups->dictionary());
  const Value* containers = platform::lookup(*groups->dictionary(), "Containers");
  ASSERT_TRUE(containers && containers->array() && containers->array()->size() == 1);
  const Dictionary& container = *containers->array()->front().dictionary();
  EXPECT_EQ(text(container, "ContainerReference"), "disk1");
  const Value* volumeGroups = platform::lookup(container, "VolumeGroups");
  ASSERT_TRUE(volumeGroups && volumeGroups->array() && volumeGroups->array()->size() == 1);
  const Dictionary& group = *volumeGroups->array()->front().dictionary();
  const Value* volumes = platform::lookup(group, "Volumes");
  ASSERT_TRUE(volumes && volumes->array());
  EXPECT_EQ(volumes->array()->size(), 2u);
  for (const Value& v : *volumes->array()) {
    const Dictionary& volume = *v.dictionary();
    const MediaObject& m = media(*machine, text(volume, "DeviceIdentifier"));
    EXPECT_EQ(text(group, "APFSVolumeGroupUUID"), text(*m.io, "VolGroupUUID"));
    EXPECT_EQ(text(volume, "DiskUUID"), uuidText(*m.da, "DAVolumeUUID"));
    EXPECT_EQ(text(volume, "Role"), firstRole(m));
  }
}

TEST(DemoMachineTest, DiskutilAndTmutilRunUnderAPosixShell) {
  for (const char* program : {"usr/sbin/diskutil", "usr/bin/tmutil"}) {
    struct stat st {};
    ASSERT_EQ(stat((kDemo / program).c_str(), &st), 0) << program;
    EXPECT_TRUE(st.st_mode & S_IXUSR) << program << " is not executable";
  }

  ProgramRun info = runDemoProgram("/usr/sbin/diskutil", "info -plist /dev/disk2s2");
  EXPECT_EQ(info.status, 0);
  EXPECT_EQ(info.out, readFile(kDemo / "usr/sbin/diskutil.d/info/disk2s2.plist"));
  ProgramRun list = runDemoProgram("/usr/sbin/diskutil", "list -plist");
  EXPECT_EQ(list.status, 0);
  EXPECT_EQ(list.out, readFile(kDemo / "usr/sbin/diskutil.d/list.plist"));
  EXPECT_EQ(runDemoProgram("/usr/sbin/diskutil", "apfs listVolumeGroups -plist").status, 0);
  EXPECT_EQ(runDemoProgram("/usr/sbin/diskutil", "listFileSystems -plist").status, 0);

  // Mounting: a mounted volume reports "mounted", an unmounted one fails.
  ProgramRun mounted = runDemoProgram("/usr/sbin/diskutil", "mount disk2s2");
  EXPECT_EQ(mounted.status, 0);
  EXPECT_EQ(mounted.out, "Volume Backup on disk2s2 mounted\n");
  ProgramRun notMounted = runDemoProgram("/usr/sbin/diskutil", "mount disk2s3");
  EXPECT_NE(notMounted.status, 0);
  EXPECT_EQ(notMounted.out.find("mounted"), std::string::npos);

  // What the recording does not hold is refused, and never read from
  // outside the recording.
  for (const char* refused : {"info -plist disk9", "info -plist ../../../etc/passwd", "info disk2s2",
                              "eject disk3", "list", ""}) {
    ProgramRun r = runDemoProgram("/usr/sbin/diskutil", refused);
    EXPECT_NE(r.status, 0) << refused;
    EXPECT_EQ(r.out, "") << refused;
  }

  ProgramRun included = runDemoProgram("/usr/bin/tmutil", "isexcluded /");
  EXPECT_EQ(included.status, 0);
  EXPECT_EQ(included.out, "[Included]    /\n");
  ProgramRun excluded = runDemoProgram("/usr/bin/tmutil", "isexcluded /Volumes/USBSTICK/");
  EXPECT_EQ(excluded.out, "[Excluded]    /Volumes/USBSTICK\n");
  EXPECT_NE(runDemoProgram("/usr/bin/tmutil", "isexcluded /Volumes/Gone").status, 0);

  ProgramRun snapshots = runDemoProgram("/usr/bin/tmutil", "listlocalsnapshots /");
  EXPECT_EQ(snapshots.status, 0);
  const std::regex name(R"(^com\.apple\.TimeMachine\.(\d{4}-\d{2}-\d{2}-\d{6})(\.local)?$)");
  auto snapshotLines = lines(snapshots.out);
  ASSERT_EQ(snapshotLines.size(), 4u);
  EXPECT_EQ(snapshotLines[0], "Snapshots for volume group containing disk /:");
  for (std::size_t i = 1; i < snapshotLines.size(); ++i)
    EXPECT_TRUE(std::regex_match(snapshotLines[i], name)) << snapshotLines[i];
  EXPECT_EQ(lines(runDemoProgram("/usr/bin/tmutil", "listlocalsnapshots /Volumes/Backup").out).size(), 1u);
  EXPECT_NE(runDemoProgram("/usr/bin/tmutil", "status").status, 0);
}

TEST(DemoMachineTest, RegistryHoldsEveryCaseItIsMeantToShow) {
  auto demo = openDemo();
  ASSERT_TRUE(demo);
  const auto& machine = demo->machine;
  ASSERT_TRUE(demo->platform.bookmarks);
  // The bare tool finds Corvane's domain by its preferences file.
  ASSERT_TRUE(demo->platform.fileManager->fileExistsAtPath(kRegistry));
  ASSERT_TRUE(demo->platform.userDefaults);
  auto defaults = demo->platform.userDefaults->initWithSuiteName("com.tamarlin.Corvane");
  ASSERT_TRUE(defaults);
  auto registry = defaults->dictionaryForKey("CVDiskKnownVolumes");
  ASSERT_TRUE(registry);
  const Value known(*registry);
  EXPECT_TRUE(defaults->objectForKey("SUEnableAutomaticChecks")) << "other preferences stand beside the registry";

  std::map<std::string, std::string> attached;  // volume UUID -> BSD name
  for (const MediaObject& m : machine->media)
    if (auto uuid = uuidText(*m.da, "DAVolumeUUID"); !uuid.empty()) attached.emplace(uuid, *m.bsdName());

  std::map<std::string, int> guidsPerVolume;
  int unreadable = 0, detached = 0;
  for (const auto& [guid, blob] : *known.dictionary()) {
    auto parsedGuid = platform::UUID::fromString(guid);
    ASSERT_TRUE(parsedGuid);
    EXPECT_EQ(parsedGuid->uuidString(), guid) << "registry keys are canonical upper-case text";
    ASSERT_TRUE(blob.data()) << guid << ": every registry value is data";
    // Read as the registry reads it: through the platform's bookmarks.
    const std::vector<std::string> keys{"NSURLVolumeNameKey", "NSURLVolumeLocalizedNameKey",
                                        "NSURLVolumeUUIDStringKey", "NSURLVolumeIsEjectableKey",
                                        "CVDiskVolume.volumeRealUUIDStringKey"};
    auto values = demo->platform.bookmarks->resourceValues(keys, *blob.data());
    bool stale = true;
    auto resolved = demo->platform.bookmarks->resolvingBookmarkData(*blob.data(), stale);
    if (!values) {
      ++unreadable;
      EXPECT_FALSE(resolved) << guid;
      continue;
    }
    ASSERT_TRUE(resolved) << guid;
    EXPECT_TRUE(resolved->isFileURL() && resolved->hasDirectoryPath()) << resolved->absoluteString();
    const Dictionary& b = *values;
    for (const std::string& key : keys) EXPECT_TRUE(platform::lookup(b, key)) << guid << " lacks " << key;
    const std::string volume = text(b, "NSURLVolumeUUIDStringKey");
    ++guidsPerVolume[volume];
    if (!attached.count(volume)) ++detached;
  }
  EXPECT_EQ(known.dictionary()->size(), 9u);
  EXPECT_EQ(unreadable, 1);
  EXPECT_EQ(detached, 2) << "the off-site disk and the orphan are not attached";
  // The backup volume stands under two GUIDs, every other under one.
  const std::string backup = uuidText(*media(*machine, "disk2s2").da, "DAVolumeUUID");
  EXPECT_EQ(guidsPerVolume[backup], 2);
  for (const auto& [volume, count] : guidsPerVolume) {
    if (volume == backup) continue;
    EXPECT_EQ(count, 1) << volume;
  }
  // The boot group is registered by its Data volume.
  EXPECT_EQ(guidsPerVolume.count(uuidText(*media(*machine, "disk1s2").da, "DAVolumeUUID")), 1u);
  EXPECT_EQ(guidsPerVolume.count(uuidText(*media(*machine, "disk1s1").da, "DAVolumeUUID")), 0u);
}

TEST(DemoMachineTest, SettingsPackagesAndTheirDatesAreInPlace) {
  auto demo = openDemo();
  ASSERT_TRUE(demo);
  const auto& machine = demo->machine;
  const auto folder = machine->hostPath(kSettings);
  ASSERT_TRUE(std::filesystem::is_directory(folder));
  std::set<std::string> packages, readable;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    std::string relative = entry.path().lexically_relative(folder).generic_string();
    if (relative.size() > 5 && relative.compare(relative.size() - 5, 5, ".cvsp") == 0) {
      packages.insert(relative);
      auto settings = demo->readPlist(std::string(kSettings) + "/" + relative + "/Session Settings.cvss");
      if (settings && settings->dictionary()) readable.insert(relative);
    }
  }
  EXPECT_EQ(packages, (std::set<std::string>{"Archive/Photos 2023.cvsp", "Broken.cvsp", "Incomplete.cvsp",
                                              "Migration.cvsp", "Nightly Backup.cvsp", "Old.cvsp",
                                              "Projects to Stick.cvsp", "Quick Copy.cvsp"}));
  EXPECT_EQ(readable.size(), 6u) << "Broken.cvsp is cut off and Old.cvsp has no settings file";
  EXPECT_EQ(readable.count("Broken.cvsp"), 0u);

  // Every file with recorded dates exists, so the dates are what the report shows.
  EXPECT_FALSE(machine->files.empty());
  for (const auto& [path, facts] : machine->files) {
    EXPECT_TRUE(platform::machine::existsAtMacPath(*machine, path)) << path;
    EXPECT_TRUE(facts.created && facts.modified) << path;
    EXPECT_LE(facts.created->secondsSince1970, facts.modified->secondsSince1970) << path;
  }
}

// What the report code will see of the demo through the platform's own
// interfaces: every disk through IOKit and Disk Arbitration, the running
// system at "/", the image behind the attached disk image, the settings
// packages through the file manager, and the recorded file dates.
TEST(DemoMachineTest, PlatformInterfacesSeeTheDemoMac) {
  auto demo = openDemo();
  ASSERT_TRUE(demo);
  const platform::Platform& p = demo->platform;
  ASSERT_TRUE(p.ioKit && p.diskArbitration && p.fileManager && p.urlResources);

  auto iterator = p.ioKit->IOServiceGetMatchingServices(p.ioKit->IOServiceMatching("IOMedia"));
  ASSERT_TRUE(iterator);
  auto session = p.diskArbitration->DASessionCreate();
  ASSERT_TRUE(session);
  std::vector<std::string> seen;
  while (auto entry = iterator->next()) {
    auto disk = p.diskArbitration->DADiskCreateFromIOMedia(session, entry);
    ASSERT_TRUE(disk);
    auto description = p.diskArbitration->DADiskCopyDescription(disk);
    ASSERT_TRUE(description);
    seen.push_back(text(*description, "DAMediaBSDName"));
  }
  EXPECT_EQ(seen.size(), 19u);
  EXPECT_EQ(seen.front(), "disk0");

  auto root = p.diskArbitration->DADiskCreateFromVolumePath(session, platform::URL::fileURLWithPath("/", true));
  ASSERT_TRUE(root);
  EXPECT_EQ(text(*p.diskArbitration->DADiskCopyDescription(root), "DAMediaBSDName"), "disk1s1s1");
  auto container = p.diskArbitration->DADiskCopyWholeDisk(root);
  ASSERT_TRUE(container);
  EXPECT_EQ(text(*p.diskArbitration->DADiskCopyDescription(container), "DAMediaBSDName"), "disk1");
  EXPECT_TRUE(p.fileManager->fileExistsAtPath("/dev/disk1s1s1"));

  auto image = p.diskArbitration->DADiskCreateFromBSDName(session, "/dev/disk4s1");
  ASSERT_TRUE(image);
  auto imageURL = p.ioKit->IORegistryEntrySearchCFProperty(
      p.diskArbitration->DADiskCopyIOMedia(image), platform::kIOServicePlane, "DiskImageURL",
      platform::kIORegistryIterateRecursively | platform::kIORegistryIterateParents);
  ASSERT_TRUE(imageURL && imageURL->string());
  EXPECT_EQ(*imageURL->string(), "file:///Users/ada/Disk%20Images/Projects.sparseimage");

  auto support = p.fileManager->NSSearchPathForDirectoriesInDomains(
      platform::SearchPathDirectory::NSApplicationSupportDirectory, platform::SearchPathDomainMask::NSUserDomainMask,
      true);
  ASSERT_FALSE(support.empty());
  const std::string folder = support.front() + "/Corvane!";
  EXPECT_EQ(folder, kSettings);
  auto subpaths = p.fileManager->subpathsOfDirectoryAtPath(folder);
  ASSERT_TRUE(subpaths);
  std::vector<std::string> packages;
  for (const std::string& sub : *subpaths)
    if (sub.size() > 5 && sub.compare(sub.size() - 5, 5, ".cvsp") == 0) packages.push_back(sub);
  EXPECT_EQ(packages, (std::vector<std::string>{"Archive/Photos 2023.cvsp", "Broken.cvsp", "Incomplete.cvsp",
                                                "Migration.cvsp", "Nightly Backup.cvsp", "Old.cvsp",
                                                "Projects to Stick.cvsp", "Quick Copy.cvsp"}));

  auto dates = p.urlResources->resourceValuesForKeys(
      platform::URL::fileURLWithPath(std::string(kSettings) + "/Nightly Backup.cvsp/Session Settings.cvss", false),
      {std::string(platform::NSURLCreationDateKey), std::string(platform::NSURLContentModificationDateKey)});
  ASSERT_TRUE(dates);
  const Value* created = platform::lookup(*dates, platform::NSURLCreationDateKey);
  ASSERT_TRUE(created && created->date());
  EXPECT_EQ(*created->date(), *platform::Date::fromISO8601("2025-02-14T21:03:44Z"));

  auto dataVolume = p.urlResources->resourceValuesForKeys(
      platform::URL::fileURLWithPath("/System/Volumes/Data/Users", true),
      {std::string(platform::NSURLVolumeURLKey), std::string(platform::NSURLVolumeIsBrowsableKey)});
  ASSERT_TRUE(dataVolume);
  const Value* volumeURL = platform::lookup(*dataVolume, platform::NSURLVolumeURLKey);
  ASSERT_TRUE(volumeURL && volumeURL->url());
  EXPECT_EQ(volumeURL->url()->absoluteString(), "file:///System/Volumes/Data/");
  EXPECT_EQ(platform::lookup(*dataVolume, platform::NSURLVolumeIsBrowsableKey)->boolean(), false);
}

// The tool's own runner, on the demo platform, starts the demo's diskutil and
// tmutil by their Mac paths and gets answers it can read: the road that the
// diskutil catalogue and the Time Machine facts take.
TEST(DemoMachineTest, ToolRunnerGetsReadableAnswersFromTheDemoPrograms) {
  auto demo = openDemo();
  ASSERT_TRUE(demo);
  ASSERT_TRUE(demo->platform.tasks);
  platform::install(demo->platform);

  auto listLines = NSTask::shellWithLaunchPath("/usr/sbin/diskutil", {"list", "-plist"});
  ASSERT_TRUE(listLines);
  std::string joined;
  for (const std::string& line : *listLines) joined += line;
  auto list = demo->parse(joined);
  ASSERT_TRUE(list && list->dictionary()) << "diskutil's lines, joined without line feeds, are a property list";
  EXPECT_EQ(texts(platform::lookup(*list->dictionary(), "AllDisks")).size(), demo->machine->media.size());

  auto infoLines = NSTask::shellWithLaunchPath("/usr/sbin/diskutil", {"info", "-plist", "disk1s1s1"});
  ASSERT_TRUE(infoLines);
  joined.clear();
  for (const std::string& line : *infoLines) joined += line;
  auto info = demo->parse(joined);
  ASSERT_TRUE(info && info->dictionary());
  EXPECT_EQ(text(*info->dictionary(), "MountPoint"), "/");

  auto excluded = runTmutil({"isexcluded", "/Volumes/Backup"}, 5.0);
  ASSERT_TRUE(excluded && !excluded->empty());
  EXPECT_EQ(excluded->front(), "[Excluded]    /Volumes/Backup");
  auto snapshots = runTmutil({"listlocalsnapshots", "/"}, 5.0);
  ASSERT_TRUE(snapshots);
  EXPECT_EQ(snapshots->size(), 5u) << "a heading, three snapshots and the empty line after the last line feed";
}

// The volume model reads the demo as the Mac it stands for: disk order, the
// boot group and its snapshot, formats, Time Machine facts, the image behind
// the attached disk image. A demo that the model reads differently from the
// guide's description of it fails here.
TEST(DemoMachineTest, VolumeModelReadsTheDemoAsDescribed) {
  auto demo = openDemo();
  ASSERT_TRUE(demo);
  platform::install(demo->platform);
  auto bsd = [](const CVDiskVolumeRef& v) { return v ? v->bsdName().value_or("(no name)") : "(none)"; };

  std::vector<std::string> order;
  for (const auto& v : CVDiskVolume::localDisks()) order.push_back(bsd(v));
  EXPECT_EQ(order, (std::vector<std::string>{"disk0", "disk0s1", "disk0s2", "disk1", "disk1s1", "disk1s1s1",
                                             "disk1s2", "disk1s3", "disk1s4", "disk1s5", "disk1s6", "disk2",
                                             "disk2s1", "disk2s2", "disk2s3", "disk3", "disk3s1", "disk4",
                                             "disk4s1"}));
  std::vector<std::string> shown;
  for (const auto& v : CVDiskVolume::localBrowsableCoalescedVolumes()) shown.push_back(bsd(v));
  EXPECT_EQ(shown, (std::vector<std::string>{"disk1s1s1", "disk2s2", "disk3s1", "disk4s1"}));

  auto root = CVDiskVolume::initWithVolumePath(platform::URL::fileURLWithPath("/", true));
  ASSERT_TRUE(root);
  EXPECT_EQ(bsd(root), "disk1s1s1");
  EXPECT_TRUE(root->isBootVolume());
  EXPECT_EQ(root->volumeRole(), VolumeRole::mountedSystemSnapshot);
  EXPECT_EQ(root->path()->absoluteString(), "file:///Volumes/Macintosh%20HD/");
  EXPECT_EQ(root->volumeOperatingSystemExtendedString(), "14.2.1 (23C71)");
  EXPECT_EQ(bsd(root->systemVolume()), "disk1s1");
  EXPECT_EQ(bsd(root->dataVolume()), "disk1s2");
  EXPECT_FALSE(root->isWritable());
  EXPECT_TRUE(root->volumeIsIncludedInTimeMachine());
  EXPECT_EQ(root->volumeLocalSnapshots().size(), 3u);

  // The registry stands for the boot group by its Data volume; the Data
  // volume presents itself through the mounted snapshot.
  auto data = CVDiskVolume::initWithBsdName("disk1s2");
  ASSERT_TRUE(data && data->systemVolume());
  EXPECT_EQ(bsd(data->systemVolume()->mountedSnapshotVolume()), "disk1s1s1");
  EXPECT_TRUE(data->isEncrypted());
  EXPECT_EQ(data->volumeFormatDescription(), "APFS (Encrypted)");
  EXPECT_EQ(data->volumePersonality(), "APFS");
  auto system = CVDiskVolume::initWithBsdName("disk1s1");
  ASSERT_TRUE(system);
  EXPECT_FALSE(system->isReady());
  EXPECT_TRUE(system->isBootableAPFSContainer());
  EXPECT_EQ(system->volumeUUID(), root->volumeUUID()) << "the sealed snapshot shares its system's UUID";
  EXPECT_EQ(bsd(system->prebootVolume()), "disk1s3");
  EXPECT_EQ(bsd(system->recoveryVolume()), "disk1s4");
  EXPECT_EQ(bsd(system->virtualMemoryVolume()), "disk1s5");

  auto backup = CVDiskVolume::initWithVolumePath(platform::URL::fileURLWithPath("/Volumes/Backup", true));
  ASSERT_TRUE(backup);
  EXPECT_TRUE(backup->isTimeMachineVolume());
  EXPECT_FALSE(backup->volumeIsIncludedInTimeMachine());
  EXPECT_EQ(backup->volumePersonality(), "Journaled HFS+");
  EXPECT_TRUE(backup->deviceIsExternal() && backup->isUnMountable());
  EXPECT_EQ(backup->deviceProtocol(), "USB");

  auto archive = CVDiskVolume::initWithBsdName("disk2s3");
  ASSERT_TRUE(archive);
  EXPECT_FALSE(archive->isReady());
  EXPECT_FALSE(archive->mountPath());
  EXPECT_EQ(archive->volumeFormatDescription(), "Mac OS Extended (Journaled)");
  EXPECT_EQ(archive->volumeTotalCapacity(), archive->daNumber("DAMediaSize"));

  auto stick = CVDiskVolume::initWithBsdName("/dev/disk3s1");
  ASSERT_TRUE(stick);
  EXPECT_TRUE(stick->isRemovable());
  EXPECT_FALSE(stick->volumePermissionsAreEnabled());
  EXPECT_EQ(stick->volumePersonality(), "MS-DOS FAT32");
  EXPECT_EQ(stick->volumeRealDeviceIdentifier(), stick->volumeDeviceIdentifier());

  auto image = CVDiskVolume::initWithBsdName("disk4s1");
  ASSERT_TRUE(image && image->imagePath());
  EXPECT_EQ(image->imagePath()->absoluteString(), "file:///Users/ada/Disk%20Images/Projects.sparseimage");
  EXPECT_EQ(image->deviceProtocol(), "Disk Image");
  EXPECT_EQ(image->name(), "Projects");
}
