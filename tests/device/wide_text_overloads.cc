// The platform's text functions for programs whose 16-bit text is char16_t: the runtime's own, held to what wide_text.h
// promises. The runtime's comparisons answer any number, and its digits are Unicode's.
#include "wide_text.h"

#include <clocale>
#include <cstdarg>
#include <cwctype>

static_assert(sizeof(wchar_t) == sizeof(WCHAR));

namespace {

const wchar_t* Wide(const WCHAR* text) { return reinterpret_cast<const wchar_t*>(text); }
wchar_t* Wide(WCHAR* text) { return reinterpret_cast<wchar_t*>(text); }

int Sign(int difference) { return (difference > 0) - (difference < 0); }

// Without a locale that somebody asked for, the runtime folds the case of ASCII's letters only.
[[maybe_unused]] const char* const locale = std::setlocale(LC_ALL, "");

}  // namespace

size_t wcslen(const WCHAR* text) { return ::wcslen(Wide(text)); }
WCHAR* wcscpy(WCHAR* to, const WCHAR* from) {
  ::wcscpy(Wide(to), Wide(from));
  return to;
}
WCHAR* wcscat(WCHAR* to, const WCHAR* from) {
  ::wcscat(Wide(to), Wide(from));
  return to;
}
int wcscmp(const WCHAR* a, const WCHAR* b) { return Sign(::wcscmp(Wide(a), Wide(b))); }
int _wcsicmp(const WCHAR* a, const WCHAR* b) { return Sign(::_wcsicmp(Wide(a), Wide(b))); }
int _wcsnicmp(const WCHAR* a, const WCHAR* b, size_t count) { return Sign(::_wcsnicmp(Wide(a), Wide(b), count)); }

int iswctype(WCHAR character, WORD character_class) {
  return character < 0x80 && ::iswctype(static_cast<wint_t>(character), wctype_t{character_class});
}

int32_t wcstol(const WCHAR* text, WCHAR** end, int base) {
  return ::wcstol(Wide(text), reinterpret_cast<wchar_t**>(end), base);
}

int swprintf(WCHAR* to, const WCHAR* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = ::_vsnwprintf(Wide(to), 32, Wide(format), arguments);
  va_end(arguments);
  return length;
}
