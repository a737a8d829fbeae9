// Observation of disks through the simulated Disk Arbitration: each
// scenario's transcript (log lines, observers, registry after every step) is
// compared whole with tests/machines/observation/expected/observation/<name>.txt.
#include <thread>

#include <gtest/gtest.h>

#include "registry/observed_machine.h"

using namespace observationtest;
using platform::Value;

namespace {

struct Step {
  const char* title;
  std::function<std::size_t(ObservedMachine&)> raise;
};

Step change(const char* title, const char* bsdName, const char* key, std::optional<Value> value) {
  return {title, [=](ObservedMachine& m) { return m.change(bsdName, key, value); }};
}

}  // namespace

TEST(CVDiskManagerObservationTest, FollowsDisksThatAppearChangeAndGo) {
  using M = ObservedMachine;
  const std::tuple<const char*, bool, std::vector<Step>> scenarios[] = {
      {"appearance", true,
       {{"unknown disk2s1 appears", [](M& m) { return m.da().simulateDiskAppeared("disk2s1"); }},
        {"known disk10s1 appears again", [](M& m) { return m.da().simulateDiskAppeared("disk10s1"); }},
        change("then changes size", "disk10s1", "DAMediaSize", Value(1))}},
      {"disappearance", false,
       {{"slice disk1s1 disappears", [](M& m) { return m.da().simulateDiskDisappeared("disk1s1"); }},
        {"whole disk1 disappears", [](M& m) { return m.da().simulateDiskDisappeared("disk1"); }}}},
      {"rename", false,
       {change("disk1s1 renamed", "disk1s1", "DAVolumeName", Value("Holiday Photos")),
        change("then changes size", "disk1s1", "DAMediaSize", Value(1))}},
      {"unmount", false, {change("disk1s1 unmounted", "disk1s1", "DAVolumePath", std::nullopt)}},
      {"system_volume", false, {change("system disk3s1 renamed", "disk3s1", "DAVolumeName", Value("Macintosh SSD"))}},
      {"media_mismatch", false,
       {change("disk1s1 on other media", "disk1s1", "DAMediaUUID",
               Value(*platform::UUID::fromString("0F0F0F0F-0000-4000-8000-0000000000FF")))}},
      {"unobserved_registration_volume", false,
       {{"disk5s2 unobserved twice", [](M& m) { m.manager->unobserveDisk("disk5s2"); m.manager->unobserveDisk("disk5s2"); return 0; }},
        change("system disk5s1 renamed", "disk5s1", "DAVolumeName", Value("Ventura 2"))}},
      {"peek_and_approvals", false,
       {{"peek, mount, unmount and eject of disk2s1", [](M& m) {
          auto& da = m.da();
          auto n = da.simulateDiskPeek("disk2s1") + da.simulateMountApproval("disk2s1") +
                   da.simulateUnmountApproval("disk2s1") + da.simulateEjectApproval("disk2s1");
          m.drain();
          EXPECT_EQ(da.approvalAnswers(), std::vector<std::optional<platform::DADissenter>>(3));
          return n;
        }}}},
  };
  for (const auto& [name, showStart, steps] : scenarios) {
    SCOPED_TRACE(name);
    ObservedMachine m;
    std::string transcript = m.step("start", 0, showStart);
    for (const auto& step : steps) {
      std::size_t deliveries = step.raise(m);
      transcript += m.step(step.title, deliveries);
    }
    m.folder.expectGolden(std::string("observation/") + name + ".txt", transcript);
  }
}

// Hundreds of callbacks from several threads while the main thread reads and
// writes the map; then teardown with deliveries still queued.
TEST(CVDiskManagerObservationTest, StaysWholeUnderConcurrentCallbacksAndMapWrites) {
  ObservedMachine m;
  m.drain();
  const auto before = m.manager->map();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&m, t] {
      for (int i = 0; i < 40; ++i) {
        const char* bsdName = (i + t) % 2 ? "disk1s1" : "disk10s1";
        m.change(bsdName, "DAVolumeName", Value("Name " + std::to_string(i % 3)));
        m.da().simulateDiskAppeared(bsdName);
        m.da().simulateDiskPeek(bsdName);
        m.da().simulateUnmountApproval(bsdName);
        if (i % 10 == 9) m.da().simulateDiskDisappeared(t % 2 ? "disk1" : "disk10");
      }
    });
  for (int i = 0; i < 200; ++i) {
    auto map = m.manager->map();
    map[i % 2 ? "scratch" : guid(3)] = platform::Bytes::fromString("x");
    m.manager->setMap(map);
    m.manager->setMap(before);
  }
  for (auto& thread : threads) thread.join();
  m.drain();
  const auto after = m.manager->map();
  for (const auto& [key, blob] : before) EXPECT_TRUE(after.contains(key)) << key;
  for (const auto& [bsdName, identity] : m.manager->observedIdentities())
    EXPECT_TRUE(before.contains(identity->guid().uuidString())) << bsdName;
  m.change("disk1s1", "DAVolumeName", Value("Last"));
  m.da().simulateDiskAppeared("disk10s1");
  m.manager.reset();
}
