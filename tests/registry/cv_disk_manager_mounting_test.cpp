// Mounting by GUID through `diskutil mount`, and unmounting through Disk
// Arbitration, on the observation machine. Each case's log lines, result,
// diskutil calls and unmount requests are compared whole with
// tests/machines/observation/expected/mounting.txt.
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include <gtest/gtest.h>

#include "registry/observed_machine.h"

using namespace observationtest;

TEST(CVDiskManagerMountingTest, MountsByGUIDAndUnmountsPairsAndSingleVolumes) {
  ObservedMachine m;
  const auto calls = m.folder.folder() / "usr/sbin/calls.log";
  auto mount = [&](const std::string& guidString) {
    return "result: " + nameOf(m.manager->mountVolumeForGUIDString(guidString)) + "\n";
  };
  auto unmount = [&](const char* bsdName) {
    std::size_t earlier = m.da().unmountRequests().size();
    m.manager->unmountWithVolume(*CVDiskVolume::initWithBsdName(bsdName));
    std::string text;
    auto requests = m.da().unmountRequests();
    for (std::size_t i = earlier; i < requests.size(); ++i)
      text += "unmount " + requests[i].bsdName.value_or("") + " options " + std::to_string(requests[i].options) + "\n";
    return text;
  };
  const std::pair<const char*, std::function<std::string()>> cases[] = {
      {"mounted pair", [&] { return mount(guid(3)); }},
      {"diskutil fails", [&] { return mount(guid(4)); }},
      {"diskutil mounts both of the pair", [&] { return mount(guid(5)); }},
      {"unmounted volume outside a group", [&] { return mount(guid(6)); }},
      {"unresolvable bookmark", [&] { return mount(guid(7)); }},
      {"volume not attached", [&] { return mount(guid(8)); }},
      {"no entry", [&] { return mount(guid(99)); }},
      {"unmount pair", [&] { return unmount("disk3s5"); }},
      {"unmount pair without system volume", [&] { return unmount("disk8s1"); }},
      {"unmount single volume", [&] { return unmount("disk1s1"); }},
  };
  std::string transcript = m.step("start", 0, false);
  for (const auto& [title, run] : cases) {
    std::string result = run();
    transcript += m.step(title, 0) + result;
    std::stringstream diskutil;
    diskutil << std::ifstream(calls).rdbuf();
    transcript += diskutil.str().empty() ? "no diskutil run\n" : "diskutil runs:\n" + diskutil.str();
    std::filesystem::remove(calls);
  }
  m.folder.expectGolden("mounting.txt", transcript);
}

TEST(CVDiskManagerMountingTest, TheCompletionFormAnswersOnAnotherThread) {
  ObservedMachine m;
  platform::DispatchSemaphore done;
  std::string result;
  std::thread::id thread;
  m.manager->mountVolumeForGUIDString(guid(3), [&](CVDiskVolumeRef volume) {
    result = nameOf(volume);
    thread = std::this_thread::get_id();
    done.signal();
  });
  ASSERT_TRUE(done.wait(platform::DispatchTime::now() + 30.0));
  EXPECT_EQ(result, "disk3s1s1");
  EXPECT_NE(thread, std::this_thread::get_id());
}
