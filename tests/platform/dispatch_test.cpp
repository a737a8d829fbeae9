#include "platform/dispatch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using platform::DispatchGroup;
using platform::DispatchQueue;
using platform::DispatchSemaphore;
using platform::DispatchTime;
using platform::QualityOfService;

namespace {

// Counts how many items run at once; a serialised set of queues never has
// more than one.
struct Overlap {
  std::atomic<int> running{0};
  std::atomic<int> most{0};
  void enter() {
    int now = ++running;
    int seen = most.load();
    while (now > seen && !most.compare_exchange_weak(seen, now)) {
    }
  }
  void leave() { --running; }
};

constexpr double kGenerous = 10.0;  // seconds; only reached when something is broken

}  // namespace

TEST(DispatchQueueTest, SerialQueueRunsItsWorkInOrderAndOneAtATime) {
  auto queue = DispatchQueue::serial("test.order", QualityOfService::Utility);
  std::vector<int> seen;  // unguarded on purpose: the queue is the guard
  Overlap overlap;
  for (int i = 0; i < 500; ++i) {
    queue.async([&, i] {
      overlap.enter();
      seen.push_back(i);
      overlap.leave();
    });
  }
  queue.sync([] {});
  ASSERT_EQ(seen.size(), 500u);
  for (int i = 0; i < 500; ++i) EXPECT_EQ(seen[i], i);
  EXPECT_EQ(overlap.most.load(), 1);
}

TEST(DispatchQueueTest, QueuesThatShareAnAncestorAreSerialisedThroughItInAsyncsAndSyncs) {
  auto ancestor = DispatchQueue::serial("test.ancestor");
  auto middle = DispatchQueue::serial("test.middle", QualityOfService::Default, ancestor);
  std::vector<DispatchQueue> leaves = {
      DispatchQueue::serial("test.leaf1", QualityOfService::UserInitiated, ancestor),
      DispatchQueue::serial("test.leaf2", QualityOfService::Utility, ancestor),
      DispatchQueue::serial("test.leaf3", QualityOfService::Background, middle),
  };
  long counter = 0;  // unguarded: only the ancestor serialises the leaves
  Overlap overlap;
  std::atomic<int> ancestorNotCurrent{0};
  auto count = [&] {
    overlap.enter();
    if (!ancestor.isCurrent()) ++ancestorNotCurrent;
    std::this_thread::yield();  // room for another item to overlap
    ++counter;
    overlap.leave();
  };
  std::vector<std::thread> syncers;
  for (const auto& leaf : leaves) {
    syncers.emplace_back([&] {
      for (int i = 0; i < 100; ++i) leaf.sync(count);
    });
  }
  DispatchGroup group;
  for (int i = 0; i < 300; ++i) {
    for (const auto& leaf : leaves) leaf.async(group, count);
  }
  for (auto& syncer : syncers) syncer.join();
  ASSERT_TRUE(group.wait(DispatchTime::now() + kGenerous));
  EXPECT_EQ(counter, 1200);
  EXPECT_EQ(overlap.most.load(), 1);
  EXPECT_EQ(ancestorNotCurrent.load(), 0);
  EXPECT_FALSE(ancestor.isCurrent());
}

TEST(DispatchQueueTest, SyncWaitsForEarlierWorkAndRunsOnTheCallingThreadHoldingTheQueue) {
  auto ancestor = DispatchQueue::serial("test.sync.ancestor");
  auto queue = DispatchQueue::serial("test.sync", QualityOfService::Default, ancestor);
  std::vector<int> seen;
  DispatchSemaphore release;
  queue.async([&] {
    release.wait();
    seen.push_back(1);
  });
  queue.async([&] { seen.push_back(2); });
  std::thread::id ranOn;
  bool heldQueue = false, heldAncestor = false;
  std::thread releaser([&] { release.signal(); });
  queue.sync([&] {
    seen.push_back(3);
    ranOn = std::this_thread::get_id();
    heldQueue = queue.isCurrent();
    heldAncestor = ancestor.isCurrent();
  });
  releaser.join();
  EXPECT_EQ(seen, (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(ranOn, std::this_thread::get_id());
  EXPECT_TRUE(heldQueue);
  EXPECT_TRUE(heldAncestor);
  EXPECT_FALSE(queue.isCurrent());
  // Work queued while a sync holds the idle queue runs once the sync is over.
  DispatchSemaphore ranAfter;
  queue.sync([&] { queue.async([&] { ranAfter.signal(); }); });
  EXPECT_TRUE(ranAfter.wait(DispatchTime::now() + kGenerous));
}

TEST(DispatchQueueTest, SyncFromAQueueOntoAnotherDoesNotDeadlock) {
  // The registry's pattern: work on a queue under the shared ancestor waits,
  // with a barrier, for a queue that targets a global queue.
  auto ancestor = DispatchQueue::serial("test.eq");
  auto callbacks = DispatchQueue::serial("test.callbacks", QualityOfService::UserInitiated, ancestor);
  auto guard = DispatchQueue::serial("test.guard", QualityOfService::UserInitiated,
                                     DispatchQueue::global(QualityOfService::UserInitiated));
  int value = 0;
  DispatchGroup group;
  for (int i = 0; i < 50; ++i) {
    callbacks.async(group, [&] {
      int read = 0;
      guard.sync([&] { read = value; });
      guard.syncBarrier([&] { value = read + 1; });
      // and a sync from inside a sync, onto a third queue
      guard.sync([&] { DispatchQueue::serial("test.third").sync([] {}); });
    });
  }
  ASSERT_TRUE(group.wait(DispatchTime::now() + kGenerous));
  int final = 0;
  guard.sync([&] { final = value; });
  EXPECT_EQ(final, 50);
}

TEST(DispatchGroupTest, WaitEndsAtTheDeadlineWhileMembersRemainAndAtOnceWhenEmpty) {
  DispatchGroup group;
  EXPECT_TRUE(group.wait(DispatchTime::now()));
  group.enter();
  group.enter();
  EXPECT_FALSE(group.wait(DispatchTime::now() + 0.05));
  group.leave();
  EXPECT_FALSE(group.wait(DispatchTime::now()));
  std::thread leaver([&] { group.leave(); });
  EXPECT_TRUE(group.wait());
  leaver.join();
}

TEST(DispatchGroupTest, NotifyRunsOnlyAfterTheLastLeave) {
  auto queue = DispatchQueue::serial("test.notify");
  DispatchGroup group;
  std::atomic<bool> notified{false};
  DispatchSemaphore done;
  group.enter();
  group.enter();
  group.notify(queue, [&] {
    notified = true;
    done.signal();
  });
  group.leave();
  queue.sync([] {});  // anything already due would have run by now
  EXPECT_FALSE(notified.load());
  group.leave();
  EXPECT_TRUE(done.wait(DispatchTime::now() + kGenerous));
  EXPECT_TRUE(notified.load());

  // On an empty group the work is queued at once.
  DispatchSemaphore immediate;
  DispatchGroup().notify(queue, [&] { immediate.signal(); });
  EXPECT_TRUE(immediate.wait(DispatchTime::now() + kGenerous));
}

TEST(DispatchSemaphoreTest, WaitTakesOneUnitOrTimesOutTakingNothing) {
  DispatchSemaphore two(2);
  EXPECT_TRUE(two.wait(DispatchTime::now()) && two.wait(DispatchTime::now()));
  EXPECT_FALSE(two.wait(DispatchTime::now() + 0.05));
  two.signal();
  EXPECT_TRUE(two.wait(DispatchTime::now()));
  EXPECT_FALSE(two.wait(DispatchTime::now()));

  DispatchSemaphore zero;
  auto queue = DispatchQueue::serial("test.signal");
  queue.async([&] { zero.signal(); });
  EXPECT_TRUE(zero.wait());
}

TEST(DispatchDeathTest, SyncOnAQueueTheThreadHoldsStopsWithAMessage) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto ancestor = DispatchQueue::serial("test.held.ancestor");
  auto queue = DispatchQueue::serial("test.held", QualityOfService::Default, ancestor);
  EXPECT_DEATH(queue.sync([&] { queue.sync([] {}); }), "already holds.*test.held");
  // Waiting for the ancestor from work of a queue below it can never start either.
  EXPECT_DEATH(queue.sync([&] { ancestor.sync([] {}); }), "already holds.*test.held.ancestor");
}
