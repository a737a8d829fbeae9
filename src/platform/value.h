#pragma once
// The values that cross the platform seam: what property lists, Disk
// Arbitration descriptions, I/O registry properties and URL resource values
// hold. A value is immutable once made and cheap to copy: bytes are shared,
// containers are copied.
//
// Dictionaries iterate in ascending byte order of their keys, whatever order
// the source had, so every report built from them is deterministic.

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
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
  bool hasDirectoryPath() const;
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

// Immutable bytes, shared between copies.
class Bytes {
 public:
  Bytes() : data_(std::make_shared<const std::vector<std::uint8_t>>()) {}
  explicit Bytes(std::vector<std::uint8_t> bytes)
      : data_(std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes))) {}
  static Bytes fromString(std::string_view text) {
    return Bytes(std::vector<std::uint8_t>(text.begin(), text.end()));
  }
  const std::vector<std::uint8_t>& bytes() const { return *data_; }
  std::size_t size() const { return data_->size(); }
  const std::uint8_t* data() const { return data_->data(); }
  std::string_view asStringView() const {
    return {reinterpret_cast<const char*>(data_->data()), data_->size()};
  }

  friend bool operator==(const Bytes& a, const Bytes& b) { return *a.data_ == *b.data_; }
  friend auto operator<=>(const Bytes& a, const Bytes& b) { return *a.data_ <=> *b.data_; }

 private:
  std::shared_ptr<const std::vector<std::uint8_t>> data_;
};

// A moment, as seconds since 1970-01-01 00:00:00 UTC.
struct Date {
  double secondsSince1970 = 0;
  // Seconds between 1970 and the platform's reference date, 2001-01-01.
  static constexpr double kReferenceOffset = 978307200.0;
  double secondsSinceReferenceDate() const { return secondsSince1970 - kReferenceOffset; }
  static Date fromReferenceDate(double s) { return Date{s + kReferenceOffset}; }
  // Parses "YYYY-MM-DDTHH:MM:SS[.fff]Z" (UTC); nothing otherwise.
  static std::optional<Date> fromISO8601(std::string_view text);

  friend bool operator==(const Date&, const Date&) = default;
  friend auto operator<=>(const Date&, const Date&) = default;
};

class Value;
using Array = std::vector<Value>;
using Dictionary = std::map<std::string, Value, std::less<>>;

// One platform value. Numbers keep their kind: a signed, an unsigned or a
// real number; `asInt64`/`asDouble` read any kind of number.
class Value {
 public:
  enum class Kind { String, Boolean, Integer, Unsigned, Real, Url, Uuid, Data, DateTime, List, Map };

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

  friend bool operator==(const Value&, const Value&);

 private:
  std::variant<std::string, bool, std::int64_t, std::uint64_t, double, URL, UUID, Bytes, Date,
               Array, Dictionary>
      v_;
};

// Looks a key up in a dictionary; nothing when the key is missing.
const Value* lookup(const Dictionary& dictionary, std::string_view key);

}  // namespace platform
