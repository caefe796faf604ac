// Escaping and measuring of shown text.
#include "safe_text.h"

#include <fmt/format.h>

#include "character_width.h"
#include "utf_text.h"

namespace xkrdb {
namespace {

constexpr size_t kQuotedCharacters = 40;
constexpr std::string_view kEllipsis = "…";

struct Range {
  char32_t first, last;
};
constexpr Range kUnsafe[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C}, {0x200E, 0x200F},
                             {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFEFF, 0xFEFF}};

void AppendSafe(std::string& text, char32_t value) {
  switch (value) {
    case U'\n':
      text += "\\n";
      return;
    case U'\r':
      text += "\\r";
      return;
    case U'\t':
      text += "\\t";
      return;
    default:
      break;
  }
  if (IsUnsafe(value)) {
    text += fmt::format("\\u{:04x}", static_cast<uint32_t>(value));
  } else {
    AppendUtf8(text, value);
  }
}

template <typename View>
std::string QuotedText(View text) {
  const bool cut = text.size() > kQuotedCharacters * 4;
  const std::string safe = SafeText(cut ? text.substr(0, kQuotedCharacters * 4) : text);
  return fmt::format("\"{}\"", CutToWidth(safe, kQuotedCharacters));
}

}  // namespace

bool IsUnsafe(char32_t value) {
  for (const Range& range : kUnsafe) {
    if (value >= range.first && value <= range.last) return true;
  }
  return false;
}

std::string SafeText(std::string_view text) {
  std::string safe;
  for (size_t at = 0; at < text.size();) {
    const CodePoint point = DecodeUtf8(text, at);
    if (point.valid) {
      AppendSafe(safe, point.value);
    } else {
      safe += fmt::format("\\x{:02x}", static_cast<uint32_t>(point.value));
    }
    at += point.length;
  }
  return safe;
}

std::string SafeText(std::u16string_view text) {
  std::string safe;
  for (size_t at = 0; at < text.size();) {
    const CodePoint point = DecodeUtf16(text, at);
    if (point.valid) {
      AppendSafe(safe, point.value);
    } else {
      safe += fmt::format("\\u{:04x}", static_cast<uint32_t>(point.value));
    }
    at += point.length;
  }
  return safe;
}

std::string Quoted(std::string_view text) { return QuotedText(text); }
std::string Quoted(std::u16string_view text) { return QuotedText(text); }

size_t DisplayWidth(std::string_view safe_text) {
  size_t columns = 0;
  for (size_t at = 0; at < safe_text.size();) {
    const CodePoint point = DecodeUtf8(safe_text, at);
    columns += CharacterWidth(point.value);
    at += point.length;
  }
  return columns;
}

std::string CutToWidth(std::string_view safe_text, size_t columns) {
  if (DisplayWidth(safe_text) <= columns) return std::string(safe_text);
  if (columns == 0) return {};
  size_t taken = 0;
  size_t at = 0;
  while (at < safe_text.size()) {
    const CodePoint point = DecodeUtf8(safe_text, at);
    const size_t width = CharacterWidth(point.value);
    if (taken + width > columns - 1) break;
    taken += width;
    at += point.length;
  }
  return std::string(safe_text.substr(0, at)) + std::string(kEllipsis);
}

}  // namespace xkrdb
