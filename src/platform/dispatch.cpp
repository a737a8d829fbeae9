#include "platform/dispatch.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace platform {

namespace {

[[noreturn]] void dispatchFault(const char* what, const std::string& label) {
  std::fprintf(stderr, "CVDiag: dispatch fault: %s (queue \"%s\")\n", what, label.c_str());
  std::abort();
}

// The threads that run all queued work. Threads are made when work arrives
// and no thread is idle, and end after a while without work. They are
// detached and the pool is never destroyed: the process may exit at any
// moment, with threads blocked or busy.
class Pool {
 public:
  static Pool& shared() {
    static Pool* pool = new Pool();  // deliberately never freed
    return *pool;
  }

  void submit(std::function<void()> work) {
    std::unique_lock lock(mutex_);
    queue_.push_back(std::move(work));
    if (queue_.size() <= idle_) {
      wake_.notify_one();
      return;
    }
    if (threads_ >= kMaxThreads) return;  // a busy thread takes it when free
    ++threads_;
    lock.unlock();
    try {
      std::thread([this] { workerLoop(); }).detach();
    } catch (const std::system_error&) {
      lock.lock();
      --threads_;
      if (threads_ == 0) dispatchFault("no thread can be started", "");
    }
  }

 private:
  static constexpr std::size_t kMaxThreads = 512;
  static constexpr auto kIdleLifetime = std::chrono::seconds(5);

  void workerLoop() {
    std::unique_lock lock(mutex_);
    for (;;) {
      if (!queue_.empty()) {
        auto work = std::move(queue_.front());
        queue_.pop_front();
        lock.unlock();
        work();
        work = nullptr;  // its captures die before the lock is taken again
        lock.lock();
        continue;
      }
      ++idle_;
      wake_.wait_for(lock, kIdleLifetime, [this] { return !queue_.empty(); });
      --idle_;
      if (queue_.empty()) {
        --threads_;
        return;
      }
    }
  }

  std::mutex mutex_;
  std::condition_variable wake_;
  std::deque<std::function<void()>> queue_;
  std::size_t idle_ = 0;
  std::size_t threads_ = 0;
};

// The queues whose work the calling thread is running or holding for a sync,
// innermost last.
thread_local std::vector<const DispatchQueue::Impl*> heldQueues;

class HeldScope {
 public:
  explicit HeldScope(const DispatchQueue::Impl* queue) : count_(1) { heldQueues.push_back(queue); }
  explicit HeldScope(std::vector<const DispatchQueue::Impl*> chain) : count_(chain.size()) {
    heldQueues.insert(heldQueues.end(), chain.begin(), chain.end());
  }
  ~HeldScope() { heldQueues.resize(heldQueues.size() - count_); }
  HeldScope(const HeldScope&) = delete;
  HeldScope& operator=(const HeldScope&) = delete;

 private:
  std::size_t count_;
};

bool isHeldByThisThread(const DispatchQueue::Impl* queue) {
  return std::find(heldQueues.begin(), heldQueues.end(), queue) != heldQueues.end();
}

// How many items a serial queue runs before it goes to the back of its
// target, so that queues sharing an ancestor take turns.
constexpr int kDrainBatch = 16;

}  // namespace

struct DispatchQueue::Impl : std::enable_shared_from_this<DispatchQueue::Impl> {
  Impl(std::string l, QualityOfService q, bool s, std::shared_ptr<Impl> t)
      : label(std::move(l)), qos(q), serial(s), target(std::move(t)) {}

  const std::string label;
  const QualityOfService qos;
  const bool serial;
  const std::shared_ptr<Impl> target;  // null: the pool itself

  std::mutex mutex;
  std::deque<std::function<void()>> items;
  bool scheduled = false;  // a drain is queued on the target or running

  void enqueue(std::function<void()> work) {
    if (!serial) {
      auto self = shared_from_this();
      Pool::shared().submit([self, work = std::move(work)] {
        HeldScope held(self.get());
        work();
      });
      return;
    }
    {
      std::lock_guard lock(mutex);
      items.push_back(std::move(work));
      if (scheduled) return;
      scheduled = true;
    }
    schedule();
  }

  void schedule() {
    auto self = shared_from_this();
    auto drainer = [self] { self->drain(); };
    if (target) {
      target->enqueue(std::move(drainer));
    } else {
      Pool::shared().submit(std::move(drainer));
    }
  }

  void drain() {
    HeldScope held(this);
    for (int n = 0; n < kDrainBatch; ++n) {
      std::function<void()> work;
      {
        std::lock_guard lock(mutex);
        if (items.empty()) {
          scheduled = false;
          return;
        }
        work = std::move(items.front());
        items.pop_front();
      }
      work();
    }
    {
      std::lock_guard lock(mutex);
      if (items.empty()) {
        scheduled = false;
        return;
      }
    }
    schedule();
  }

  // Marks the queue busy when it is idle (nothing waiting, no drain queued
  // or running), so that the caller may run work as the queue's own. False
  // when it is busy; then nothing changed.
  bool claimIfIdle() {
    std::lock_guard lock(mutex);
    if (scheduled || !items.empty()) return false;
    scheduled = true;
    return true;
  }

  // Ends a claim: whatever arrived meanwhile is drained on the target.
  void releaseClaim() {
    {
      std::lock_guard lock(mutex);
      if (items.empty()) {
        scheduled = false;
        return;
      }
    }
    schedule();
  }

  // This queue and its serial ancestors, outermost first.
  std::vector<const Impl*> serialChain() const {
    std::vector<const Impl*> chain;
    for (const Impl* q = this; q != nullptr; q = q->target.get()) {
      if (q->serial) chain.insert(chain.begin(), q);
    }
    return chain;
  }
};

DispatchTime DispatchTime::operator+(double seconds) const {
  if (!moment_) return *this;
  return DispatchTime(*moment_ + std::chrono::duration_cast<Clock::duration>(
                                     std::chrono::duration<double>(seconds)));
}

DispatchQueue DispatchQueue::serial(std::string label, QualityOfService qos,
                                    std::optional<DispatchQueue> target) {
  std::shared_ptr<Impl> parent = target ? target->impl_ : nullptr;
  return DispatchQueue(std::make_shared<Impl>(std::move(label), qos, true, std::move(parent)));
}

DispatchQueue DispatchQueue::global(QualityOfService qos) {
  static const auto* queues = [] {
    auto* made = new std::array<std::shared_ptr<Impl>, 6>();  // deliberately never freed
    const char* names[] = {"global.unspecified", "global.background", "global.utility",
                           "global.default", "global.user-initiated", "global.user-interactive"};
    for (std::size_t i = 0; i < made->size(); ++i) {
      (*made)[i] = std::make_shared<Impl>(std::string("cvdiag.") + names[i],
                                          static_cast<QualityOfService>(i), false, nullptr);
    }
    return made;
  }();
  return DispatchQueue((*queues)[static_cast<std::size_t>(qos)]);
}

const std::string& DispatchQueue::label() const { return impl_->label; }
QualityOfService DispatchQueue::qos() const { return impl_->qos; }
bool DispatchQueue::isCurrent() const { return isHeldByThisThread(impl_.get()); }

void DispatchQueue::async(std::function<void()> work) const { impl_->enqueue(std::move(work)); }

void DispatchQueue::async(const DispatchGroup& group, std::function<void()> work) const {
  group.enter();
  impl_->enqueue([group, work = std::move(work)] {
    work();
    group.leave();
  });
}

void DispatchQueue::sync(const std::function<void()>& work) const {
  if (!impl_->serial) {
    HeldScope held(impl_.get());
    work();
    return;
  }
  auto chain = impl_->serialChain();
  for (const Impl* q : chain) {
    if (isHeldByThisThread(q)) {
      dispatchFault("sync on a queue that the calling thread already holds", q->label);
    }
  }

  // An idle chain is taken on the spot, as the queues' own drain would take
  // it, and the work runs without waiting for a thread of the pool.
  std::vector<Impl*> claimed;
  for (const Impl* q : chain) {
    auto* queue = const_cast<Impl*>(q);
    if (!queue->claimIfIdle()) break;
    claimed.push_back(queue);
  }
  if (claimed.size() == chain.size()) {
    struct Unclaim {
      std::vector<Impl*>& queues;
      ~Unclaim() {
        for (auto it = queues.rbegin(); it != queues.rend(); ++it) (*it)->releaseClaim();
      }
    } unclaim{claimed};
    HeldScope held(std::move(chain));
    work();
    return;
  }
  for (auto it = claimed.rbegin(); it != claimed.rend(); ++it) (*it)->releaseClaim();

  // The marker holds the queue's place: once everything before it has run,
  // it tells the caller to go on and keeps the queue (and thereby its
  // ancestors) busy until the caller's work is done.
  struct Handoff {
    std::mutex mutex;
    std::condition_variable changed;
    bool started = false;
    bool done = false;
  };
  auto handoff = std::make_shared<Handoff>();
  impl_->enqueue([handoff] {
    std::unique_lock lock(handoff->mutex);
    handoff->started = true;
    handoff->changed.notify_all();
    handoff->changed.wait(lock, [&] { return handoff->done; });
  });
  {
    std::unique_lock lock(handoff->mutex);
    handoff->changed.wait(lock, [&] { return handoff->started; });
  }
  struct Release {
    Handoff& h;
    ~Release() {
      std::lock_guard lock(h.mutex);
      h.done = true;
      h.changed.notify_all();
    }
  } release{*handoff};
  HeldScope held(std::move(chain));
  work();
}

void DispatchQueue::syncBarrier(const std::function<void()>& work) const { sync(work); }

struct DispatchGroup::State {
  std::mutex mutex;
  std::condition_variable emptied;
  std::int64_t count = 0;
  std::vector<std::pair<DispatchQueue, std::function<void()>>> notifications;
};

DispatchGroup::DispatchGroup() : state_(std::make_shared<State>()) {}

void DispatchGroup::enter() const {
  std::lock_guard lock(state_->mutex);
  ++state_->count;
}

void DispatchGroup::leave() const {
  std::vector<std::pair<DispatchQueue, std::function<void()>>> due;
  {
    std::lock_guard lock(state_->mutex);
    if (state_->count == 0) dispatchFault("group left more often than entered", "");
    if (--state_->count != 0) return;
    due.swap(state_->notifications);
    state_->emptied.notify_all();
  }
  for (auto& [queue, work] : due) queue.async(std::move(work));
}

bool DispatchGroup::wait(DispatchTime deadline) const {
  std::unique_lock lock(state_->mutex);
  auto empty = [this] { return state_->count == 0; };
  if (deadline.isDistantFuture()) {
    state_->emptied.wait(lock, empty);
    return true;
  }
  return state_->emptied.wait_until(lock, *deadline.moment(), empty);
}

void DispatchGroup::notify(const DispatchQueue& queue, std::function<void()> work) const {
  {
    std::lock_guard lock(state_->mutex);
    if (state_->count != 0) {
      state_->notifications.emplace_back(queue, std::move(work));
      return;
    }
  }
  queue.async(std::move(work));
}

struct DispatchSemaphore::State {
  std::mutex mutex;
  std::condition_variable signalled;
  std::int64_t value = 0;
};

DispatchSemaphore::DispatchSemaphore(std::int64_t value) : state_(std::make_shared<State>()) {
  state_->value = value;
}

void DispatchSemaphore::signal() const {
  std::lock_guard lock(state_->mutex);
  ++state_->value;
  state_->signalled.notify_one();
}

bool DispatchSemaphore::wait(DispatchTime deadline) const {
  std::unique_lock lock(state_->mutex);
  auto available = [this] { return state_->value > 0; };
  if (deadline.isDistantFuture()) {
    state_->signalled.wait(lock, available);
  } else if (!state_->signalled.wait_until(lock, *deadline.moment(), available)) {
    return false;
  }
  --state_->value;
  return true;
}

}  // namespace platform
