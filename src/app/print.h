#pragma once
// The report's one print operation: items joined by one blank, then one line
// feed (or `terminator`).

#include <initializer_list>
#include <ostream>
#include <string_view>

inline void print(std::ostream& out, std::initializer_list<std::string_view> items,
                  std::string_view terminator = "\n") {
  bool first = true;
  for (auto item : items) {
    if (!first) out << ' ';
    out << item;
    first = false;
  }
  out << terminator;
}

inline void print(std::ostream& out, std::string_view item) { print(out, {item}); }
