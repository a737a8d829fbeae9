// The built CVDiag when its surroundings misbehave: a preferences domain
// locked by another process or in a folder that refuses writes, a diskutil
// that floods its output or leaves a grandchild holding it. The report goes
// on, the run ends, and the preferences file still holds the old registry
// with every other key.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "platform/machine/property_list_codec.h"
#include "support/machine_builder.h"
#include "support/run_cvdiag.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr const char* kPrefs = "/Users/ada/Library/Preferences/CVDiag.plist";

// One external disk whose volume is mounted at /Volumes/Photos.
const nlohmann::json kOneVolume = nlohmann::json::parse(R"({"home": "/Users/ada", "media": [
  {"da": {"DAMediaBSDName": "disk1", "DAMediaBSDUnit": 1, "DAMediaWhole": true, "DAMediaName": "Photo Drive",
          "DAMediaSize": 500107862016, "DADeviceInternal": false, "DADeviceProtocol": "USB"},
   "io": {"BSD Name": "disk1", "Whole": true}},
  {"da": {"DAMediaBSDName": "disk1s1", "DAMediaBSDUnit": 1, "DAMediaWhole": false, "DAMediaName": "Photos",
          "DAMediaSize": 209715200000, "DADeviceInternal": false, "DADeviceProtocol": "USB",
          "DAVolumeName": "Photos", "DAVolumeKind": "hfs", "DAVolumeMountable": true,
          "DAVolumeUUID": {"$uuid": "11111111-1111-4111-8111-111111111111"},
          "DAVolumePath": {"$url": "file:///Volumes/Photos/"}},
   "io": {"BSD Name": "disk1s1", "Whole": false},
   "volume": {"resources": {"NSURLVolumeNameKey": "Photos", "NSURLVolumeUUIDStringKey": "11111111-1111-4111-8111-111111111111",
              "NSURLVolumeTotalCapacityKey": 209715200000, "NSURLVolumeAvailableCapacityKey": 104857600000},
              "statfs": {"bsize": 4096, "blocks": 51200000, "bfree": 25600000, "flags": 0}}}]})");

// A preferences file whose registry value is not a dictionary (so the start
// rule writes an empty registry) next to a key that must survive.
std::string unreadableRegistryPrefs() {
  platform::Dictionary d;
  d.emplace("CVDiskKnownVolumes", platform::Value(std::string("not a registry")));
  d.emplace("OtherSetting", platform::Value(std::string("kept")));
  return std::string(platform::machine::encodePropertyList(platform::Value(d), platform::PropertyListFormat::XML)
                         ->asStringView());
}

struct Timed {
  cvdiag_test::RunResult result;
  double seconds;
};

Timed run(const testsupport::MachineBuilder& m, std::vector<std::string> args,
          std::map<std::string, std::string> env = {}) {
  env["CVDIAG_MACHINE"] = m.folder().string();
  auto start = Clock::now();
  auto result = cvdiag_test::runCVDiag(args, env);
  return {result, std::chrono::duration<double>(Clock::now() - start).count()};
}

TEST(FaultsTest, ALockHeldElsewhereIsWaitedForABoundedTimeThenTheFileIsLeftAlone) {
  testsupport::MachineBuilder m;
  m.json(kOneVolume).file(kPrefs, unreadableRegistryPrefs());
  int lock = ::open((m.hostPath(kPrefs).string() + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_EQ(::flock(lock, LOCK_EX), 0);
  auto [r, seconds] = run(m, {"--volume-registry", "--duplicate-volume-entries"},
                          {{"CVDIAG_DEFAULTS_LOCK_WAIT_MS", "400"}});
  ::close(lock);
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "CVDiag: the preferences domain CVDiag is locked by another process; left unchanged\n");
  EXPECT_NE(r.out.find("Checking for duplicates in known Volume Registry"), std::string::npos) << r.out;
  EXPECT_EQ(m.text(kPrefs), unreadableRegistryPrefs());
  // One wait for the whole run, however many writes it tried.
  EXPECT_GE(seconds, 0.4);
  EXPECT_LT(seconds, 3.0);
}

TEST(FaultsTest, AFolderThatRefusesWritesLosesNothing) {
  testsupport::MachineBuilder m;
  m.json(kOneVolume).file(kPrefs, unreadableRegistryPrefs());
  auto folder = m.hostPath(kPrefs).parent_path();
  ::chmod(folder.c_str(), 0555);
  bool refused = !std::ofstream(folder / "probe").is_open();
  if (!refused) {
    ::chmod(folder.c_str(), 0755);
    GTEST_SKIP() << "this user writes into a read-only folder (root): the refusal cannot be staged";
  }
  for (auto args : {std::vector<std::string>{"--volume-registry"}, {"--prune-orphans", "--all-diagnostics"}}) {
    auto [r, seconds] = run(m, args);
    EXPECT_EQ(r.status, 0) << args[0];
    EXPECT_NE(r.out.find("Known Volume Registry"), std::string::npos) << r.out;
    EXPECT_EQ(m.text(kPrefs), unreadableRegistryPrefs());
  }
  ::chmod(folder.c_str(), 0755);
}

TEST(FaultsTest, ADiskutilThatFloodsOrLeavesAGrandchildEndsTheRunWhenItEnds) {
  struct Case {
    const char* name;
    const char* body;
  };
  const Case cases[] = {
      {"flood", "head -c 64000000 /dev/zero | tr '\\0' x\nexit 0\n"},
      {"grandchild", "exec 2>/dev/null\n( sleep 20 & )\necho '<plist></plist>'\nexit 0\n"},
  };
  for (const auto& c : cases) {
    testsupport::MachineBuilder m;
    m.json(kOneVolume).directory("/Volumes/Photos");
    m.script("/usr/sbin/diskutil", c.body);
    auto [r, seconds] = run(m, {"--local-volumes-and-disks", "--disk-utility-entities"});
    EXPECT_EQ(r.status, 0) << c.name;
    EXPECT_NE(r.out.find("Photos"), std::string::npos) << c.name;
    EXPECT_LT(seconds, 8.0) << c.name;
  }
}

}  // namespace
