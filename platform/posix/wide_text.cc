// The runtime functions on 16-bit text, for hosts whose own wide characters are wider or go by a locale.
//
// Comparisons answer -1, 0 or 1, so that a caller may cut the result to 16 bits. Nothing here looks at the process's
// locale.
#include "wide_text.h"

#include <cstdarg>
#include <limits>

#include "lower_case.h"

namespace {

int Sign(int difference) { return (difference > 0) - (difference < 0); }

WCHAR Lower(WCHAR unit) {
  if (unit >= 0x80) return LowerCaseBeyondAscii(unit);
  return unit >= u'A' && unit <= u'Z' ? static_cast<WCHAR>(unit + (u'a' - u'A')) : unit;
}

bool IsSpace(WCHAR unit) { return unit == u' ' || (unit >= u'\t' && unit <= u'\r'); }

// The value of a digit in bases up to 36; 36 for what is no digit.
int DigitValue(WCHAR unit) {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  if (unit >= u'a' && unit <= u'z') return unit - u'a' + 10;
  if (unit >= u'A' && unit <= u'Z') return unit - u'A' + 10;
  return 36;
}

// Moves past "0x" when a hexadecimal digit follows, and settles base 0.
const WCHAR* SkipBasePrefix(const WCHAR* text, int& base) {
  const bool hexadecimal = text[0] == u'0' && (text[1] == u'x' || text[1] == u'X') && DigitValue(text[2]) < 16;
  if (base == 0) base = hexadecimal ? 16 : text[0] == u'0' ? 8 : 10;
  return base == 16 && hexadecimal ? text + 2 : text;
}

WCHAR* WriteDecimal(WCHAR* to, int32_t number) {
  uint32_t rest = number < 0 ? 0u - static_cast<uint32_t>(number) : static_cast<uint32_t>(number);
  if (number < 0) *to++ = u'-';
  WCHAR digits[10];
  int count = 0;
  do {
    digits[count++] = static_cast<WCHAR>(u'0' + rest % 10);
    rest /= 10;
  } while (rest != 0);
  while (count > 0) *to++ = digits[--count];
  return to;
}

}  // namespace

WCHAR* wcscpy(WCHAR* to, const WCHAR* from) {
  WCHAR* next = to;
  while ((*next++ = *from++) != 0) {
  }
  return to;
}

WCHAR* wcscat(WCHAR* to, const WCHAR* from) {
  wcscpy(to + wcslen(to), from);
  return to;
}

int wcscmp(const WCHAR* a, const WCHAR* b) {
  while (*a != 0 && *a == *b) {
    ++a;
    ++b;
  }
  return Sign(*a - *b);
}

int _wcsicmp(const WCHAR* a, const WCHAR* b) { return _wcsnicmp(a, b, std::numeric_limits<size_t>::max()); }

int _wcsnicmp(const WCHAR* a, const WCHAR* b, size_t count) {
  for (; count > 0; --count, ++a, ++b) {
    const int difference = *a == *b ? 0 : Lower(*a) - Lower(*b);
    if (difference != 0 || *a == 0) return Sign(difference);
  }
  return 0;
}

int iswctype(WCHAR character, WORD character_class) {
  const bool digit = character >= u'0' && character <= u'9';
  const bool punctuation = (character >= u'!' && character <= u'/') || (character >= u':' && character <= u'@') ||
                           (character >= u'[' && character <= u'`') || (character >= u'{' && character <= u'~');
  return ((character_class & kWideDigit) != 0 && digit) || ((character_class & kWidePunctuation) != 0 && punctuation);
}

int32_t wcstol(const WCHAR* text, WCHAR** end, int base) {
  if (end != nullptr) *end = const_cast<WCHAR*>(text);
  if (base < 0 || base == 1 || base > 36) return 0;
  while (IsSpace(*text)) ++text;
  const bool negative = *text == u'-';
  if (*text == u'-' || *text == u'+') ++text;
  text = SkipBasePrefix(text, base);
  if (DigitValue(*text) >= base) return 0;

  // The magnitude stops at the limit's own, one more for negative numbers; digits are read on, so that end is right.
  const int64_t limit = std::numeric_limits<int32_t>::max() + int64_t{negative ? 1 : 0};
  int64_t magnitude = 0;
  for (; DigitValue(*text) < base; ++text) {
    magnitude = magnitude * base + DigitValue(*text);
    if (magnitude > limit) magnitude = limit;
  }
  if (end != nullptr) *end = const_cast<WCHAR*>(text);
  return static_cast<int32_t>(negative ? -magnitude : magnitude);
}

int swprintf(WCHAR* to, const WCHAR* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  WCHAR* next = to;
  while (*format != 0) {
    if (format[0] == u'%' && format[1] == u'l' && format[2] == u'd') {
      next = WriteDecimal(next, va_arg(arguments, int32_t));
      format += 3;
    } else {
      *next++ = *format++;
    }
  }
  *next = 0;
  va_end(arguments);
  return static_cast<int>(next - to);
}
