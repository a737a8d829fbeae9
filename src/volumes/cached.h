#pragma once
// A fact of an object computed on first use and then kept. Any thread may
// read it; the first read computes it, concurrent first reads wait for that
// one computation, and every later read gets a reference to the kept value.
//
// A fact that a setter may replace is kept in a Replaceable instead: reads
// give a copy, since a reference could outlive the value it names. Its first
// computation runs outside the lock (it may be slow, and may read other facts
// of the same object), and a value stored meanwhile by `set` wins.

#include <atomic>
#include <mutex>
#include <optional>
#include <utility>

template <class T>
class Cached {
 public:
  template <class Compute>
  const T& get(Compute&& compute) const {
    if (!ready_.load(std::memory_order_acquire)) {
      // A mutex rather than std::call_once: glibc's once wakes waiters with a
      // system call every time, and a model of a thousand volumes makes
      // hundreds of thousands of these facts.
      std::lock_guard lock(mutex_);
      if (!ready_.load(std::memory_order_relaxed)) {
        value_.emplace(std::forward<Compute>(compute)());
        ready_.store(true, std::memory_order_release);
      }
    }
    return *value_;
  }

 private:
  mutable std::atomic<bool> ready_{false};
  mutable std::mutex mutex_;
  mutable std::optional<T> value_;
};

template <class T>
class Replaceable {
 public:
  template <class Compute>
  T get(Compute&& compute) const {
    {
      std::lock_guard lock(mutex_);
      if (value_) return *value_;
    }
    T computed = std::forward<Compute>(compute)();
    std::lock_guard lock(mutex_);
    if (!value_) value_.emplace(std::move(computed));
    return *value_;
  }

  void set(T value) {
    std::lock_guard lock(mutex_);
    value_ = std::move(value);
  }

 private:
  mutable std::mutex mutex_;
  mutable std::optional<T> value_;
};
