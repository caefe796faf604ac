// The library's own dump escapes C0 controls; the others stand inside strings only, so replacing them keeps the value.
#include "json_text.h"

#include <fmt/format.h>

#include "safe_text.h"
#include "utf_text.h"

namespace xkrdb {
namespace {

std::string EscapeControls(std::string_view dumped) {
  std::string text;
  for (size_t at = 0; at < dumped.size();) {
    const CodePoint point = DecodeUtf8(dumped, at);
    if (IsUnsafe(point.value) && point.value != U'\n') {
      text += fmt::format("\\u{:04x}", static_cast<uint32_t>(point.value));
    } else {
      text += dumped.substr(at, point.length);
    }
    at += point.length;
  }
  return text;
}

}  // namespace

std::string JsonLine(const Json& value) { return EscapeControls(value.dump()); }
std::string JsonPage(const Json& value) { return EscapeControls(value.dump(2)); }

}  // namespace xkrdb
