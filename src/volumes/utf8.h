#pragma once
// Whether bytes are well-formed UTF-8.

#include <string_view>

bool isValidUTF8(std::string_view bytes);
