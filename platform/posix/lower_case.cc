// See lower_case.h. Hosts without the C.UTF-8 locale have ASCII's letters only.
#include "lower_case.h"

#include <locale.h>
#include <wctype.h>

char16_t LowerCaseBeyondAscii(char16_t unit) {
  static const locale_t unicode = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  if (unicode == nullptr) return unit;
  const wint_t lower = towlower_l(unit, unicode);
  return lower <= 0xFFFF ? static_cast<char16_t>(lower) : unit;
}
