#include "path_text.h"

namespace path_text {
namespace {

constexpr char32_t kNotWellFormed = 0xFFFFFFFF;

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// The code point at the front of wide, which is not empty; takes its units off.
char32_t TakeUtf16(std::u16string_view& wide) {
  const char32_t first = wide[0];
  wide.remove_prefix(1);
  if (IsLowSurrogate(first)) return kNotWellFormed;
  if (!IsHighSurrogate(first)) return first;
  if (wide.empty() || !IsLowSurrogate(wide[0])) return kNotWellFormed;
  const char32_t second = wide[0];
  wide.remove_prefix(1);
  return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

void AppendUtf8(char32_t point, std::string& path) {
  const auto append = [&path](char32_t byte) { path.push_back(static_cast<char>(byte)); };
  if (point < 0x80) {
    append(point);
    return;
  }
  if (point < 0x800) {
    append(0xC0 | (point >> 6));
  } else {
    if (point < 0x10000) {
      append(0xE0 | (point >> 12));
    } else {
      append(0xF0 | (point >> 18));
      append(0x80 | ((point >> 12) & 0x3F));
    }
    append(0x80 | ((point >> 6) & 0x3F));
  }
  append(0x80 | (point & 0x3F));
}

// The code point at the front of path, which is not empty; takes its bytes off.
char32_t TakeUtf8(std::string_view& path) {
  const auto first = static_cast<unsigned char>(path[0]);
  path.remove_prefix(1);
  if (first < 0x80) return first;
  const size_t following = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
  if (first < 0xC0 || first > 0xF4 || path.size() < following) return kNotWellFormed;
  char32_t point = first & (0x3Fu >> following);
  for (size_t i = 0; i < following; ++i) {
    const auto byte = static_cast<unsigned char>(path[i]);
    if ((byte & 0xC0) != 0x80) return kNotWellFormed;
    point = (point << 6) | (byte & 0x3Fu);
  }
  path.remove_prefix(following);
  constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
  const bool surrogate = IsHighSurrogate(point) || IsLowSurrogate(point);
  return point < kSmallest[following] || point > 0x10FFFF || surrogate ? kNotWellFormed : point;
}

void AppendUtf16(char32_t point, std::u16string& wide) {
  if (point < 0x10000) {
    wide.push_back(static_cast<char16_t>(point));
  } else {
    wide.push_back(static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10)));
    wide.push_back(static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF)));
  }
}

}  // namespace

bool ToUtf8(std::u16string_view wide, std::string& path) {
  path.clear();
  while (!wide.empty()) {
    const char32_t point = TakeUtf16(wide);
    if (point == kNotWellFormed) return false;
    AppendUtf8(point, path);
  }
  return true;
}

bool ToUtf16(std::string_view path, std::u16string& wide) {
  wide.clear();
  while (!path.empty()) {
    const char32_t point = TakeUtf8(path);
    if (point == kNotWellFormed) return false;
    AppendUtf16(point, wide);
  }
  return true;
}

}  // namespace path_text
