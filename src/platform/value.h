#pragma once
// The values that cross the platform seam: what property lists, Disk
// Arbitration descriptions, I/O registry properties and URL resource values
// hold. A value is immutable once made and cheap to copy: bytes are shared,
// containers are copied.
//
// Dictionaries iterate in ascending byte order of their keys, whatever order
// the source had, so every report built from them is deterministic.

#include <algorithm>
#include <array>
#include <compare>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace platform {

// A file or other URL, kept as its absolute text ("file:///Volumes/Data/").
class URL {
 public:
  // Parses absolute URL text. Gives nothing for text without a scheme.
  static std::optional<URL> fromString(std::string_view absoluteText);
  // The file URL of a path; `isDirectory` adds the trailing "/" (never two).
  // A relative path is taken as relative to "/".
  static URL fileURLWithPath(std::string_view path, bool isDirectory);

  // The absolute text: scheme, "://", percent-encoded path.
  const std::string& absoluteString() const { return text_; }
  bool isFileURL() const;
  // The decoded path, without a final "/" unless it is "/" itself.
  std::string path() const;
  // The decoded path as the URL has it, trailing "/" included.
  std::string pathWithTrailingSlash() const;
  // A file URL of this path with one component added; "/" between them.
  URL appendingPathComponent(std::string_view component, bool isDirectory) const;
  // The last path component, decoded ("" for "/").
  std::string lastPathComponent() const;

  friend bool operator==(const URL&, const URL&) = default;
  friend auto operator<=>(const URL&, const URL&) = default;

 private:
  explicit URL(std::string text) : text_(std::move(text)) {}
  std::string text_;
};

// Percent-encodes a path for a file URL: letters, digits and
// -._~!$&'()*+,;=:@/ stay, every other byte becomes %XX (upper case).
std::string percentEncodePath(std::string_view path);
// Decodes %XX escapes; a malformed escape is kept as it stands.
std::string percentDecode(std::string_view text);

// A 128-bit UUID. Its text is upper-case 8-4-4-4-12.
class UUID {
 public:
  UUID() = default;
  explicit UUID(const std::array<std::uint8_t, 16>& bytes) : bytes_(bytes) {}
  // Accepts 8-4-4-4-12 hexadecimal text in either case; nothing otherwise.
  static std::optional<UUID> fromString(std::string_view text);
  std::string uuidString() const;
  const std::array<std::uint8_t, 16>& bytes() const { return bytes_; }

  friend bool operator==(const UUID&, const UUID&) = default;
  friend auto operator<=>(const UUID&, const UUID&) = default;

 private:
  std::array<std::uint8_t, 16> bytes_{};
};

// Immutable bytes, shared between copies. The bytes may belong to something
// else that the value keeps alive, such as a mapped file.
class Bytes {
 public:
  Bytes() = default;
  explicit Bytes(std::vector<std::uint8_t> bytes) {
    auto owned = std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes));
    view_ = std::span<const std::uint8_t>(owned->data(), owned->size());
    owner_ = std::move(owned);
  }
  // Bytes that live as long as `owner` does.
  Bytes(std::shared_ptr<const void> owner, std::span<const std::uint8_t> view)
      : owner_(std::move(owner)), view_(view) {}
  static Bytes fromString(std::string_view text) {
    return Bytes(std::vector<std::uint8_t>(text.begin(), text.end()));
  }
  std::span<const std::uint8_t> bytes() const { return view_; }
  std::size_t size() const { return view_.size(); }
  const std::uint8_t* data() const { return view_.data(); }
  std::string_view asStringView() const {
    return {reinterpret_cast<const char*>(view_.data()), view_.size()};
  }

  friend bool operator==(const Bytes& a, const Bytes& b) {
    return std::equal(a.view_.begin(), a.view_.end(), b.view_.begin(), b.view_.end());
  }
  friend std::strong_ordering operator<=>(const Bytes& a, const Bytes& b) {
    return std::lexicographical_compare_three_way(a.view_.begin(), a.view_.end(), b.view_.begin(), b.view_.end());
  }

 private:
  std::shared_ptr<const void> owner_;
  std::span<const std::uint8_t> view_;
};

// A moment, kept as the platform keeps it: seconds since the reference date,
// 2001-01-01 00:00:00 UTC, in a 64-bit real, so that a date read from a
// property list is written back bit for bit.
class Date {
 public:
  // Seconds between 1970 and the reference date.
  static constexpr double kReferenceOffset = 978307200.0;

  static Date fromReferenceDate(double seconds) { return Date(seconds); }
  static Date fromSecondsSince1970(double seconds) { return Date(seconds - kReferenceOffset); }
  double secondsSinceReferenceDate() const { return sinceReference_; }
  double secondsSince1970() const { return sinceReference_ + kReferenceOffset; }

  // A day and time of the proleptic Gregorian calendar in UTC; years before 1
  // count down through 0 and below.
  struct Civil {
    std::int64_t year = 2001;
    int month = 1, day = 1, hour = 0, minute = 0, second = 0;
  };
  // The moment of a civil time; out-of-range fields carry over (day 32 is the
  // first of the next month).
  static Date fromCivil(const Civil& civil);
  // The whole second this date falls in; nothing for a date too far out to
  // count in seconds (beyond about 2.9e11 years, or not a number).
  std::optional<Civil> civil() const;

  // Parses "YYYY-MM-DDTHH:MM:SS[.fff]Z" (UTC); nothing otherwise.
  static std::optional<Date> fromISO8601(std::string_view text);

  friend bool operator==(const Date&, const Date&) = default;
  friend auto operator<=>(const Date&, const Date&) = default;

 private:
  explicit Date(double sinceReference) : sinceReference_(sinceReference) {}
  double sinceReference_ = 0;
};

// An object reference of a keyed archive, as the binary property list form
// holds it; kept and written back unchanged.
struct UID {
  std::uint64_t value = 0;
  friend bool operator==(const UID&, const UID&) = default;
  friend auto operator<=>(const UID&, const UID&) = default;
};

class Value;
using Array = std::vector<Value>;
using Dictionary = std::map<std::string, Value, std::less<>>;

// One platform value. Numbers keep their kind: a signed, an unsigned or a
// real number; `asInt64`/`asDouble` read any kind of number.
class Value {
 public:
  enum class Kind { String, Boolean, Integer, Unsigned, Real, Url, Uuid, Data, DateTime, List, Map, Uid };

  Value() : v_(std::string()) {}
  Value(std::string s) : v_(std::move(s)) {}
  Value(const char* s) : v_(std::string(s)) {}
  Value(std::string_view s) : v_(std::string(s)) {}
  Value(bool b) : v_(b) {}
  Value(int i) : v_(static_cast<std::int64_t>(i)) {}
  Value(long i) : v_(static_cast<std::int64_t>(i)) {}
  Value(long long i) : v_(static_cast<std::int64_t>(i)) {}
  Value(unsigned long long u) : v_(static_cast<std::uint64_t>(u)) {}
  Value(unsigned long u) : v_(static_cast<std::uint64_t>(u)) {}
  Value(unsigned u) : v_(static_cast<std::int64_t>(u)) {}
  Value(double d) : v_(d) {}
  Value(URL u) : v_(std::move(u)) {}
  Value(UUID u) : v_(u) {}
  Value(Bytes b) : v_(std::move(b)) {}
  Value(Date d) : v_(d) {}
  Value(Array a) : v_(std::move(a)) {}
  Value(Dictionary d) : v_(std::move(d)) {}
  Value(UID u) : v_(u) {}

  Kind kind() const { return static_cast<Kind>(v_.index()); }
  bool isString() const { return kind() == Kind::String; }
  bool isBoolean() const { return kind() == Kind::Boolean; }
  bool isNumber() const {
    return kind() == Kind::Integer || kind() == Kind::Unsigned || kind() == Kind::Real;
  }

  // Each accessor gives the value only when it is of that kind.
  const std::string* string() const { return std::get_if<std::string>(&v_); }
  std::optional<bool> boolean() const;
  std::optional<std::int64_t> asInt64() const;   // any number; reals truncated
  std::optional<std::uint64_t> asUInt64() const; // any non-negative number
  std::optional<double> asDouble() const;        // any number
  const URL* url() const { return std::get_if<URL>(&v_); }
  const UUID* uuid() const { return std::get_if<UUID>(&v_); }
  const Bytes* data() const { return std::get_if<Bytes>(&v_); }
  const Date* date() const { return std::get_if<Date>(&v_); }
  const Array* array() const { return std::get_if<Array>(&v_); }
  const Dictionary* dictionary() const { return std::get_if<Dictionary>(&v_); }
  const UID* uid() const { return std::get_if<UID>(&v_); }

  friend bool operator==(const Value&, const Value&);

 private:
  std::variant<std::string, bool, std::int64_t, std::uint64_t, double, URL, UUID, Bytes, Date,
               Array, Dictionary, UID>
      v_;
};

// Looks a key up in a dictionary; nothing when the key is missing.
const Value* lookup(const Dictionary& dictionary, std::string_view key);

}  // namespace platform
