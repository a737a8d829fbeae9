// The binary property-list form. A file is the header "bplist00", the
// objects, a table of their offsets and a 32-byte trailer: six unused bytes,
// the size of an offset, the size of an object reference, the number of
// objects, the index of the top object and where the offset table starts.
// Each object begins with a marker byte, its kind in the high nibble and a
// size (or 15: the size follows as an integer object) in the low one.
#include <cstring>
#include <deque>
#include <limits>
#include <unordered_map>
#include <vector>

#include "platform/machine/property_list_forms.h"
#include "text/text.h"
#include "platform/property_list_serialization.h"

namespace platform::machine {

namespace {

constexpr std::size_t kHeaderSize = 8;
constexpr std::size_t kTrailerSize = 32;

enum Marker : std::uint8_t {
  kSimple = 0x0,  // 0x08 false, 0x09 true
  kInteger = 0x1,
  kReal = 0x2,
  kDate = 0x3,
  kData = 0x4,
  kASCII = 0x5,
  kUTF16 = 0x6,
  kUID = 0x8,
  kArray = 0xA,
  kDictionary = 0xD,
};

// What reading may expand to beyond the file's own size: an object reached
// through several references counts each time, so that a few bytes of
// shared references can't make an exponential tree. Each byte of the file
// pays for one more value and for sixteen more bytes of text or data.
constexpr std::uint64_t kTextBudgetBase = std::uint64_t{64} << 20;
constexpr std::uint64_t kTextBytesPerFileByte = 16;

class BinaryReader {
 public:
  explicit BinaryReader(std::span<const std::uint8_t> b) : b_(b) {}

  Result<Value> read() {
    if (b_.size() < kHeaderSize + 1 + kTrailerSize) return propertyListReadError("binary property list too short");
    if (std::memcmp(b_.data(), "bplist00", kHeaderSize) != 0)
      return propertyListReadError("not a binary property list");
    const std::size_t t = b_.size() - kTrailerSize;
    offsetSize_ = b_[t + 6];
    refSize_ = b_[t + 7];
    const std::uint64_t count = be(t + 8, 8);
    const std::uint64_t top = be(t + 16, 8);
    const std::uint64_t table = be(t + 24, 8);
    if (offsetSize_ < 1 || offsetSize_ > 8 || refSize_ < 1 || refSize_ > 8)
      return propertyListReadError("bad integer sizes in the trailer");
    if (count == 0 || top >= count) return propertyListReadError("bad object count or top object");
    if (table < kHeaderSize + 1 || table > t || count > (t - table) / offsetSize_)
      return propertyListReadError("offset table out of bounds");
    count_ = count;
    table_ = static_cast<std::size_t>(table);
    nodeBudget_ = kMaxPropertyListNodes + b_.size();
    textBudget_ = kTextBudgetBase + kTextBytesPerFileByte * b_.size();
    onPath_.assign(count_, false);
    return walk(top);
  }

 private:
  // A container whose values are being read.
  struct Frame {
    std::uint64_t index;
    bool dictionary;
    std::size_t refs;      // where its references start
    std::uint64_t count;   // entries (pairs for a dictionary)
    std::uint64_t next = 0;
    Array array{};
    Dictionary entries{};
    std::string key{};     // the key of the value being read
  };

  // An object's marker and size, and where its content starts.
  struct Object {
    std::uint8_t kind;
    std::uint8_t low;
    std::uint64_t length;  // for data, text and containers
    std::size_t content;
  };

  std::uint64_t be(std::size_t at, std::size_t n) const {
    std::uint64_t v = 0;
    for (std::size_t i = 0; i < n; ++i) v = (v << 8) | b_[at + i];
    return v;
  }

  // Whether [at, at + n) lies in the object area, between the header and
  // the offset table.
  bool fits(std::size_t at, std::uint64_t n) const { return at <= table_ && n <= table_ - at; }

  std::optional<Object> locate(std::uint64_t index) const {
    const std::uint64_t offset = be(table_ + static_cast<std::size_t>(index) * offsetSize_, offsetSize_);
    if (offset < kHeaderSize || offset >= table_) return std::nullopt;
    auto p = static_cast<std::size_t>(offset);
    const std::uint8_t marker = b_[p++];
    Object o{static_cast<std::uint8_t>(marker >> 4), static_cast<std::uint8_t>(marker & 15), marker & 15u, p};
    const bool sized = o.kind == kData || o.kind == kASCII || o.kind == kUTF16 || o.kind == kArray ||
                       o.kind == kDictionary;
    if (sized && o.low == 15) {
      if (!fits(p, 1)) return std::nullopt;
      const std::uint8_t m = b_[p++];
      if ((m >> 4) != kInteger || (m & 15) > 3) return std::nullopt;
      const std::size_t size = std::size_t{1} << (m & 15);
      if (!fits(p, size)) return std::nullopt;
      o.length = be(p, size);
      o.content = p + size;
    }
    return o;
  }

  Error bad(std::string_view why) const { return propertyListReadError(why); }

  bool spendText(std::uint64_t n) {
    if (n > textBudget_) return false;
    textBudget_ -= n;
    return true;
  }

  // A value that is not a container.
  Result<Value> leaf(const Object& o) {
    const std::size_t p = o.content;
    switch (o.kind) {
      case kSimple:
        if (o.low == 8) return Value(false);
        if (o.low == 9) return Value(true);
        return bad("unsupported object kind");
      case kInteger: {
        if (o.low > 4 || !fits(p, std::uint64_t{1} << o.low)) return bad("integer out of bounds");
        if (o.low < 3) return Value(static_cast<long long>(be(p, std::size_t{1} << o.low)));
        if (o.low == 3) return Value(static_cast<long long>(static_cast<std::int64_t>(be(p, 8))));
        // Sixteen bytes, signed: the platform writes integers above 2^63-1 so.
        const std::uint64_t high = be(p, 8), low = be(p + 8, 8);
        if (high == 0 && low > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
          return Value(static_cast<unsigned long long>(low));
        if (high == 0 || (high == ~std::uint64_t{0} && (low >> 63) != 0))
          return Value(static_cast<long long>(static_cast<std::int64_t>(low)));
        return bad("integer beyond 64 bits");
      }
      case kReal:
        if (o.low == 2 && fits(p, 4)) {
          const auto bits = static_cast<std::uint32_t>(be(p, 4));
          float f;
          std::memcpy(&f, &bits, sizeof f);
          return Value(static_cast<double>(f));
        }
        if (o.low == 3 && fits(p, 8)) return Value(realAt(p));
        return bad("real out of bounds");
      case kDate:
        if (o.low != 3 || !fits(p, 8)) return bad("date out of bounds");
        return Value(Date::fromReferenceDate(realAt(p)));
      case kData:
        if (!fits(p, o.length)) return bad("data out of bounds");
        if (!spendText(o.length)) return bad("shared references expand too far");
        return Value(Bytes(std::vector<std::uint8_t>(b_.begin() + static_cast<std::ptrdiff_t>(p),
                                                     b_.begin() + static_cast<std::ptrdiff_t>(p + o.length))));
      case kASCII:
      case kUTF16:
        if (auto text = textOf(o)) return Value(std::move(*text));
        return bad("text out of bounds or not ASCII or UTF-16");
      case kUID:
        if (o.low > 7 || !fits(p, std::uint64_t{o.low} + 1)) return bad("UID out of bounds");
        return Value(UID{be(p, o.low + 1u)});
      default:
        return bad("unsupported object kind");
    }
  }

  double realAt(std::size_t p) const {
    const std::uint64_t bits = be(p, 8);
    double d;
    std::memcpy(&d, &bits, sizeof d);
    return d;
  }

  std::optional<std::string> textOf(const Object& o) {
    if (o.kind == kASCII) {
      if (!fits(o.content, o.length) || !spendText(o.length)) return std::nullopt;
      std::string text(reinterpret_cast<const char*>(b_.data()) + o.content, static_cast<std::size_t>(o.length));
      if (!::text::isASCII(text)) return std::nullopt;
      return text;
    }
    if (o.kind == kUTF16) {
      if (o.length > table_ / 2 || !fits(o.content, o.length * 2) || !spendText(o.length * 2)) return std::nullopt;
      return ::text::utf8FromUTF16BE(b_.subspan(o.content, static_cast<std::size_t>(o.length * 2)));
    }
    return std::nullopt;
  }

  std::uint64_t refAt(const Frame& f, std::uint64_t i) const {
    return be(f.refs + static_cast<std::size_t>(i) * refSize_, refSize_);
  }

  // Reads the object `index` is: a leaf at once, a container as a new frame.
  std::optional<Error> enter(std::uint64_t index, std::vector<Frame>& stack, std::optional<Value>& leafOut) {
    if (index >= count_) return bad("object reference out of range");
    if (onPath_[index]) return bad("object references form a cycle");
    if (nodeBudget_-- == 0) return bad("shared references expand too far");
    auto o = locate(index);
    if (!o) return bad("object offset or size out of bounds");
    if (o->kind != kArray && o->kind != kDictionary) {
      auto v = leaf(*o);
      if (!v) return v.error();
      leafOut = std::move(v).value();
      return std::nullopt;
    }
    const bool dictionary = o->kind == kDictionary;
    const std::uint64_t n = o->length;
    const std::uint64_t refs = dictionary ? n * 2 : n;
    if (n > table_ || refs > table_ / refSize_ || !fits(o->content, refs * refSize_))
      return bad("container out of bounds");
    if (stack.size() >= kMaxPropertyListDepth) return bad("nested too deeply");
    onPath_[index] = true;
    stack.push_back(Frame{index, dictionary, o->content, n});
    if (!dictionary) stack.back().array.reserve(static_cast<std::size_t>(n));
    return std::nullopt;
  }

  Result<Value> walk(std::uint64_t top) {
    std::vector<Frame> stack;
    std::optional<Value> done;
    if (auto f = enter(top, stack, done)) return *f;
    while (!done) {
      Frame& frame = stack.back();
      if (frame.next == frame.count) {
        onPath_[frame.index] = false;
        Value finished = frame.dictionary ? Value(std::move(frame.entries)) : Value(std::move(frame.array));
        stack.pop_back();
        if (stack.empty())
          done = std::move(finished);
        else
          attach(stack.back(), std::move(finished));
        continue;
      }
      const std::uint64_t i = frame.next++;
      if (frame.dictionary) {
        const std::uint64_t keyIndex = refAt(frame, i);
        if (keyIndex >= count_) return bad("object reference out of range");
        if (nodeBudget_-- == 0) return bad("shared references expand too far");
        auto keyObject = locate(keyIndex);
        if (!keyObject) return bad("object offset or size out of bounds");
        auto key = textOf(*keyObject);
        if (!key) return bad("dictionary key is not text");
        frame.key = std::move(*key);
      }
      const std::uint64_t child = refAt(frame, frame.dictionary ? frame.count + i : i);
      std::optional<Value> value;
      if (auto f = enter(child, stack, value)) return *f;
      // `frame` may have moved if a container was entered; it is not used again.
      if (value) attach(stack.back(), std::move(*value));
    }
    return std::move(*done);
  }

  static void attach(Frame& parent, Value value) {
    if (parent.dictionary)
      parent.entries.insert_or_assign(std::move(parent.key), std::move(value));
    else
      parent.array.push_back(std::move(value));
  }

  std::span<const std::uint8_t> b_;
  std::size_t offsetSize_ = 0, refSize_ = 0;
  std::uint64_t count_ = 0;
  std::size_t table_ = 0;
  std::uint64_t nodeBudget_ = 0, textBudget_ = 0;
  std::vector<bool> onPath_;
};

// ---- writing ---------------------------------------------------------------

void appendBE(std::string& out, std::uint64_t value, std::size_t bytes) {
  for (std::size_t i = bytes; i-- > 0;) out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

// The fewest of 1, 2, 4 or 8 bytes that hold `value`.
std::size_t byteCount(std::uint64_t value) {
  if (value <= 0xFF) return 1;
  if (value <= 0xFFFF) return 2;
  if (value <= 0xFFFFFFFF) return 4;
  return 8;
}

int log2Of(std::size_t bytes) { return bytes == 1 ? 0 : bytes == 2 ? 1 : bytes == 4 ? 2 : 3; }

void appendUnsigned(std::string& out, std::uint64_t value) {
  const std::size_t n = byteCount(value);
  out.push_back(static_cast<char>(kInteger << 4 | log2Of(n)));
  appendBE(out, value, n);
}

void appendHeader(std::string& out, std::uint8_t kind, std::uint64_t length) {
  if (length < 15) {
    out.push_back(static_cast<char>(kind << 4 | length));
  } else {
    out.push_back(static_cast<char>(kind << 4 | 15));
    appendUnsigned(out, length);
  }
}

void appendReal(std::string& out, std::uint8_t marker, double d) {
  std::uint64_t bits;
  std::memcpy(&bits, &d, sizeof bits);
  out.push_back(static_cast<char>(marker));
  appendBE(out, bits, 8);
}

std::optional<std::string> encodeText(std::string_view text) {
  if (!::text::isValidUTF8(text)) return std::nullopt;
  std::string out;
  if (::text::isASCII(text)) {
    appendHeader(out, kASCII, text.size());
    out.append(text);
  } else {
    std::string units;
    const std::size_t n = ::text::appendUTF16BE(units, text);
    appendHeader(out, kUTF16, n);
    out += units;
  }
  return out;
}

// Lays the value out as the platform does: every object gets an index in
// the order it is first met, a dictionary before its keys and its keys
// before its values; equal texts, numbers, dates, data and booleans are one
// object, containers never shared.
class BinaryWriter {
 public:
  Result<Bytes> write(const Value& root) {
    if (auto f = flatten(root, 0); !f) return f.error();
    const std::size_t refSize = byteCount(objects_.size());
    std::string out = "bplist00";
    std::vector<std::uint64_t> offsets;
    offsets.reserve(objects_.size());
    for (const Object& o : objects_) {
      offsets.push_back(out.size());
      if (!o.isContainer) {
        out += o.encoded;
        continue;
      }
      appendHeader(out, o.kind, o.isDictionary ? o.refs.size() / 2 : o.refs.size());
      for (std::uint64_t r : o.refs) appendBE(out, r, refSize);
    }
    const std::uint64_t table = out.size();
    const std::size_t offsetSize = byteCount(table);
    for (std::uint64_t offset : offsets) appendBE(out, offset, offsetSize);
    out.append(6, '\0');
    out.push_back(static_cast<char>(offsetSize));
    out.push_back(static_cast<char>(refSize));
    appendBE(out, objects_.size(), 8);
    appendBE(out, 0, 8);
    appendBE(out, table, 8);
    return Bytes(std::vector<std::uint8_t>(out.begin(), out.end()));
  }

 private:
  struct Object {
    bool isContainer = false;
    bool isDictionary = false;
    std::uint8_t kind = 0;
    std::string encoded;               // a leaf's marker and content
    std::vector<std::uint64_t> refs;   // a container's references
  };

  Result<std::uint64_t> leafIndex(std::string encoded) {
    if (auto it = unique_.find(encoded); it != unique_.end()) return it->second;
    const std::uint64_t index = objects_.size();
    objects_.push_back(Object{false, false, 0, std::move(encoded), {}});
    unique_.emplace(objects_.back().encoded, index);
    return index;
  }

  Result<std::uint64_t> textIndex(std::string_view text) {
    auto encoded = encodeText(text);
    if (!encoded) return propertyListWriteError("text that is not UTF-8");
    return leafIndex(std::move(*encoded));
  }

  Result<std::uint64_t> flatten(const Value& value, std::size_t depth) {
    std::string e;
    switch (value.kind()) {
      case Value::Kind::String: return textIndex(*value.string());
      case Value::Kind::Url: return textIndex(value.url()->absoluteString());
      case Value::Kind::Uuid: return textIndex(value.uuid()->uuidString());
      case Value::Kind::Boolean:
        e.push_back(*value.boolean() ? '\x09' : '\x08');
        return leafIndex(std::move(e));
      case Value::Kind::Integer: {
        const std::int64_t i = *value.asInt64();
        if (i < 0) {
          e.push_back(static_cast<char>(kInteger << 4 | 3));
          appendBE(e, static_cast<std::uint64_t>(i), 8);
        } else {
          appendUnsigned(e, static_cast<std::uint64_t>(i));
        }
        return leafIndex(std::move(e));
      }
      case Value::Kind::Unsigned: {
        const std::uint64_t u = *value.asUInt64();
        if (u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
          e.push_back(static_cast<char>(kInteger << 4 | 4));
          appendBE(e, 0, 8);
          appendBE(e, u, 8);
        } else {
          appendUnsigned(e, u);
        }
        return leafIndex(std::move(e));
      }
      case Value::Kind::Real:
        appendReal(e, kReal << 4 | 3, *value.asDouble());
        return leafIndex(std::move(e));
      case Value::Kind::DateTime:
        appendReal(e, kDate << 4 | 3, value.date()->secondsSinceReferenceDate());
        return leafIndex(std::move(e));
      case Value::Kind::Data:
        appendHeader(e, kData, value.data()->size());
        e.append(value.data()->asStringView());
        return leafIndex(std::move(e));
      case Value::Kind::Uid: {
        const std::uint64_t u = value.uid()->value;
        const std::size_t n = byteCount(u);
        e.push_back(static_cast<char>(kUID << 4 | (n - 1)));
        appendBE(e, u, n);
        return leafIndex(std::move(e));
      }
      case Value::Kind::List:
      case Value::Kind::Map:
        break;
    }
    if (depth >= kMaxPropertyListDepth) return propertyListWriteError("nested too deeply");
    const bool isDictionary = value.kind() == Value::Kind::Map;
    const std::uint64_t index = objects_.size();
    objects_.push_back(Object{true, isDictionary, isDictionary ? kDictionary : kArray, {}, {}});
    std::vector<std::uint64_t> refs;
    if (isDictionary) {
      const Dictionary& d = *value.dictionary();
      refs.reserve(d.size() * 2);
      for (const auto& entry : d) {
        auto k = textIndex(entry.first);
        if (!k) return k.error();
        refs.push_back(*k);
      }
      for (const auto& entry : d) {
        auto v = flatten(entry.second, depth + 1);
        if (!v) return v.error();
        refs.push_back(*v);
      }
    } else {
      for (const Value& element : *value.array()) {
        auto v = flatten(element, depth + 1);
        if (!v) return v.error();
        refs.push_back(*v);
      }
    }
    objects_[index].refs = std::move(refs);
    return index;
  }

  // A deque, so that the texts the index points into never move.
  std::deque<Object> objects_;
  std::unordered_map<std::string_view, std::uint64_t> unique_;
};

}  // namespace

Result<Value> decodeBinaryPropertyList(std::span<const std::uint8_t> bytes) { return BinaryReader(bytes).read(); }

Result<Bytes> encodeBinaryPropertyList(const Value& value) { return BinaryWriter().write(value); }

}  // namespace platform::machine
