#include "volumes/utf8.h"

#include <utf8proc.h>

bool isValidUTF8(std::string_view bytes) {
  const auto* at = reinterpret_cast<const utf8proc_uint8_t*>(bytes.data());
  utf8proc_ssize_t left = static_cast<utf8proc_ssize_t>(bytes.size());
  while (left > 0) {
    utf8proc_int32_t codePoint = 0;
    utf8proc_ssize_t used = utf8proc_iterate(at, left, &codePoint);
    if (used <= 0) return false;
    at += used;
    left -= used;
  }
  return true;
}
