#include "platform/machine/json_outline.h"

#include <algorithm>
#include <array>
#include <cstring>

#include <nlohmann/json.hpp>

namespace platform::machine {

namespace {
constexpr std::size_t npos = std::string_view::npos;

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
}  // namespace

class Outliner {
 public:
  Outliner(JsonOutline& out, int maxNesting, std::initializer_list<std::string_view> through)
      : out_(out), text_(out.text_), maxNesting_(maxNesting), through_(through) {}

  bool whole(int depth) {
    out_.nodes_.emplace_back();
    std::size_t i = value(skipBlanks(0), depth, 0, 0);
    return i != npos && skipBlanks(i) == text_.size();
  }

 private:
  using Node = JsonOutline::Node;
  using Kind = JsonOutline::Kind;

  std::size_t skipBlanks(std::size_t i) const {
    while (i < text_.size() && isBlank(text_[i])) ++i;
    return i;
  }

  // One past the closing quote of the string that opens at `i`: the next
  // quote that an even number of backslashes stands before.
  std::size_t stringEnd(std::size_t i) const {
    const char* data = text_.data();
    for (std::size_t from = i + 1; from < text_.size();) {
      const void* quote = std::memchr(data + from, '"', text_.size() - from);
      if (quote == nullptr) return npos;
      const auto at = static_cast<std::size_t>(static_cast<const char*>(quote) - data);
      std::size_t backslashes = 0;
      while (at - backslashes > i + 1 && data[at - backslashes - 1] == '\\') ++backslashes;
      if (backslashes % 2 == 0) return at + 1;
      from = at + 1;
    }
    return npos;
  }

  // One past the object or array that opens at `i`, with everything it
  // holds; only quotes and brackets are looked at inside.
  std::size_t skipNested(std::size_t i, int nesting) const {
    static constexpr auto kStructural = [] {
      std::array<bool, 256> table{};
      for (unsigned char c : std::string_view("\"{}[]")) table[c] = true;
      return table;
    }();
    std::string closers;
    for (; i < text_.size(); ++i) {
      const char c = text_[i];
      if (!kStructural[static_cast<unsigned char>(c)]) continue;
      if (c == '"') {
        i = stringEnd(i);
        if (i == npos) return npos;
        --i;
      } else if (c == '{' || c == '[') {
        if (nesting + static_cast<int>(closers.size()) >= maxNesting_) return npos;
        closers.push_back(c == '{' ? '}' : ']');
      } else {
        if (closers.empty() || closers.back() != c) return npos;
        closers.pop_back();
        if (closers.empty()) return i + 1;
      }
    }
    return npos;
  }

  // One past the value at `i`, outlined into node `at` with `depth` levels
  // below it; `nesting` is the number of brackets around it.
  std::size_t value(std::size_t i, int depth, int nesting, std::uint32_t at) {
    if (i >= text_.size()) return npos;
    const char first = text_[i];
    std::size_t end;
    if (first == '{' || first == '[') {
      out_.nodes_[at].kind = first == '{' ? Kind::object : Kind::array;
      end = depth > 0 ? container(i, depth, nesting, at) : skipNested(i, nesting);
    } else if (first == '"') {
      end = stringEnd(i);
    } else {
      // A number or a literal: everything up to the next delimiter.
      end = i;
      while (end < text_.size() && !isBlank(text_[end]) && std::strchr(",:\"{}[]", text_[end]) == nullptr) ++end;
      if (end == i) return npos;
    }
    if (end == npos) return npos;
    out_.nodes_[at].begin = static_cast<std::uint32_t>(i);
    out_.nodes_[at].length = static_cast<std::uint32_t>(end - i);
    return end;
  }

  std::size_t container(std::size_t i, int depth, int nesting, std::uint32_t at) {
    if (nesting >= maxNesting_) return npos;
    const bool object = out_.nodes_[at].kind == Kind::object;
    const char close = object ? '}' : ']';
    i = skipBlanks(i + 1);
    if (i < text_.size() && text_[i] == close) return i + 1;
    std::uint32_t previous = JsonOutline::kNone;
    while (true) {
      const auto child = static_cast<std::uint32_t>(out_.nodes_.size());
      out_.nodes_.emplace_back();
      if (previous == JsonOutline::kNone) out_.nodes_[at].first = child;
      else out_.nodes_[previous].next = child;
      previous = child;
      bool descend = true;
      if (object) {
        if (i >= text_.size() || text_[i] != '"') return npos;
        const std::size_t keyEnd = stringEnd(i);
        if (keyEnd == npos) return npos;
        auto key = decodeKey(text_.substr(i, keyEnd - i));
        if (!key) return npos;
        out_.nodes_[child].key = *key;
        descend = std::find(through_.begin(), through_.end(), *key) != through_.end();
        i = skipBlanks(keyEnd);
        if (i >= text_.size() || text_[i] != ':') return npos;
        i = skipBlanks(i + 1);
      }
      i = value(i, descend ? depth - 1 : 0, nesting + 1, child);
      if (i == npos) return npos;
      i = skipBlanks(i);
      if (i >= text_.size()) return npos;
      if (text_[i] == close) return i + 1;
      if (text_[i] != ',') return npos;
      i = skipBlanks(i + 1);
    }
  }

  // A key's text: the text itself when it is plain printable ASCII, else as
  // the JSON library decodes it (escapes, UTF-8), kept with the outline;
  // nothing when it is no valid string.
  std::optional<std::string_view> decodeKey(std::string_view quoted) {
    const std::string_view inner = quoted.substr(1, quoted.size() - 2);
    bool plain = true;
    for (char c : inner) plain = plain && c >= 0x20 && c < 0x7F && c != '\\';
    if (plain) return inner;
    auto key = nlohmann::json::parse(quoted, nullptr, false);
    if (!key.is_string()) return std::nullopt;
    return std::string_view(out_.decodedKeys_.emplace_back(key.get<std::string>()));
  }

  JsonOutline& out_;
  std::string_view text_;
  int maxNesting_;
  std::initializer_list<std::string_view> through_;
};

std::string_view JsonOutline::Value::text() const {
  return outline_->text_.substr(node().begin, node().length);
}

std::optional<JsonOutline::Value> JsonOutline::Value::first() const {
  if (node().first == kNone) return std::nullopt;
  return Value(outline_, node().first);
}

std::optional<JsonOutline::Value> JsonOutline::Value::next() const {
  if (node().next == kNone) return std::nullopt;
  return Value(outline_, node().next);
}

std::optional<JsonOutline::Value> JsonOutline::Value::last(std::string_view key) const {
  std::optional<Value> found;
  for (auto member = first(); member; member = member->next())
    if (member->key() == key) found = member;
  return found;
}

std::optional<JsonOutline> JsonOutline::of(std::string_view text, int depth, int maxNesting,
                                           std::initializer_list<std::string_view> through) {
  // Offsets are kept in 32 bits.
  if (text.size() >= kNone) return std::nullopt;
  JsonOutline outline;
  outline.text_ = text;
  if (!Outliner(outline, maxNesting, through).whole(depth)) return std::nullopt;
  return outline;
}

}  // namespace platform::machine
