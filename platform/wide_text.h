// The platform's runtime functions on 16-bit text. On a host whose own wide characters are wider, these are our
// overloads of the same names; on the device they are the runtime's.
//
// Digits and punctuation are ASCII's. Comparisons without case fold one code unit at a time by the simple mapping of
// Unicode, whatever the locale.
#pragma once

#include "platform_types.h"

#if !defined(MDB_TEXT_IS_WIDE)
// First, so that std's names stand for the host's own functions alone: the standard library takes their addresses.
#include <cwchar>
#endif

// Character classes of iswctype.
enum : WORD { kWideDigit = 4, kWidePunctuation = 16 };

#if defined(MDB_TEXT_IS_WIDE)
extern "C" {
#endif

size_t wcslen(const WCHAR* text);
WCHAR* wcscpy(WCHAR* to, const WCHAR* from);
WCHAR* wcscat(WCHAR* to, const WCHAR* from);
int wcscmp(const WCHAR* a, const WCHAR* b);
int _wcsicmp(const WCHAR* a, const WCHAR* b);
int _wcsnicmp(const WCHAR* a, const WCHAR* b, size_t count);

// Non-zero when the character is of the class.
int iswctype(WCHAR character, WORD character_class);

#if defined(MDB_TEXT_IS_WIDE)
long wcstol(const WCHAR* text, WCHAR** end, int base);
int swprintf(WCHAR* to, const WCHAR* format, ...);
}
#else
// A signed 32-bit integer; what is out of range becomes the nearer limit.
int32_t wcstol(const WCHAR* text, WCHAR** end, int base);

// Knows "%ld" with a 32-bit argument, which is all that the engine formats, and plain characters. Returns the length.
int swprintf(WCHAR* to, const WCHAR* format, ...);
#endif
