// See lower_case.h.
#include "lower_case.h"

#include "system.h"

char16_t LowerCaseBeyondAscii(char16_t unit) { return windows::LowerCase(unit); }
