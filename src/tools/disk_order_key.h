#pragma once
// The numeric key that orders BSD names: the digit runs of the name, the
// first worth thousands, each next one a tenth of the one before
// ("disk7s2s1" is 7000 + 200 + 10 = 7210). Names with equal keys ("disk2",
// "disk1s10") have no order among themselves.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

std::int64_t diskOrderKey(std::string_view bsdName);
// An absent name has the key 0.
std::int64_t diskOrderKeyOfOptional(const std::optional<std::string>& bsdName);
