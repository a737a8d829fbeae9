#include "platform/machine/base64.h"

#include <cstdint>

namespace platform::machine {

int base64Digit(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

std::string base64Encoded(const Bytes& bytes) {
  static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const auto b = bytes.bytes();
  std::string out;
  out.reserve((b.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < b.size(); i += 3) {
    std::uint32_t n = std::uint32_t{b[i]} << 16;
    if (i + 1 < b.size()) n |= std::uint32_t{b[i + 1]} << 8;
    if (i + 2 < b.size()) n |= b[i + 2];
    out += kAlphabet[(n >> 18) & 63];
    out += kAlphabet[(n >> 12) & 63];
    out += i + 1 < b.size() ? kAlphabet[(n >> 6) & 63] : '=';
    out += i + 2 < b.size() ? kAlphabet[n & 63] : '=';
  }
  return out;
}

}  // namespace platform::machine
