// UTF-8 and UTF-16, decoded one character at a time. Decoding is total: any bytes give a character or "not valid".
#include "utf_text.h"

#include <cstdint>

namespace xkrdb {
namespace {

constexpr char32_t kFirstSurrogate = 0xD800;
constexpr char32_t kFirstLowSurrogate = 0xDC00;
constexpr char32_t kLastSurrogate = 0xDFFF;
constexpr char32_t kLastCodePoint = 0x10FFFF;
constexpr char32_t kFirstBeyondPlane0 = 0x10000;

bool IsSurrogate(char32_t value) { return value >= kFirstSurrogate && value <= kLastSurrogate; }
bool IsHighSurrogate(char32_t value) { return value >= kFirstSurrogate && value < kFirstLowSurrogate; }
bool IsLowSurrogate(char32_t value) { return value >= kFirstLowSurrogate && value <= kLastSurrogate; }

// What the first byte of a sequence says: how long it is, which bits it carries, and the smallest value that needs it.
struct LeadByte {
  uint8_t mask, pattern, length, bits;
  char32_t smallest;
};
constexpr LeadByte kLeadBytes[] = {{0x80, 0x00, 1, 0x7F, 0},
                                   {0xE0, 0xC0, 2, 0x1F, 0x80},
                                   {0xF0, 0xE0, 3, 0x0F, 0x800},
                                   {0xF8, 0xF0, 4, 0x07, 0x10000}};

}  // namespace

CodePoint DecodeUtf8(std::string_view text, size_t at) {
  const auto byte = [&](size_t index) { return static_cast<uint8_t>(text[index]); };
  const CodePoint bad{byte(at), 1, false};
  for (const LeadByte& lead : kLeadBytes) {
    if ((byte(at) & lead.mask) != lead.pattern) continue;
    if (text.size() - at < lead.length) return bad;
    char32_t value = byte(at) & lead.bits;
    for (size_t i = 1; i < lead.length; ++i) {
      if ((byte(at + i) & 0xC0) != 0x80) return bad;
      value = value << 6 | (byte(at + i) & 0x3Fu);
    }
    if (value < lead.smallest || value > kLastCodePoint || IsSurrogate(value)) return bad;
    return {value, lead.length, true};
  }
  return bad;
}

CodePoint DecodeUtf16(std::u16string_view text, size_t at) {
  const char32_t unit = text[at];
  if (!IsSurrogate(unit)) return {unit, 1, true};
  if (!IsHighSurrogate(unit) || at + 1 >= text.size() || !IsLowSurrogate(text[at + 1])) return {unit, 1, false};
  const char32_t low = text[at + 1];
  return {kFirstBeyondPlane0 + ((unit - kFirstSurrogate) << 10 | (low - kFirstLowSurrogate)), 2, true};
}

void AppendUtf8(std::string& text, char32_t value) {
  const auto append = [&](char32_t byte) { text.push_back(static_cast<char>(static_cast<uint8_t>(byte))); };
  if (value < 0x80) return append(value);
  if (value < 0x800) {
    append(0xC0 | value >> 6);
  } else if (value < kFirstBeyondPlane0) {
    append(0xE0 | value >> 12);
    append(0x80 | (value >> 6 & 0x3F));
  } else {
    append(0xF0 | value >> 18);
    append(0x80 | (value >> 12 & 0x3F));
    append(0x80 | (value >> 6 & 0x3F));
  }
  append(0x80 | (value & 0x3F));
}

std::optional<size_t> FirstBadByte(std::string_view text) {
  for (size_t at = 0; at < text.size();) {
    const CodePoint point = DecodeUtf8(text, at);
    if (!point.valid) return at;
    at += point.length;
  }
  return std::nullopt;
}

std::optional<std::u16string> ToWide(std::string_view text) {
  std::u16string wide;
  wide.reserve(text.size());
  for (size_t at = 0; at < text.size();) {
    const CodePoint point = DecodeUtf8(text, at);
    if (!point.valid) return std::nullopt;
    at += point.length;
    if (point.value < kFirstBeyondPlane0) {
      wide.push_back(static_cast<char16_t>(point.value));
    } else {
      const char32_t rest = point.value - kFirstBeyondPlane0;
      wide.push_back(static_cast<char16_t>(kFirstSurrogate + (rest >> 10)));
      wide.push_back(static_cast<char16_t>(kFirstLowSurrogate + (rest & 0x3FF)));
    }
  }
  return wide;
}

std::optional<std::string> ToUtf8(std::u16string_view text) {
  std::string utf8;
  utf8.reserve(text.size());
  for (size_t at = 0; at < text.size();) {
    const CodePoint point = DecodeUtf16(text, at);
    if (!point.valid) return std::nullopt;
    at += point.length;
    AppendUtf8(utf8, point.value);
  }
  return utf8;
}

}  // namespace xkrdb
