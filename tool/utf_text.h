// Text on its way in and out: UTF-8 outside, UTF-16 in the library. Both directions are strict: what one side cannot
// express is refused and never replaced, so that a value that got through comes back as the same bytes.
#ifndef XKRDB_TOOL_UTF_TEXT_H
#define XKRDB_TOOL_UTF_TEXT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace xkrdb {

// One character taken from a text. valid is false for a byte or a half surrogate pair that is no character; value is
// then that byte or unit, and length 1.
struct CodePoint {
  char32_t value = 0;
  size_t length = 0;  // bytes or units that it takes
  bool valid = false;
};

CodePoint DecodeUtf8(std::string_view text, size_t at);
CodePoint DecodeUtf16(std::u16string_view text, size_t at);
void AppendUtf8(std::string& text, char32_t value);

// The position of the first byte that is not UTF-8 (a surrogate, an overlong form, a cut sequence), if there is one.
std::optional<size_t> FirstBadByte(std::string_view text);

// Nothing when text is not UTF-8.
std::optional<std::u16string> ToWide(std::string_view text);

// Nothing when text holds half a surrogate pair, which UTF-8 cannot express.
std::optional<std::string> ToUtf8(std::u16string_view text);

}  // namespace xkrdb

#endif
