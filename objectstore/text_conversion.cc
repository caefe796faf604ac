// See text_conversion.h.
#include "text_conversion.h"

namespace objectstore {

namespace {

bool IsHighSurrogate(uint32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(uint32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

void AppendUtf8(uint32_t code_point, std::string& text) {
  const auto append = [&text](uint32_t byte) { text.push_back(static_cast<char>(byte)); };
  const auto append_tail = [&append, code_point](int shift) { append(0x80 | ((code_point >> shift) & 0x3F)); };
  if (code_point < 0x80) return append(code_point);
  if (code_point < 0x800) {
    append(0xC0 | code_point >> 6);
  } else if (code_point < 0x10000) {
    append(0xE0 | code_point >> 12);
    append_tail(6);
  } else {
    append(0xF0 | code_point >> 18);
    append_tail(12);
    append_tail(6);
  }
  append_tail(0);
}

}  // namespace

Status PathFromText(const WCHAR* text, std::string& path) {
  if (text == nullptr || text[0] == 0) return Status::kInvalidParameter;
  path.clear();
  for (size_t i = 0; text[i] != 0; ++i) {
    if (i >= MAX_PATH - 1) return Status::kInvalidParameter;
    uint32_t code_point = text[i];
    if (IsHighSurrogate(code_point)) {
      if (!IsLowSurrogate(text[i + 1]) || i + 1 >= MAX_PATH - 1) return Status::kInvalidParameter;
      code_point = 0x10000 + ((code_point - 0xD800) << 10) + (uint32_t{text[++i]} - 0xDC00);
    } else if (IsLowSurrogate(code_point)) {
      return Status::kInvalidParameter;
    }
    AppendUtf8(code_point, path);
  }
  return Status::kOk;
}

}  // namespace objectstore
