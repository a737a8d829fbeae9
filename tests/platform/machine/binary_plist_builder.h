#pragma once
// Writes binary property lists object by object, so that tests can make what
// the codec's own writer never makes: one-byte references, shared objects,
// cycles.

#include <cstdint>
#include <string>
#include <vector>

namespace cvdiag_test {

class BinaryPlistBuilder {
 public:
  explicit BinaryPlistBuilder(std::uint8_t refSize = 4) : refSize_(refSize) {}

  std::size_t raw(std::vector<std::uint8_t> object) {
    objects_.push_back(std::move(object));
    return objects_.size() - 1;
  }
  std::size_t ascii(const std::string& s) {
    std::vector<std::uint8_t> o;
    marker(o, 0x5, s.size());
    o.insert(o.end(), s.begin(), s.end());
    return raw(std::move(o));
  }
  std::size_t utf16(const std::vector<std::uint16_t>& units) {
    std::vector<std::uint8_t> o;
    marker(o, 0x6, units.size());
    for (auto u : units) appendBE(o, u, 2);
    return raw(std::move(o));
  }
  // An array of the objects at these indices.
  std::size_t array(const std::vector<std::size_t>& refs) {
    std::vector<std::uint8_t> o;
    marker(o, 0xA, refs.size());
    for (auto r : refs) appendBE(o, r, refSize_);
    return raw(std::move(o));
  }
  std::size_t dict(const std::vector<std::size_t>& keys, const std::vector<std::size_t>& values) {
    std::vector<std::uint8_t> o;
    marker(o, 0xD, keys.size());
    for (auto r : keys) appendBE(o, r, refSize_);
    for (auto r : values) appendBE(o, r, refSize_);
    return raw(std::move(o));
  }
  std::vector<std::uint8_t> build(std::size_t top) const {
    std::vector<std::uint8_t> out{'b', 'p', 'l', 'i', 's', 't', '0', '0'};
    std::vector<std::uint64_t> offsets;
    for (const auto& o : objects_) {
      offsets.push_back(out.size());
      out.insert(out.end(), o.begin(), o.end());
    }
    std::uint64_t table = out.size();
    for (auto off : offsets) appendBE(out, off, 8);
    for (int i = 0; i < 6; ++i) out.push_back(0);
    out.push_back(8);  // the size of an offset
    out.push_back(refSize_);
    appendBE(out, objects_.size(), 8);
    appendBE(out, top, 8);
    appendBE(out, table, 8);
    return out;
  }

 private:
  static void appendBE(std::vector<std::uint8_t>& o, std::uint64_t v, std::size_t n) {
    for (std::size_t i = n; i-- > 0;) o.push_back(i >= 8 ? 0 : static_cast<std::uint8_t>(v >> (8 * i)));
  }
  static void marker(std::vector<std::uint8_t>& o, std::uint8_t type, std::size_t n) {
    if (n < 15) {
      o.push_back(static_cast<std::uint8_t>(type << 4 | n));
    } else {
      o.push_back(static_cast<std::uint8_t>(type << 4 | 15));
      o.push_back(0x13);
      appendBE(o, n, 8);
    }
  }

  std::uint8_t refSize_;
  std::vector<std::vector<std::uint8_t>> objects_;
};

}  // namespace cvdiag_test
