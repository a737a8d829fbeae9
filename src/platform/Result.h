#pragma once
// A value or the words of why there is none. Platform operations that the
// platform lets throw (reading a property list, making a bookmark) give one of
// these; the message is what the platform's error would show as its
// localized description.

#include <string>
#include <utility>
#include <variant>

namespace platform {

struct Failure {
  std::string message;
};

template <class T>
class Result {
 public:
  Result(T value) : v_(std::move(value)) {}
  Result(Failure failure) : v_(std::move(failure)) {}

  bool ok() const { return v_.index() == 0; }
  explicit operator bool() const { return ok(); }

  // The value; only when ok().
  const T& value() const& { return std::get<0>(v_); }
  T& value() & { return std::get<0>(v_); }
  T&& value() && { return std::get<0>(std::move(v_)); }
  const T& operator*() const& { return value(); }
  const T* operator->() const { return &value(); }

  // The message; only when !ok().
  const std::string& error() const { return std::get<1>(v_).message; }

 private:
  std::variant<T, Failure> v_;
};

}  // namespace platform
