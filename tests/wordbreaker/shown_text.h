// Text for a failure's message: ASCII as it is, the rest as \u.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

inline std::string Shown(std::u16string_view text) {
  std::string shown;
  for (const char16_t unit : text) {
    char escaped[8];
    std::snprintf(escaped, sizeof(escaped), "\\u%04X", static_cast<unsigned>(unit));
    shown += unit >= 0x20 && unit < 0x7F ? std::string(1, static_cast<char>(unit)) : escaped;
  }
  return '"' + shown + '"';
}
