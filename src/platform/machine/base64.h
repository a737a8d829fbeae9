#pragma once
// Base64 (the standard alphabet, "=" padding) as property lists' <data> and
// machine.json's {"$data": …} hold bytes.

#include <string>

#include "platform/value.h"

namespace platform::machine {

// The value of one base64 digit; -1 for any other character ("=" included).
int base64Digit(char c);

// The padded base64 text of the bytes, without line breaks.
std::string base64Encoded(const Bytes& bytes);

}  // namespace platform::machine
