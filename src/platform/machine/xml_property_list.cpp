// The XML property-list form: an optional prologue (the <?xml?> declaration,
// a <!DOCTYPE>, comments), then one value, inside <plist> or bare. Values are
// <dict> of <key>/value pairs, <array>, <string>, <integer>, <real>, <date>,
// <data> (base64), <true/> and <false/>. Text takes the five named entities,
// numeric character references and CDATA sections.
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "platform/machine/base64.h"
#include "platform/machine/property_list_forms.h"
#include "text/text.h"
#include "platform/property_list_serialization.h"

namespace platform::machine {

namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

bool isNameEnd(char c) { return isSpace(c) || c == '>' || c == '/'; }

std::string_view trimmed(std::string_view s) {
  while (!s.empty() && isSpace(s.front())) s.remove_prefix(1);
  while (!s.empty() && isSpace(s.back())) s.remove_suffix(1);
  return s;
}

// An integer of the range -2^63 .. 2^64-1, in decimal or with "0x" in
// hexadecimal, with an optional sign and blanks around it.
std::optional<Value> parseInteger(std::string_view text) {
  std::string_view s = trimmed(text);
  bool negative = false;
  if (!s.empty() && (s.front() == '-' || s.front() == '+')) {
    negative = s.front() == '-';
    s.remove_prefix(1);
  }
  int base = 10;
  if (s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
    base = 16;
    s.remove_prefix(2);
  }
  if (s.empty()) return std::nullopt;
  std::uint64_t magnitude = 0;
  auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), magnitude, base);
  if (ec != std::errc() || end != s.data() + s.size()) return std::nullopt;
  if (!negative) {
    if (magnitude > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
      return Value(static_cast<unsigned long long>(magnitude));
    return Value(static_cast<long long>(magnitude));
  }
  if (magnitude > (std::uint64_t{1} << 63)) return std::nullopt;
  return Value(static_cast<long long>(0 - magnitude));
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if ((a[i] | 0x20) != b[i]) return false;
  return true;
}

// A real in decimal or exponent notation, or one of the texts of not a
// number and infinity.
std::optional<double> parseReal(std::string_view text) {
  std::string_view s = trimmed(text);
  bool negative = false;
  std::string_view unsignedText = s;
  if (!unsignedText.empty() && (unsignedText.front() == '-' || unsignedText.front() == '+')) {
    negative = unsignedText.front() == '-';
    unsignedText.remove_prefix(1);
  }
  if (equalsIgnoringCase(unsignedText, "nan")) return std::numeric_limits<double>::quiet_NaN();
  if (equalsIgnoringCase(unsignedText, "inf") || equalsIgnoringCase(unsignedText, "infinity"))
    return negative ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
  if (unsignedText.empty() || unsignedText.front() == '-' || unsignedText.front() == '+') return std::nullopt;
  double d = 0;
  auto [end, ec] = std::from_chars(unsignedText.data(), unsignedText.data() + unsignedText.size(), d);
  if (end != unsignedText.data() + unsignedText.size()) return std::nullopt;
  if (ec == std::errc::result_out_of_range) {
    // Too large or too small for a double: infinity or zero, as strtod gives.
    d = std::strtod(std::string(unsignedText).c_str(), nullptr);
  } else if (ec != std::errc()) {
    return std::nullopt;
  }
  return negative ? -d : d;
}

// "YYYY-MM-DDTHH:MM:SSZ" in UTC, any number of year digits (four at least)
// with an optional minus; the parts after the year may be left out from the
// right, as far as the year alone.
std::optional<Date> parseDate(std::string_view s) {
  std::size_t i = 0;
  bool negative = false;
  if (i < s.size() && s[i] == '-') negative = true, ++i;
  std::size_t start = i;
  std::int64_t year = 0;
  while (i < s.size() && s[i] >= '0' && s[i] <= '9' && i - start < 12) year = year * 10 + (s[i++] - '0');
  if (i - start < 4) return std::nullopt;
  Date::Civil c;
  c.year = negative ? -year : year;
  int* fields[] = {&c.month, &c.day, &c.hour, &c.minute, &c.second};
  const char separators[] = {'-', '-', 'T', ':', ':'};
  for (std::size_t f = 0; f < 5 && i < s.size() && s[i] == separators[f]; ++f) {
    if (i + 3 > s.size() || s[i + 1] < '0' || s[i + 1] > '9' || s[i + 2] < '0' || s[i + 2] > '9')
      return std::nullopt;
    *fields[f] = (s[i + 1] - '0') * 10 + (s[i + 2] - '0');
    i += 3;
  }
  if (i + 1 != s.size() || s[i] != 'Z') return std::nullopt;
  if (c.month < 1 || c.month > 12 || c.day < 1 || c.day > 31 || c.hour > 23 || c.minute > 59 || c.second > 60)
    return std::nullopt;
  return Date::fromCivil(c);
}

// Base64 with blanks and line breaks anywhere; padding only at the end.
std::optional<Bytes> parseData(std::string_view s) {
  std::vector<std::uint8_t> out;
  out.reserve(s.size() / 4 * 3);
  std::uint32_t bits = 0;
  int count = 0;
  bool padded = false;
  for (char c : s) {
    if (isSpace(c)) continue;
    if (c == '=') {
      padded = true;
      continue;
    }
    const int d = base64Digit(c);
    if (d < 0 || padded) return std::nullopt;
    bits = (bits << 6) | static_cast<std::uint32_t>(d);
    if (++count == 4) {
      out.push_back(static_cast<std::uint8_t>(bits >> 16));
      out.push_back(static_cast<std::uint8_t>(bits >> 8));
      out.push_back(static_cast<std::uint8_t>(bits));
      bits = 0;
      count = 0;
    }
  }
  if (count == 1) return std::nullopt;
  if (count == 2) out.push_back(static_cast<std::uint8_t>(bits >> 4));
  if (count == 3) {
    out.push_back(static_cast<std::uint8_t>(bits >> 10));
    out.push_back(static_cast<std::uint8_t>(bits >> 2));
  }
  return Bytes(std::move(out));
}

class XMLReader {
 public:
  explicit XMLReader(std::string_view text) : t_(text) {}

  Result<Value> read() {
    if (t_.substr(0, 3) == "\xEF\xBB\xBF") p_ = 3;
    if (!skipMisc(true)) return bad("malformed prologue");
    auto tag = readTag();
    if (!tag || tag->closing) return bad("no root element");
    if (tag->name == "plist") {
      if (tag->empty) return bad("empty plist element");
      if (!skipMisc(false)) return bad("malformed XML");
      auto first = readTag();
      if (!first || first->closing) return bad("empty plist element");
      auto value = readValue(*first);
      if (!value) return value;
      if (!skipMisc(false)) return bad("malformed XML");
      auto close = readTag();
      if (!close || !close->closing || close->name != "plist") return bad("more than one value in plist");
      if (!skipMisc(false) || p_ != t_.size()) return bad("text after the property list");
      return value;
    }
    auto value = readValue(*tag);
    if (!value) return value;
    if (!skipMisc(false) || p_ != t_.size()) return bad("text after the property list");
    return value;
  }

 private:
  struct Tag {
    std::string_view name;
    bool closing = false;
    bool empty = false;  // <name/>
  };

  struct Frame {
    bool dictionary;
    Array array{};
    Dictionary entries{};
    std::optional<std::string> key{};
  };

  Error bad(std::string_view why) const { return propertyListReadError(why); }

  bool startsWith(std::string_view prefix) const { return t_.substr(p_, prefix.size()) == prefix; }

  bool skipPast(std::string_view terminator) {
    auto e = t_.find(terminator, p_);
    if (e == std::string_view::npos) return false;
    p_ = e + terminator.size();
    return true;
  }

  // Skips blanks, comments and processing instructions, and in the prologue
  // a document type declaration (with an internal subset in brackets).
  bool skipMisc(bool prologue) {
    for (;;) {
      while (p_ < t_.size() && isSpace(t_[p_])) ++p_;
      if (startsWith("<!--")) {
        p_ += 4;
        if (!skipPast("-->")) return false;
      } else if (startsWith("<?")) {
        if (!skipPast("?>")) return false;
      } else if (prologue && startsWith("<!DOCTYPE")) {
        int brackets = 0;
        char quote = 0;
        for (p_ += 9;; ++p_) {
          if (p_ >= t_.size()) return false;
          const char c = t_[p_];
          if (quote) {
            if (c == quote) quote = 0;
          } else if (c == '"' || c == '\'') {
            quote = c;
          } else if (c == '[') {
            ++brackets;
          } else if (c == ']') {
            --brackets;
          } else if (c == '>' && brackets <= 0) {
            ++p_;
            break;
          }
        }
      } else {
        return true;
      }
    }
  }

  // A start, end or empty-element tag at the current position; attributes
  // are skipped.
  std::optional<Tag> readTag() {
    if (p_ >= t_.size() || t_[p_] != '<') return std::nullopt;
    Tag tag;
    std::size_t i = p_ + 1;
    if (i < t_.size() && t_[i] == '/') tag.closing = true, ++i;
    const std::size_t nameStart = i;
    while (i < t_.size() && !isNameEnd(t_[i])) ++i;
    if (i == nameStart || i >= t_.size()) return std::nullopt;
    tag.name = t_.substr(nameStart, i - nameStart);
    char quote = 0;
    for (; i < t_.size(); ++i) {
      const char c = t_[i];
      if (quote) {
        if (c == quote) quote = 0;
      } else if (c == '"' || c == '\'') {
        if (tag.closing) return std::nullopt;
        quote = c;
      } else if (c == '>') {
        tag.empty = !tag.closing && t_[i - 1] == '/';
        p_ = i + 1;
        return tag;
      }
    }
    return std::nullopt;
  }

  // The text up to the end tag of `name`, entities and CDATA resolved and
  // comments left out; the end tag is consumed.
  std::optional<std::string> readText(std::string_view name) {
    std::string out;
    for (;;) {
      const std::size_t stop = t_.find_first_of("<&", p_);
      if (stop == std::string_view::npos) return std::nullopt;
      out.append(t_.substr(p_, stop - p_));
      p_ = stop;
      if (t_[p_] == '&') {
        if (!readReference(out)) return std::nullopt;
      } else if (startsWith("<![CDATA[")) {
        const std::size_t begin = p_ + 9;
        if (!skipPast("]]>")) return std::nullopt;
        out.append(t_.substr(begin, p_ - 3 - begin));
      } else if (startsWith("<!--")) {
        p_ += 4;
        if (!skipPast("-->")) return std::nullopt;
      } else {
        auto tag = readTag();
        if (!tag || !tag->closing || tag->name != name) return std::nullopt;
        if (!::text::isValidUTF8(out)) return std::nullopt;
        return out;
      }
    }
  }

  // One entity or character reference at '&'. A character reference names
  // a code point, or two in a row a UTF-16 surrogate pair.
  bool readReference(std::string& out) {
    const std::size_t semicolon = t_.find(';', p_);
    if (semicolon == std::string_view::npos || semicolon - p_ > 12) return false;
    const std::string_view name = t_.substr(p_ + 1, semicolon - p_ - 1);
    p_ = semicolon + 1;
    static constexpr std::pair<std::string_view, char> kNamed[] = {
        {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto& [entity, c] : kNamed)
      if (name == entity) return out.push_back(c), true;
    auto code = characterReference(name);
    if (!code) return false;
    if (*code >= 0xD800 && *code <= 0xDBFF) {
      const std::size_t next = t_.find(';', p_);
      if (!startsWith("&#") || next == std::string_view::npos || next - p_ > 12) return false;
      auto low = characterReference(t_.substr(p_ + 1, next - p_ - 1));
      if (!low || *low < 0xDC00 || *low > 0xDFFF) return false;
      p_ = next + 1;
      *code = 0x10000 + ((*code - 0xD800) << 10) + (*low - 0xDC00);
    }
    return ::text::appendCodePoint(out, *code);
  }

  static std::optional<std::uint32_t> characterReference(std::string_view name) {
    if (name.size() < 2 || name[0] != '#') return std::nullopt;
    int base = 10;
    name.remove_prefix(1);
    if (name[0] == 'x' || name[0] == 'X') base = 16, name.remove_prefix(1);
    std::uint32_t code = 0;
    auto [end, ec] = std::from_chars(name.data(), name.data() + name.size(), code, base);
    if (name.empty() || ec != std::errc() || end != name.data() + name.size() || code > 0x10FFFF)
      return std::nullopt;
    return code;
  }

  // A leaf value from its start tag, or a container pushed on the stack.
  Result<std::optional<Value>> leafOrContainer(const Tag& tag, std::vector<Frame>& stack) {
    const std::string_view n = tag.name;
    if (n == "dict" || n == "array") {
      const bool dictionary = n == "dict";
      if (tag.empty) return std::optional<Value>(dictionary ? Value(Dictionary{}) : Value(Array{}));
      if (stack.size() >= kMaxPropertyListDepth) return bad("nested too deeply");
      stack.push_back(Frame{dictionary});
      return std::optional<Value>();
    }
    if (n == "true" || n == "false") {
      if (!tag.empty) {
        auto close = readTag();
        if (!close || !close->closing || close->name != n) return bad("content in a boolean");
      }
      return std::optional<Value>(Value(n == "true"));
    }
    if (n != "string" && n != "integer" && n != "real" && n != "date" && n != "data")
      return bad("unknown element");
    std::string text;
    if (!tag.empty) {
      auto read = readText(n);
      if (!read) return bad("malformed text");
      text = std::move(*read);
    }
    if (n == "string") return std::optional<Value>(Value(std::move(text)));
    if (n == "integer") {
      if (auto v = parseInteger(text)) return std::optional<Value>(std::move(*v));
      return bad("integer that is no number");
    }
    if (n == "real") {
      if (auto d = parseReal(text)) return std::optional<Value>(Value(*d));
      return bad("real that is no number");
    }
    if (n == "date") {
      if (auto d = parseDate(text)) return std::optional<Value>(Value(*d));
      return bad("malformed date");
    }
    if (auto d = parseData(text)) return std::optional<Value>(Value(std::move(*d)));
    return bad("malformed base64 data");
  }

  // A container's value when it is finished; a dictionary of the one key
  // kXMLUIDKey with an integer is a UID.
  static Value finish(Frame& frame) {
    if (!frame.dictionary) return Value(std::move(frame.array));
    if (frame.entries.size() == 1 && frame.entries.begin()->first == kXMLUIDKey) {
      const Value& n = frame.entries.begin()->second;
      if (n.kind() == Value::Kind::Integer || n.kind() == Value::Kind::Unsigned)
        if (auto u = n.asUInt64()) return Value(UID{*u});
    }
    return Value(std::move(frame.entries));
  }

  static void attach(Frame& parent, Value value) {
    if (parent.dictionary) {
      parent.entries.insert_or_assign(std::move(*parent.key), std::move(value));
      parent.key.reset();
    } else {
      parent.array.push_back(std::move(value));
    }
  }

  // One value from its start tag, without recursion.
  Result<Value> readValue(const Tag& first) {
    std::vector<Frame> stack;
    auto v = leafOrContainer(first, stack);
    if (!v) return v.error();
    if (std::optional<Value> leaf = std::move(v).value()) return std::move(*leaf);
    for (;;) {
      if (!skipMisc(false)) return bad("malformed XML");
      auto tag = readTag();
      if (!tag) return bad("malformed XML or text outside an element");
      Frame& frame = stack.back();
      if (tag->closing) {
        if (tag->name != (frame.dictionary ? "dict" : "array")) return bad("mismatched end tag");
        if (frame.key) return bad("dictionary key without a value");
        Value done = finish(frame);
        stack.pop_back();
        if (stack.empty()) return done;
        attach(stack.back(), std::move(done));
        continue;
      }
      if (frame.dictionary && !frame.key) {
        if (tag->name != "key") return bad("dictionary value without a key");
        if (tag->empty) {
          frame.key = std::string();
        } else if (auto key = readText("key")) {
          frame.key = std::move(*key);
        } else {
          return bad("malformed key");
        }
        continue;
      }
      auto next = leafOrContainer(*tag, stack);  // may push: `frame` is not used after
      if (!next) return next.error();
      if (std::optional<Value> leaf = std::move(next).value()) attach(stack.back(), std::move(*leaf));
    }
  }

  std::string_view t_;
  std::size_t p_ = 0;
};

// ---- writing ---------------------------------------------------------------

void appendEscaped(std::string& out, std::string_view text) {
  for (char c : text) {
    switch (c) {
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '&': out += "&amp;"; break;
      default: out.push_back(c);
    }
  }
}

std::string realText(double d) {
  if (std::isnan(d)) return "nan";
  if (std::isinf(d)) return d > 0 ? "+infinity" : "-infinity";
  // The fewest significant digits that read back as the same real.
  char buffer[64];
  for (int precision = 1; precision <= 17; ++precision) {
    std::snprintf(buffer, sizeof buffer, "%.*g", precision, d);
    if (std::strtod(buffer, nullptr) == d) break;
  }
  return buffer;
}

// The whole second the date falls in; years of fewer than four digits are
// padded with zeros.
std::optional<std::string> dateText(const Date& date) {
  auto c = date.civil();
  if (!c) return std::nullopt;
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%s%04lld-%02d-%02dT%02d:%02d:%02dZ", c->year < 0 ? "-" : "",
                static_cast<long long>(c->year < 0 ? -c->year : c->year), c->month, c->day, c->hour, c->minute,
                c->second);
  return std::string(buffer);
}

class XMLWriter {
 public:
  Result<Bytes> write(const Value& root) {
    out_ = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
    if (auto f = value(root, 0)) return *f;
    out_ += "</plist>\n";
    return Bytes(std::vector<std::uint8_t>(out_.begin(), out_.end()));
  }

 private:
  void indent(std::size_t depth) { out_.append(depth, '\t'); }

  std::optional<Error> element(std::string_view name, std::string_view text, std::size_t depth) {
    indent(depth);
    out_ += '<';
    out_ += name;
    out_ += '>';
    appendEscaped(out_, text);
    out_ += "</";
    out_ += name;
    out_ += ">\n";
    return std::nullopt;
  }

  std::optional<Error> text(std::string_view name, std::string_view s, std::size_t depth) {
    if (!::text::isValidUTF8(s)) return propertyListWriteError("text that is not UTF-8");
    return element(name, s, depth);
  }

  std::optional<Error> value(const Value& v, std::size_t depth) {
    switch (v.kind()) {
      case Value::Kind::String: return text("string", *v.string(), depth);
      case Value::Kind::Url: return text("string", v.url()->absoluteString(), depth);
      case Value::Kind::Uuid: return text("string", v.uuid()->uuidString(), depth);
      case Value::Kind::Boolean:
        indent(depth);
        out_ += *v.boolean() ? "<true/>\n" : "<false/>\n";
        return std::nullopt;
      case Value::Kind::Integer: return element("integer", std::to_string(*v.asInt64()), depth);
      case Value::Kind::Unsigned: return element("integer", std::to_string(*v.asUInt64()), depth);
      case Value::Kind::Real: return element("real", realText(*v.asDouble()), depth);
      case Value::Kind::DateTime: {
        auto t = dateText(*v.date());
        if (!t) return propertyListWriteError("a date too far out to write");
        return element("date", *t, depth);
      }
      case Value::Kind::Data: return element("data", base64Encoded(*v.data()), depth);
      case Value::Kind::Uid:
        // Read back, the dictionary that holds a UID is one level deeper.
        if (depth >= kMaxPropertyListDepth) return propertyListWriteError("nested too deeply");
        indent(depth);
        out_ += "<dict>\n";
        element("key", kXMLUIDKey, depth + 1);
        element("integer", std::to_string(v.uid()->value), depth + 1);
        indent(depth);
        out_ += "</dict>\n";
        return std::nullopt;
      case Value::Kind::List:
      case Value::Kind::Map:
        break;
    }
    if (depth >= kMaxPropertyListDepth) return propertyListWriteError("nested too deeply");
    const bool isDictionary = v.kind() == Value::Kind::Map;
    const char* name = isDictionary ? "dict" : "array";
    indent(depth);
    if (isDictionary ? v.dictionary()->empty() : v.array()->empty()) {
      out_ += std::string("<") + name + "/>\n";
      return std::nullopt;
    }
    out_ += std::string("<") + name + ">\n";
    if (isDictionary) {
      for (const auto& [key, element] : *v.dictionary()) {
        if (auto f = text("key", key, depth + 1)) return f;
        if (auto f = value(element, depth + 1)) return f;
      }
    } else {
      for (const Value& element : *v.array())
        if (auto f = value(element, depth + 1)) return f;
    }
    indent(depth);
    out_ += std::string("</") + name + ">\n";
    return std::nullopt;
  }

  std::string out_;
};

}  // namespace

Result<Value> decodeXMLPropertyList(std::string_view text) { return XMLReader(text).read(); }

Result<Bytes> encodeXMLPropertyList(const Value& value) { return XMLWriter().write(value); }

}  // namespace platform::machine
