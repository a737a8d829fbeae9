#include "tools/cv_shared_execution_queue.h"

#include <gtest/gtest.h>

#include <atomic>

using platform::QualityOfService;

TEST(CVSharedExecutionQueueTest, AncestorQueuesAreSerialisedThroughTheSharedQueue) {
  auto& shared = CVSharedExecutionQueue::sharedInstance();
  EXPECT_EQ(&shared, &CVSharedExecutionQueue::sharedInstance());
  EXPECT_TRUE(shared.executionQueue().isSerial());
  auto utility = shared.addAncestorQueueWithLabel("test.utility");
  auto initiated = shared.addAncestorQueue("test.initiated", QualityOfService::UserInitiated);
  EXPECT_EQ(utility.label(), "test.utility");
  EXPECT_EQ(utility.qos(), QualityOfService::Utility);
  EXPECT_EQ(initiated.qos(), QualityOfService::UserInitiated);

  long counter = 0;  // unguarded: the shared queue is the only guard
  std::atomic<int> running{0}, overlaps{0}, outsideShared{0};
  platform::DispatchGroup group;
  for (int i = 0; i < 200; ++i) {
    for (const auto& queue : {utility, initiated}) {
      queue.async(group, [&] {
        if (++running != 1) ++overlaps;
        if (!shared.executionQueue().isCurrent()) ++outsideShared;
        ++counter;
        --running;
      });
    }
  }
  ASSERT_TRUE(group.wait(platform::DispatchTime::now() + 10));
  EXPECT_EQ(counter, 400);
  EXPECT_EQ(overlaps.load(), 0);
  EXPECT_EQ(outsideShared.load(), 0);
}
