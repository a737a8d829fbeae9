#include "tools/disk_order_key.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

std::int64_t diskOrderKey(std::string_view bsdName) {
  double sum = 0;
  int index = 0;
  std::size_t i = 0;
  while (i < bsdName.size()) {
    if (bsdName[i] < '0' || bsdName[i] > '9') {
      ++i;
      continue;
    }
    std::size_t end = i;
    while (end < bsdName.size() && bsdName[end] >= '0' && bsdName[end] <= '9') ++end;
    std::string piece(bsdName.substr(i, end - i));
    sum += std::strtod(piece.c_str(), nullptr) * 1000.0 / std::pow(10.0, index);
    ++index;
    i = end;
  }
  // Names the platform gives never come near the limits; saturate rather
  // than convert out of range.
  constexpr double kMax = 9.2e18;
  if (!std::isfinite(sum) || sum >= kMax) return std::numeric_limits<std::int64_t>::max();
  return static_cast<std::int64_t>(sum);
}

std::int64_t diskOrderKeyOfOptional(const std::optional<std::string>& bsdName) {
  return bsdName ? diskOrderKey(std::string_view(*bsdName)) : 0;
}
