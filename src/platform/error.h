#pragma once
// Errors that platform operations hand back, and the result type that carries
// either a value or such an error.

#include <cstdint>
#include <string>
#include <utility>
#include <variant>

namespace platform {

// A Foundation-style error: what the caller prints is `localizedDescription`.
struct Error {
  std::string domain;  // "NSCocoaErrorDomain", "NSPOSIXErrorDomain", …
  std::int64_t code = 0;
  std::string localizedDescription;

  friend bool operator==(const Error&, const Error&) = default;
};

// An `errno` value of a failed system call (ENOENT, EINVAL, …).
struct Errno {
  int code = 0;
  friend bool operator==(const Errno&, const Errno&) = default;
};

// Either a value or an error; never both, never neither.
template <class T, class E = Error>
class Result {
 public:
  Result(T value) : v_(std::in_place_index<0>, std::move(value)) {}
  Result(E error) : v_(std::in_place_index<1>, std::move(error)) {}

  bool ok() const { return v_.index() == 0; }
  explicit operator bool() const { return ok(); }
  // Only when `ok()`.
  const T& value() const& { return std::get<0>(v_); }
  T&& value() && { return std::get<0>(std::move(v_)); }
  const T& operator*() const& { return value(); }
  const T* operator->() const { return &value(); }
  // Only when not `ok()`.
  const E& error() const { return std::get<1>(v_); }

 private:
  std::variant<T, E> v_;
};

}  // namespace platform
