#pragma once
// Dispatch: serial queues with labels, quality of service and target queues,
// sync, async, barriers, groups and semaphores with a deadline.
//
// Work runs on real threads of one process-wide pool. The pool's threads are
// detached and its state is never destroyed, so a queue that still has work
// (or a thread blocked in a child's pipe) never keeps the process from
// exiting; work that is still queued when the process exits is dropped.
//
// Thread safety: every operation may be called from any thread.
//
// Target queues: a serial queue made with a target runs its work as work of
// the target, so all queues that share a serial ancestor are serialised
// through it. A queue without a target, or whose target is a global queue,
// runs on the pool directly.
//
// The sync rule: `sync` on a queue that the calling thread already holds
// (the queue it is running on, or any serial queue in the target chain of the
// queue asked for) can never start and is a programming fault. It is detected
// and stops the process with a message naming the queue, instead of hanging.
// `sync` from a queue onto a queue that shares no held ancestor with it is
// fine: the calling thread waits, and the work then runs on it while the
// queue and its ancestors are held for it.

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace platform {

// The classes of the platform, lowest first. Recorded on each queue; the pool
// runs all of them alike (Linux gives an unprivileged process no way to raise
// a thread above its peers).
enum class QualityOfService { Unspecified, Background, Utility, Default, UserInitiated, UserInteractive };

// A deadline for the waits below: a moment on the monotonic clock, or never.
class DispatchTime {
 public:
  using Clock = std::chrono::steady_clock;

  static DispatchTime now() { return DispatchTime(Clock::now()); }
  static DispatchTime distantFuture() { return DispatchTime(); }
  // `now() + 10.0` is ten seconds from now; never stays never.
  DispatchTime operator+(double seconds) const;

  bool isDistantFuture() const { return !moment_; }
  std::optional<Clock::time_point> moment() const { return moment_; }

 private:
  DispatchTime() = default;
  explicit DispatchTime(Clock::time_point t) : moment_(t) {}
  std::optional<Clock::time_point> moment_;
};

class DispatchGroup;

// A handle on a queue; copies refer to the same queue, which lives as long as
// a handle, a queue that targets it, or work queued on it.
class DispatchQueue {
 public:
  // A serial queue: work runs one item at a time, in the order it was queued.
  // With a target, the queue's work is work of the target (see above).
  static DispatchQueue serial(std::string label,
                              QualityOfService qos = QualityOfService::Unspecified,
                              std::optional<DispatchQueue> target = std::nullopt);
  // The global concurrent queue of a quality of service; one per class, the
  // same queue at every call. Work on it runs concurrently on the pool.
  static DispatchQueue global(QualityOfService qos);

  const std::string& label() const;
  QualityOfService qos() const;
  // Whether the calling thread is running work of this queue, directly or as
  // work of a queue that targets it.
  bool isCurrent() const;

  // Queues `work` and returns at once. An exception that leaves asynchronous
  // work ends the process, as an uncaught exception on any thread does.
  void async(std::function<void()> work) const;
  // As `async`, with the group entered now and left when `work` has run.
  void async(const DispatchGroup& group, std::function<void()> work) const;
  // Runs `work` on the calling thread once everything queued before it has
  // run, holding the queue (and its serial ancestors) meanwhile; returns when
  // it has run. An exception from `work` reaches the caller. On a global
  // queue the work runs at once. See the sync rule above.
  void sync(const std::function<void()>& work) const;
  // On a serial queue every item already runs alone, so the barrier form is
  // `sync`. On a global queue, as on the platform, the barrier flag has no
  // effect.
  void syncBarrier(const std::function<void()>& work) const;

  friend bool operator==(const DispatchQueue& a, const DispatchQueue& b) { return a.impl_ == b.impl_; }

  struct Impl;

 private:
  explicit DispatchQueue(std::shared_ptr<Impl> impl) : impl_(std::move(impl)) {}
  std::shared_ptr<Impl> impl_;
};

// Counts work in flight. `leave` without a matching `enter` is a programming
// fault and stops the process.
class DispatchGroup {
 public:
  DispatchGroup();

  void enter() const;
  void leave() const;
  // Waits until every `enter` has been left, or until the deadline. True when
  // the group emptied, false on time-out.
  bool wait(DispatchTime deadline = DispatchTime::distantFuture()) const;
  // Queues `work` on `queue` once the group is empty: at once if it is empty
  // now, otherwise when the last `leave` comes.
  void notify(const DispatchQueue& queue, std::function<void()> work) const;

  struct State;

 private:
  std::shared_ptr<State> state_;
};

// A counting semaphore.
class DispatchSemaphore {
 public:
  explicit DispatchSemaphore(std::int64_t value = 0);

  void signal() const;
  // Takes one unit, waiting for it until the deadline. True when taken, false
  // on time-out (and then nothing is taken).
  bool wait(DispatchTime deadline = DispatchTime::distantFuture()) const;

  struct State;

 private:
  std::shared_ptr<State> state_;
};

}  // namespace platform
