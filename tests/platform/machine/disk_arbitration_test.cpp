#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "platform/disk_arbitration.h"
#include "platform/dispatch.h"
#include "platform/machine/simulated_disk_arbitration.h"
#include "support/machine_builder.h"

using namespace platform;
using platform::machine::SimulatedDiskArbitration;
using testsupport::MachineBuilder;

namespace {

// A serial queue standing in for the session's dispatch queue.
struct TestQueue {
  DispatchQueue queue = DispatchQueue::serial("test.da");
  DAExecutor executor() {
    return [q = queue](std::function<void()> block) { q.async(std::move(block)); };
  }
  void drain() { queue.sync([] {}); }  // every block handed in so far has run
};

// What the callbacks saw, written on the queue and read after a drain.
struct Seen {
  std::mutex mutex;
  std::vector<std::string> events;
  std::atomic<bool> offQueue{false};
  void add(std::string e) {
    std::lock_guard lock(mutex);
    events.push_back(std::move(e));
  }
  std::vector<std::string> take() {
    std::lock_guard lock(mutex);
    return std::exchange(events, {});
  }
};

class DiskArbitrationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    platformValue = builder.platform();
    da = platformValue.diskArbitration;
    simulated = std::dynamic_pointer_cast<SimulatedDiskArbitration>(da);
    ASSERT_TRUE(simulated);
    session = da->DASessionCreate();
    ASSERT_TRUE(session);
  }

  std::optional<std::string> bsd(const DADiskRef& disk) { return da->DADiskGetBSDName(disk); }

  // Whole disks and slices, one slice whose whole disk is not attached, one
  // whose "whole" names disk4, one whose "whole" is null, and an entry with
  // no description at all.
  MachineBuilder builder{"arbitration"};
  Platform platformValue;
  std::shared_ptr<DiskArbitration> da;
  std::shared_ptr<SimulatedDiskArbitration> simulated;
  DASessionRef session;
};

}  // namespace

TEST_F(DiskArbitrationTest, DisksAreFoundByBSDNameVolumePathAndIOMedia) {
  auto slice = da->DADiskCreateFromBSDName(session, "disk4s2");
  ASSERT_TRUE(slice);
  EXPECT_EQ(bsd(slice), "disk4s2");
  auto viaDev = da->DADiskCreateFromBSDName(session, "/dev/disk4s2");
  EXPECT_TRUE(da->CFEqual(slice, viaDev));
  EXPECT_EQ(da->CFHash(slice), da->CFHash(viaDev));
  EXPECT_FALSE(da->CFEqual(slice, da->DADiskCreateFromBSDName(session, "disk4")));
  EXPECT_FALSE(da->DADiskCreateFromBSDName(session, "disk9"));
  EXPECT_FALSE(da->DADiskCreateFromBSDName(session, "/dev/"));
  EXPECT_FALSE(da->DADiskCreateFromBSDName(nullptr, "disk4s2"));

  // The volume path matches with or without its final "/", decoded.
  auto byPath = da->DADiskCreateFromVolumePath(session, URL::fileURLWithPath("/Volumes/Back up", false));
  EXPECT_TRUE(da->CFEqual(byPath, slice));
  EXPECT_EQ(bsd(da->DADiskCreateFromVolumePath(session, URL::fileURLWithPath("/", true))), "disk1s1");
  EXPECT_FALSE(da->DADiskCreateFromVolumePath(session, URL::fileURLWithPath("/Volumes", true)));

  // The IOMedia entry and the disk lead to each other.
  auto media = da->DADiskCopyIOMedia(slice);
  ASSERT_TRUE(media);
  EXPECT_TRUE(da->CFEqual(da->DADiskCreateFromIOMedia(session, media), slice));
  EXPECT_EQ(*platformValue.ioKit->IORegistryEntryCreateCFProperty(media, "BSD Name")->string(),
            "disk4s2");

  // Entries of another machine are not this machine's disks.
  MachineBuilder other;
  other.jsonText(R"({"media": [{"da": {"DAMediaBSDName": "disk4s2"}, "io": {"BSD Name": "disk4s2"}}]})");
  auto otherPlatform = other.platform();
  auto foreign = otherPlatform.ioKit->IOServiceGetMatchingServices(
      otherPlatform.ioKit->IOServiceMatching("IOMedia"));
  EXPECT_FALSE(da->DADiskCreateFromIOMedia(session, foreign->next()));
  EXPECT_FALSE(da->DADiskCopyDescription(otherPlatform.diskArbitration->DADiskCreateFromBSDName(
      otherPlatform.diskArbitration->DASessionCreate(), "disk4s2")));
}

TEST_F(DiskArbitrationTest, DescriptionsAndNullDisks) {
  auto slice = da->DADiskCreateFromBSDName(session, "disk4s2");
  auto description = da->DADiskCopyDescription(slice);
  ASSERT_TRUE(description);
  EXPECT_EQ(lookup(*description, kDADiskDescriptionVolumePathKey)->url()->absoluteString(),
            "file:///Volumes/Back%20up/");

  auto iterator = platformValue.ioKit->IOServiceGetMatchingServices(
      platformValue.ioKit->IOServiceMatching("IOMedia"));
  IORegistryEntryRef last, entry;
  while ((entry = iterator->next())) last = entry;
  auto nameless = da->DADiskCreateFromIOMedia(session, last);
  ASSERT_TRUE(nameless);
  EXPECT_FALSE(da->DADiskCopyDescription(nameless));
  EXPECT_FALSE(da->DADiskGetBSDName(nameless));

  EXPECT_FALSE(da->DADiskCopyDescription(nullptr) || da->DADiskCopyIOMedia(nullptr) || da->DADiskCopyWholeDisk(nullptr));
  EXPECT_TRUE(da->CFEqual(nullptr, nullptr));
  EXPECT_FALSE(da->CFEqual(nullptr, slice));
}

TEST_F(DiskArbitrationTest, WholeDisksFollowTheRuleOrTheRecordedName) {
  // disk4: itself; disk4s2: the leading disk<N>; disk3s1s1: disk3 is not attached;
  // disk10s1: "whole" names disk4; disk4s3: "whole" is null.
  const std::pair<const char*, std::optional<std::string>> cases[] = {
      {"disk4", "disk4"}, {"disk4s2", "disk4"}, {"disk3s1s1", std::nullopt}, {"disk10s1", "disk4"}, {"disk4s3", std::nullopt}};
  for (const auto& [name, whole] : cases)
    EXPECT_EQ(bsd(da->DADiskCopyWholeDisk(da->DADiskCreateFromBSDName(session, name))), whole) << name;
}

TEST_F(DiskArbitrationTest, AppearedIsCalledOncePerMediaObjectOnTheQueueOnceOneIsSet) {
  TestQueue queue;
  Seen seen;
  auto callback = [&](const DADiskRef& disk) {
    if (!queue.queue.isCurrent()) seen.offQueue = true;
    seen.add(bsd(disk).value_or("-"));
  };
  auto token = da->DARegisterDiskAppearedCallback(session, std::nullopt, callback);
  EXPECT_NE(token.id, 0u);
  // Nothing is delivered before the session has a queue.
  std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_TRUE(seen.take().empty());
  da->DASessionSetDispatchQueue(session, queue.executor());
  queue.drain();
  EXPECT_EQ(seen.take(), (std::vector<std::string>{"disk1", "disk1s1", "disk4", "disk4s2", "disk3s1s1",
                                                   "disk10s1", "disk4s3", "-"}));
  EXPECT_FALSE(seen.offQueue);

  // A second registration with a match on a queue already set.
  da->DARegisterDiskAppearedCallback(session, kDADiskDescriptionMatchMediaWhole(), callback);
  queue.drain();
  EXPECT_EQ(seen.take(), (std::vector<std::string>{"disk1", "disk4"}));

}

TEST_F(DiskArbitrationTest, EventsRunConcurrentlyWithCallsFromOtherThreads) {
  TestQueue queue;
  da->DASessionSetDispatchQueue(session, queue.executor());
  std::atomic<int> calls{0};
  da->DARegisterDiskDescriptionChangedCallback(session, std::nullopt, std::nullopt,
                                               [&](const DADiskRef& disk, const std::vector<std::string>&) {
                                                 if (da->DADiskCopyDescription(disk)) ++calls;
                                               });
  std::thread changer([&] {
    for (int i = 0; i < 50; ++i) {
      Dictionary d{{"DAMediaBSDName", Value("disk4s2")}, {"DAVolumeName", Value(std::to_string(i))}};
      simulated->simulateDescriptionChanged("disk4s2", d);
    }
  });
  for (int i = 0; i < 50; ++i) {
    auto other = da->DASessionCreate();
    auto disk = da->DADiskCreateFromBSDName(other, "disk4s2");
    EXPECT_TRUE(disk);
    EXPECT_TRUE(da->DADiskCopyDescription(disk));
  }
  changer.join();
  queue.drain();
  EXPECT_EQ(calls, 50);
}
