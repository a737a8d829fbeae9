#include "tools/cv_shared_execution_queue.h"

CVSharedExecutionQueue::CVSharedExecutionQueue()
    : executionQueue_(platform::DispatchQueue::serial("com.tamarlin.corvane.transcript.EQ",
                                                      platform::QualityOfService::Unspecified)) {}

CVSharedExecutionQueue& CVSharedExecutionQueue::sharedInstance() {
  // Never destroyed: queues that target it may still run while the process exits.
  static auto* instance = new CVSharedExecutionQueue();
  return *instance;
}

platform::DispatchQueue CVSharedExecutionQueue::addAncestorQueue(
    std::string label, platform::QualityOfService qos) const {
  return platform::DispatchQueue::serial(std::move(label), qos, executionQueue_);
}

std::string CVSharedExecutionQueue::description() const { return "description not yet implemented"; }
