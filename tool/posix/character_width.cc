// See character_width.h: the widths are the C library's.
#include "character_width.h"

#include <wchar.h>

namespace xkrdb {

size_t CharacterWidth(char32_t character) {
  const int width = wcwidth(static_cast<wchar_t>(character));
  return width < 0 ? 1 : static_cast<size_t>(width);
}

}  // namespace xkrdb
