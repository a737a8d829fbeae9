#pragma once
// The process-wide serial queue under which other queues are placed: work on
// every queue made by `addAncestorQueue` is serialised with all the others.
// No external program runs on these queues.

#include <memory>
#include <string>

#include "platform/dispatch.h"

class CVSharedExecutionQueue {
 public:
  // The one instance, made on first use and kept for the process.
  static CVSharedExecutionQueue& sharedInstance();

  // "com.tamarlin.corvane.transcript.EQ", unspecified quality, no target.
  const platform::DispatchQueue& executionQueue() const { return executionQueue_; }

  // A new serial queue with that quality of service that targets `executionQueue`.
  platform::DispatchQueue addAncestorQueue(std::string label, platform::QualityOfService qos) const;

  // The constant "description not yet implemented".
  std::string description() const;

 private:
  CVSharedExecutionQueue();
  const platform::DispatchQueue executionQueue_;
};
