#pragma once
// The outline of a JSON text: where each member of an object and each element
// of an array begins and ends, to a given depth, found in one pass without
// reading the values. Only the structure is followed (quotes, brackets,
// commas, colons, blanks); the text of a value is read by the JSON library
// when it is needed, and refused there if it is no JSON. A text that the JSON
// library reads always outlines, and outlines as the library reads it.
//
// The outline is small beside the text: one flat array of places, so that
// outlining the whole of a machine description costs a few pages of memory.

#include <cstdint>
#include <deque>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform::machine {

class JsonOutline {
 public:
  enum class Kind : std::uint8_t { object, array, other };

 private:
  static constexpr std::uint32_t kNone = UINT32_MAX;
  struct Node {
    std::string_view key;
    std::uint32_t begin = 0, length = 0;  // of the value's text
    std::uint32_t first = kNone, next = kNone;
    Kind kind = Kind::other;
  };

 public:

  // One value of the outline; valid while the outline and its text are.
  class Value {
   public:
    Kind kind() const { return node().kind; }
    // The whole value, without the blanks around it.
    std::string_view text() const;
    // A member's key, escapes decoded; empty for an element.
    std::string_view key() const { return node().key; }
    // Its first member or element, and the one after it; none beyond the
    // depth outlined.
    std::optional<Value> first() const;
    std::optional<Value> next() const;
    // The value of the last member with the key (the one the JSON library
    // keeps of a key written twice), or nothing.
    std::optional<Value> last(std::string_view key) const;

   private:
    friend class JsonOutline;
    Value(const JsonOutline* outline, std::uint32_t index) : outline_(outline), index_(index) {}
    const Node& node() const { return outline_->nodes_[index_]; }
    const JsonOutline* outline_;
    std::uint32_t index_;
  };

  // The outline of `text` as one value, with the members and elements of the
  // first `depth` levels (0: the value alone): every member and element is
  // found, but only elements and the members whose key is one of `through`
  // are outlined further. Nothing when the structure is broken (a quote,
  // bracket, comma or colon out of place) or brackets nest deeper than
  // `maxNesting`.
  static std::optional<JsonOutline> of(std::string_view text, int depth, int maxNesting,
                                       std::initializer_list<std::string_view> through);

  Value root() const { return Value(this, 0); }

  JsonOutline(JsonOutline&&) = default;
  JsonOutline& operator=(JsonOutline&&) = default;
  JsonOutline(const JsonOutline&) = delete;  // the keys point into it
  JsonOutline& operator=(const JsonOutline&) = delete;

 private:
  friend class Outliner;
  JsonOutline() = default;
  std::string_view text_;
  std::vector<Node> nodes_;
  std::deque<std::string> decodedKeys_;  // the keys that had escapes
};

}  // namespace platform::machine
