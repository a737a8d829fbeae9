// libFuzzer entry: whatever the property-list reader accepts must write in
// both forms and read back as the same value, kind for kind and bit for bit.
// The XML form keeps a date's whole second (and no negative zero) and holds a UID as a dictionary
// of one key, so the comparison allows exactly that.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

#include "platform/machine/property_list_codec.h"

namespace {

using platform::Value;

bool sameBits(double a, double b) {
  if (std::isnan(a) && std::isnan(b)) return true;
  return std::memcmp(&a, &b, sizeof a) == 0;
}

bool same(const Value& a, const Value& b, bool xml) {
  if (xml && a.kind() == Value::Kind::Map && b.kind() == Value::Kind::Uid && a.dictionary()->size() == 1) {
    const auto& [key, n] = *a.dictionary()->begin();
    return key == "CF$UID" && n.asUInt64() == b.uid()->value && n.kind() != Value::Kind::Real;
  }
  if (a.kind() != b.kind()) return false;
  switch (a.kind()) {
    case Value::Kind::Real: return sameBits(*a.asDouble(), *b.asDouble());
    case Value::Kind::DateTime: {
      const double s = a.date()->secondsSinceReferenceDate();
      // The XML text of a date has no negative zero: -0 seconds reads back as 0.
      return sameBits(xml ? std::floor(s) + 0.0 : s, b.date()->secondsSinceReferenceDate());
    }
    case Value::Kind::List: {
      const auto &x = *a.array(), &y = *b.array();
      if (x.size() != y.size()) return false;
      for (std::size_t i = 0; i < x.size(); ++i)
        if (!same(x[i], y[i], xml)) return false;
      return true;
    }
    case Value::Kind::Map: {
      const auto &x = *a.dictionary(), &y = *b.dictionary();
      if (x.size() != y.size()) return false;
      for (auto i = x.begin(), j = y.begin(); i != x.end(); ++i, ++j)
        if (i->first != j->first || !same(i->second, j->second, xml)) return false;
      return true;
    }
    default: return a == b;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace platform;
  auto value = machine::decodePropertyList(std::span(data, size));
  if (!value) return 0;
  for (auto format : {PropertyListFormat::Binary, PropertyListFormat::XML}) {
    auto bytes = machine::encodePropertyList(*value, format);
    if (!bytes) {
      // Only XML may refuse what was read: a date beyond its calendar, or a
      // UID that would nest one level too deep.
      if (format == PropertyListFormat::XML) continue;
      std::fprintf(stderr, "binary write refused: %s\n", bytes.error().localizedDescription.c_str());
      std::abort();
    }
    auto again = machine::decodePropertyList(bytes->bytes());
    if (!again) {
      std::fprintf(stderr, "read back refused: %s\n", again.error().localizedDescription.c_str());
      std::abort();
    }
    if (!same(*value, *again, format == PropertyListFormat::XML)) std::abort();
  }
  return 0;
}
