// Observation through the simulated Disk Arbitration: each scenario under
// expected/observation/ of the machine is replayed and compared whole.
#include <gtest/gtest.h>

#include "registry/observed_machine.h"

using namespace observationtest;

TEST(CVDiskManagerObservationTest, FollowsDisksThatAppearChangeAndGo) {
  for (const char* scenario : {"appearance", "disappearance", "rename", "unmount", "system_volume", "media_mismatch",
                               "unobserved_registration_volume", "peek_and_approvals"}) {
    SCOPED_TRACE(scenario);
    ObservedMachine m;
    const std::string file = std::string("observation/") + scenario + ".txt";
    m.folder.expectGolden(file, m.replay(file));
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
      for (int i = 0; i < 25; ++i) {
        const std::string disk = (i + t) % 2 ? "disk1s1" : "disk10s1";
        for (const auto& command : {"set " + disk + " DAVolumeName Name " + std::to_string(i % 3), "appear " + disk,
                                    "peek " + disk, std::string(i % 8 == 7 ? "disappear disk1" : "approve " + disk)})
          m.run(command);
      }
    });
  for (int i = 0; i < 100; ++i) {
    auto map = m.manager->map();
    map[i % 2 ? "scratch" : guid("3")] = platform::Bytes::fromString("x");
    m.manager->setMap(map);
    m.manager->setMap(before);
  }
  for (auto& thread : threads) thread.join();
  m.drain();
  const auto after = m.manager->map();
  for (const auto& [key, blob] : before) EXPECT_TRUE(after.contains(key)) << key;
  for (const auto& [bsdName, identity] : m.manager->observedIdentities())
    EXPECT_TRUE(before.contains(identity->guid().uuidString())) << bsdName;
  m.run("set disk1s1 DAVolumeName Last");
  m.run("appear disk10s1");
  m.manager.reset();
}
