#include <fcntl.h>
#include <plist/plist.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utf8proc.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/machine/property_list_codec.h"

namespace platform::machine {

namespace {

constexpr std::string_view kNotAPropertyList =
    "The data couldn't be read because it isn't in the correct format.";

// Cocoa's error codes for property lists and files.
constexpr std::int64_t kReadCorrupt = 3840;
constexpr std::int64_t kWriteInvalid = 3851;
constexpr std::int64_t kFileReadUnknown = 256;
constexpr std::int64_t kFileReadNoSuchFile = 260;
constexpr std::int64_t kFileReadTooLarge = 263;

Error cocoaError(std::int64_t code, std::string text) { return Error{"NSCocoaErrorDomain", code, std::move(text)}; }

Error fail(std::string_view why) {
  return cocoaError(kReadCorrupt, std::string(kNotAPropertyList) + " (" + std::string(why) + ")");
}

Error writeError(std::string text) { return cocoaError(kWriteInvalid, std::move(text)); }

// Seconds since 2001 that the library's date type holds.
constexpr double kMinDateSeconds = -2147483647.0;
constexpr double kMaxDateSeconds = 2147483646.0;

// ---- binary structure check ------------------------------------------------

class BinaryChecker {
 public:
  explicit BinaryChecker(std::span<const std::uint8_t> b) : b_(b) {}

  std::optional<Error> run() {
    constexpr std::size_t kHeader = 8, kTrailer = 32;
    if (b_.size() < kHeader + 1 + 1 + kTrailer) return fail("binary property list too short");
    if (std::memcmp(b_.data(), "bplist00", kHeader) != 0) return fail("not a binary property list");
    const std::size_t t = b_.size() - kTrailer;
    offsetSize_ = b_[t + 6];
    refSize_ = b_[t + 7];
    const std::uint64_t count = be(t + 8, 8);
    const std::uint64_t top = be(t + 16, 8);
    const std::uint64_t table = be(t + 24, 8);
    if (offsetSize_ < 1 || offsetSize_ > 8 || refSize_ < 1 || refSize_ > 8)
      return fail("bad integer sizes in the trailer");
    if (count == 0 || top >= count) return fail("bad object count or top object");
    if (table < kHeader + 1 || table > t) return fail("offset table out of bounds");
    if (count > (t - table) / offsetSize_) return fail("offset table out of bounds");
    count_ = count;
    table_ = static_cast<std::size_t>(table);
    end_ = table_;  // objects stand between the header and the offset table
    validated_.assign(count_, false);
    onPath_.assign(count_, false);
    return walk(top);
  }

 private:
  struct Object {
    std::uint8_t type = 0;    // high nibble of the marker
    std::size_t refs = 0;     // where the references start (containers)
    std::uint64_t refCount = 0;
    std::uint64_t keyCount = 0;  // dictionaries: the first keyCount refs are keys
    bool isText() const { return type == 0x5 || type == 0x6; }
    bool isContainer() const { return type == 0xA || type == 0xD; }
  };

  std::uint64_t be(std::size_t at, std::size_t n) const {
    std::uint64_t v = 0;
    for (std::size_t i = 0; i < n; ++i) v = (v << 8) | b_[at + i];
    return v;
  }

  std::uint64_t offsetOf(std::uint64_t index) const {
    return be(table_ + static_cast<std::size_t>(index) * offsetSize_, offsetSize_);
  }

  // Whether [at, at + n) lies inside the object area.
  bool fits(std::size_t at, std::uint64_t n) const { return at <= end_ && n <= end_ - at; }

  std::optional<Error> inspect(std::uint64_t index, Object& o) {
    const std::uint64_t off = offsetOf(index);
    if (off < 8 || off >= end_) return fail("object offset out of bounds");
    std::size_t p = static_cast<std::size_t>(off);
    const std::uint8_t marker = b_[p++];
    o.type = marker >> 4;
    const std::uint8_t low = marker & 15;
    auto length = [&](std::uint64_t& n) -> bool {
      if (low != 15) {
        n = low;
        return true;
      }
      if (!fits(p, 1)) return false;
      const std::uint8_t m = b_[p++];
      if ((m >> 4) != 0x1 || (m & 15) > 3) return false;
      const std::size_t size = std::size_t{1} << (m & 15);
      if (!fits(p, size)) return false;
      n = be(p, size);
      p += size;
      return true;
    };
    switch (o.type) {
      case 0x0:
        if (low != 8 && low != 9) return fail("unsupported object kind");
        return std::nullopt;
      case 0x1:
        if (low > 4 || !fits(p, std::uint64_t{1} << low)) return fail("integer out of bounds");
        return std::nullopt;
      case 0x2:
        if ((low != 2 && low != 3) || !fits(p, std::uint64_t{1} << low)) return fail("real out of bounds");
        return std::nullopt;
      case 0x3: {
        if (low != 3 || !fits(p, 8)) return fail("date out of bounds");
        std::uint64_t bits = be(p, 8);
        double seconds;
        std::memcpy(&seconds, &bits, sizeof seconds);
        if (!(seconds >= kMinDateSeconds && seconds <= kMaxDateSeconds)) return fail("date out of range");
        return std::nullopt;
      }
      case 0x4: {
        std::uint64_t n = 0;
        if (!length(n) || !fits(p, n)) return fail("data out of bounds");
        return std::nullopt;
      }
      case 0x5: {
        std::uint64_t n = 0;
        if (!length(n) || !fits(p, n)) return fail("text out of bounds");
        if (!validated_[index] && std::memchr(b_.data() + p, 0, static_cast<std::size_t>(n)) != nullptr)
          return fail("text holds U+0000");
        return std::nullopt;
      }
      case 0x6: {
        std::uint64_t n = 0;
        if (!length(n) || n > end_ / 2 || !fits(p, n * 2)) return fail("text out of bounds");
        if (!validated_[index]) {
          for (std::uint64_t i = 0; i < n; ++i) {
            const std::uint64_t unit = be(p + static_cast<std::size_t>(i) * 2, 2);
            if (unit == 0) return fail("text holds U+0000");
            if (unit >= 0xD800 && unit <= 0xDBFF) {
              if (i + 1 >= n) return fail("text is not valid UTF-16");
              const std::uint64_t next = be(p + static_cast<std::size_t>(i + 1) * 2, 2);
              if (next < 0xDC00 || next > 0xDFFF) return fail("text is not valid UTF-16");
              ++i;
            } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
              return fail("text is not valid UTF-16");
            }
          }
        }
        return std::nullopt;
      }
      case 0x8:
        if (low > 7 || !fits(p, std::uint64_t{low} + 1)) return fail("UID out of bounds");
        return std::nullopt;
      case 0xA:
      case 0xD: {
        std::uint64_t n = 0;
        if (!length(n)) return fail("container out of bounds");
        const std::uint64_t refs = o.type == 0xD ? n * 2 : n;
        if (n > end_ || refs > end_ / refSize_ || !fits(p, refs * refSize_))
          return fail("container out of bounds");
        o.refs = p;
        o.refCount = refs;
        o.keyCount = o.type == 0xD ? n : 0;
        return std::nullopt;
      }
      default:
        return fail("unsupported object kind");
    }
  }

  std::optional<Error> visit(std::uint64_t index, Object& o) {
    if (++nodes_ > kMaxPropertyListNodes) return fail("too many values");
    if (auto f = inspect(index, o)) return f;
    validated_[index] = true;
    return std::nullopt;
  }

  std::optional<Error> walk(std::uint64_t top) {
    struct Frame {
      std::uint64_t index;
      Object object;
      std::uint64_t next;
    };
    std::vector<Frame> stack;
    Object o;
    if (auto f = visit(top, o)) return f;
    if (!o.isContainer()) return std::nullopt;
    onPath_[top] = true;
    stack.push_back({top, o, 0});
    while (!stack.empty()) {
      Frame& frame = stack.back();
      if (frame.next == frame.object.refCount) {
        onPath_[frame.index] = false;
        stack.pop_back();
        continue;
      }
      const bool isKey = frame.next < frame.object.keyCount;
      const std::uint64_t child =
          be(frame.object.refs + static_cast<std::size_t>(frame.next) * refSize_, refSize_);
      ++frame.next;
      if (child >= count_) return fail("object reference out of range");
      if (onPath_[child]) return fail("object references form a cycle");
      Object c;
      if (auto f = visit(child, c)) return f;
      if (isKey && !c.isText()) return fail("dictionary key is not text");
      if (c.isContainer()) {
        if (stack.size() >= kMaxPropertyListDepth) return fail("nested too deeply");
        onPath_[child] = true;
        stack.push_back({child, c, 0});  // `frame` is not used after this
      }
    }
    return std::nullopt;
  }

  std::span<const std::uint8_t> b_;
  std::size_t offsetSize_ = 0, refSize_ = 0;
  std::uint64_t count_ = 0;
  std::size_t table_ = 0, end_ = 0;
  std::vector<bool> validated_, onPath_;
  std::size_t nodes_ = 0;
};

// ---- XML pre-scan ----------------------------------------------------------

bool startsWith(std::string_view text, std::size_t at, std::string_view prefix) {
  return text.size() - at >= prefix.size() && text.compare(at, prefix.size(), prefix) == 0;
}

bool isTagEnd(std::string_view text, std::size_t at) {
  if (at >= text.size()) return false;
  char c = text[at];
  return c == '>' || c == '/' || c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// The year of a property-list date text ("2024-03-01T10:00:00Z").
std::optional<int> dateYear(std::string_view content) {
  std::size_t i = 0;
  while (i < content.size() && (content[i] == ' ' || content[i] == '\n' || content[i] == '\t' || content[i] == '\r')) ++i;
  int year = 0, digits = 0;
  while (i < content.size() && content[i] >= '0' && content[i] <= '9' && digits < 5) {
    year = year * 10 + (content[i] - '0');
    ++i;
    ++digits;
  }
  if (digits != 4 || i >= content.size() || content[i] != '-') return std::nullopt;
  return year;
}

// ---- library values to platform values ----------------------------------------

struct PlistDeleter {
  void operator()(void* p) const { plist_free(static_cast<plist_t>(p)); }
};
using PlistPtr = std::unique_ptr<void, PlistDeleter>;

std::optional<Error> checkText(const char* s, std::size_t n) {
  const auto* p = reinterpret_cast<const utf8proc_uint8_t*>(s);
  std::size_t i = 0;
  while (i < n) {
    utf8proc_int32_t cp = 0;
    utf8proc_ssize_t used = utf8proc_iterate(p + i, static_cast<utf8proc_ssize_t>(n - i), &cp);
    if (used <= 0) return fail("text is not valid UTF-8");
    if (cp == 0) return fail("text holds U+0000");
    i += static_cast<std::size_t>(used);
  }
  return std::nullopt;
}

Result<Value> toValue(plist_t node, std::size_t depth) {
  if (depth > kMaxPropertyListDepth) return fail("nested too deeply");
  switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN: {
      std::uint8_t b = 0;
      plist_get_bool_val(node, &b);
      return Value(b != 0);
    }
    case PLIST_UINT: {
      std::uint64_t u = 0;
      plist_get_uint_val(node, &u);
      return Value(static_cast<long long>(static_cast<std::int64_t>(u)));
    }
    case PLIST_UID: {
      std::uint64_t u = 0;
      plist_get_uid_val(node, &u);
      return Value(static_cast<unsigned long long>(u));
    }
    case PLIST_REAL: {
      double d = 0;
      plist_get_real_val(node, &d);
      return Value(d);
    }
    case PLIST_STRING:
    case PLIST_KEY: {
      std::uint64_t n = 0;
      const char* s = plist_get_string_ptr(node, &n);
      if (s == nullptr) return Value(std::string());
      if (auto f = checkText(s, static_cast<std::size_t>(n))) return *f;
      return Value(std::string(s, static_cast<std::size_t>(n)));
    }
    case PLIST_DATA: {
      std::uint64_t n = 0;
      const char* d = plist_get_data_ptr(node, &n);
      if (d == nullptr || n == 0) return Value(Bytes());
      const auto* u = reinterpret_cast<const std::uint8_t*>(d);
      return Value(Bytes(std::vector<std::uint8_t>(u, u + n)));
    }
    case PLIST_DATE: {
      std::int32_t sec = 0, usec = 0;
      plist_get_date_val(node, &sec, &usec);
      if (usec < 0 || usec >= 1000000) return fail("date out of range");
      // The library gives the whole seconds cut toward 2001 and the fraction
      // without its sign, so a date before 2001 takes its fraction off. (In
      // the one second before 2001 the sign is lost for good.)
      const double fraction = usec / 1e6;
      return Value(Date::fromReferenceDate(sec < 0 ? sec - fraction : sec + fraction));
    }
    case PLIST_ARRAY: {
      Array out;
      const std::uint32_t n = plist_array_get_size(node);
      out.reserve(n);
      for (std::uint32_t i = 0; i < n; ++i) {
        plist_t item = plist_array_get_item(node, i);
        if (item == nullptr) return fail("array item missing");
        auto v = toValue(item, depth + 1);
        if (!v) return v.error();
        out.push_back(std::move(v).value());
      }
      return Value(std::move(out));
    }
    case PLIST_DICT: {
      Dictionary out;
      plist_dict_iter it = nullptr;
      plist_dict_new_iter(node, &it);
      if (it == nullptr) return fail("dictionary unreadable");
      std::unique_ptr<void, decltype(&std::free)> iter(it, &std::free);
      for (;;) {
        char* rawKey = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, it, &rawKey, &item);
        std::unique_ptr<char, decltype(&std::free)> key(rawKey, &std::free);
        if (item == nullptr) break;
        if (rawKey == nullptr) return fail("dictionary key missing");
        std::string k(rawKey);
        if (auto f = checkText(k.data(), k.size())) return *f;
        auto v = toValue(item, depth + 1);
        if (!v) return v.error();
        out.insert_or_assign(std::move(k), std::move(v).value());
      }
      return Value(std::move(out));
    }
    default:
      return fail("unsupported value kind");
  }
}

// ---- platform values to library values ---------------------------------------

Result<PlistPtr> toPlist(const Value& value, PropertyListFormat format, std::size_t depth) {
  if (depth > kMaxPropertyListDepth) return writeError("The property list is nested too deeply to be written.");
  auto text = [](const std::string& s) -> Result<PlistPtr> {
    if (auto f = checkText(s.data(), s.size()))
      return writeError("The property list holds text that can't be written: " + f->localizedDescription);
    return PlistPtr(plist_new_string(s.c_str()));
  };
  switch (value.kind()) {
    case Value::Kind::String: return text(*value.string());
    case Value::Kind::Boolean: return PlistPtr(plist_new_bool(*value.boolean() ? 1 : 0));
    case Value::Kind::Integer:
      // Two's complement: the library has only an unsigned integer.
      return PlistPtr(plist_new_uint(static_cast<std::uint64_t>(*value.asInt64())));
    case Value::Kind::Unsigned: return PlistPtr(plist_new_uint(*value.asUInt64()));
    case Value::Kind::Real: return PlistPtr(plist_new_real(*value.asDouble()));
    case Value::Kind::Url: return text(value.url()->absoluteString());
    case Value::Kind::Uuid: return text(value.uuid()->uuidString());
    case Value::Kind::Data: {
      const Bytes& b = *value.data();
      return PlistPtr(plist_new_data(reinterpret_cast<const char*>(b.data()), b.size()));
    }
    case Value::Kind::DateTime: {
      double s = value.date()->secondsSinceReferenceDate();
      if (!(s >= kMinDateSeconds && s <= kMaxDateSeconds))
        return writeError("The property list holds a date that can't be written.");
      double whole = std::floor(s);
      // XML holds whole seconds; give it the second the date falls in.
      auto usec = format == PropertyListFormat::XML ? 0 : static_cast<std::int32_t>(std::llround((s - whole) * 1e6));
      auto sec = static_cast<std::int32_t>(whole);
      if (usec >= 1000000) {
        usec -= 1000000;
        ++sec;
      }
      return PlistPtr(plist_new_date(sec, usec));
    }
    case Value::Kind::List: {
      PlistPtr array(plist_new_array());
      for (const Value& item : *value.array()) {
        auto p = toPlist(item, format, depth + 1);
        if (!p) return p.error();
        plist_array_append_item(array.get(), std::move(p).value().release());
      }
      return array;
    }
    case Value::Kind::Map: {
      PlistPtr dict(plist_new_dict());
      for (const auto& [key, item] : *value.dictionary()) {
        if (auto f = checkText(key.data(), key.size()))
          return writeError("The property list holds a key that can't be written: " + f->localizedDescription);
        auto p = toPlist(item, format, depth + 1);
        if (!p) return p.error();
        plist_dict_set_item(dict.get(), key.c_str(), std::move(p).value().release());
      }
      return dict;
    }
  }
  return writeError("The property list holds a value that can't be written.");
}

}  // namespace

std::optional<Error> checkBinaryPropertyList(std::span<const std::uint8_t> bytes) {
  return BinaryChecker(bytes).run();
}

std::optional<Error> checkXMLPropertyList(std::string_view text) {
  std::size_t depth = 0;
  std::size_t i = 0;
  while ((i = text.find('<', i)) != std::string_view::npos) {
    auto skipTo = [&](std::string_view terminator) {
      std::size_t e = text.find(terminator, i);
      i = e == std::string_view::npos ? text.size() : e + terminator.size();
    };
    // The character behind "<" tells which of the tags below can stand
    // here (most tags, key, string, integer, …, are none of them), so each
    // tag is compared only where its second character stands.
    const char next = i + 1 < text.size() ? text[i + 1] : '\0';
    if (next != '!' && next != '/' && next != 'a' && next != 'd') {
      ++i;
    } else if (next == '!' && startsWith(text, i, "<!--")) {
      skipTo("-->");
    } else if (next == '!' && startsWith(text, i, "<![CDATA[")) {
      skipTo("]]>");
    } else if (next == '/' && (startsWith(text, i, "</array") || startsWith(text, i, "</dict"))) {
      if (depth > 0) --depth;
      ++i;
    } else if ((next == 'a' && startsWith(text, i, "<array") && isTagEnd(text, i + 6)) ||
               (next == 'd' && startsWith(text, i, "<dict") && isTagEnd(text, i + 5))) {
      std::size_t close = text.find('>', i);
      if (close == std::string_view::npos) return fail("unterminated element");
      if (text[close - 1] != '/' && ++depth > kMaxPropertyListDepth) return fail("nested too deeply");
      i = close + 1;
    } else if (next == 'd' && startsWith(text, i, "<date") && isTagEnd(text, i + 5)) {
      std::size_t close = text.find('>', i);
      if (close == std::string_view::npos) return fail("unterminated element");
      if (text[close - 1] != '/') {
        std::size_t endTag = text.find("</date>", close);
        if (endTag == std::string_view::npos) return fail("unterminated date");
        auto year = dateYear(text.substr(close + 1, endTag - close - 1));
        // The library holds dates as 32-bit seconds around 2001.
        if (!year || *year < 1934 || *year > 2067) return fail("date out of range");
        i = endTag + 7;
      } else {
        i = close + 1;
      }
    } else {
      ++i;
    }
  }
  return std::nullopt;
}

Result<Value> decodePropertyList(std::span<const std::uint8_t> bytes) {
  if (bytes.empty()) return fail("empty data");
  if (bytes.size() > kMaxPropertyListBytes) return fail("larger than a property list may be");
  const bool binary = bytes.size() >= 8 && std::memcmp(bytes.data(), "bplist00", 8) == 0;
  if (binary) {
    if (auto f = checkBinaryPropertyList(bytes)) return *f;
  } else {
    std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    if (auto f = checkXMLPropertyList(text)) return *f;
  }
  plist_t raw = nullptr;
  plist_from_memory(reinterpret_cast<const char*>(bytes.data()), static_cast<std::uint32_t>(bytes.size()), &raw);
  if (raw == nullptr) return fail(binary ? "malformed binary property list" : "malformed XML property list");
  PlistPtr root(raw);
  return toValue(root.get(), 0);
}

Result<Bytes> encodePropertyList(const Value& value, PropertyListFormat format) {
  auto root = toPlist(value, format, 0);
  if (!root) return root.error();
  char* out = nullptr;
  std::uint32_t length = 0;
  if (format == PropertyListFormat::Binary) {
    plist_to_bin(root->get(), &out, &length);
  } else {
    plist_to_xml(root->get(), &out, &length);
  }
  if (out == nullptr) return writeError("The property list could not be written.");
  const auto* u = reinterpret_cast<const std::uint8_t*>(out);
  Bytes bytes(std::vector<std::uint8_t>(u, u + length));
  if (format == PropertyListFormat::Binary) {
    plist_to_bin_free(out);
  } else {
    plist_to_xml_free(out);
  }
  return bytes;
}

Result<Bytes> readFileCapped(const std::filesystem::path& path, std::size_t cap) {
  // Not blocking, so a named pipe does not hold the open; it is refused below.
  int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    const int e = errno;
    return cocoaError(e == ENOENT ? kFileReadNoSuchFile : kFileReadUnknown,
                      "The file couldn't be opened: " + std::string(std::strerror(e)));
  }
  struct Closer {
    int fd;
    ~Closer() { ::close(fd); }
  } closer{fd};
  struct stat st {};
  if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) return cocoaError(kFileReadUnknown, "The file couldn't be opened: not a file");
  if (static_cast<std::uint64_t>(st.st_size) > cap) return cocoaError(kFileReadTooLarge, "The file is too large to be read.");
  std::vector<std::uint8_t> data(static_cast<std::size_t>(st.st_size) + 1);
  std::size_t got = 0;
  for (;;) {
    if (got == data.size()) {
      if (data.size() > cap) return cocoaError(kFileReadTooLarge, "The file is too large to be read.");
      data.resize(std::min(cap + 1, data.size() * 2 + 1));
    }
    ssize_t n = ::read(fd, data.data() + got, data.size() - got);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return cocoaError(kFileReadUnknown, "The file couldn't be read: " + std::string(std::strerror(errno)));
    if (n == 0) break;
    got += static_cast<std::size_t>(n);
  }
  if (got > cap) return cocoaError(kFileReadTooLarge, "The file is too large to be read.");
  data.resize(got);
  return Bytes(std::move(data));
}

Result<Value> readPropertyListFile(const std::filesystem::path& path) {
  auto bytes = readFileCapped(path, kMaxPropertyListBytes);
  if (!bytes) return bytes.error();
  return decodePropertyList(bytes->bytes());
}

}  // namespace platform::machine
