// The simple lower-case mapping, which only the system knows beyond ASCII.
#pragma once

// Of a code unit beyond ASCII. Halves of surrogate pairs map to themselves.
char16_t LowerCaseBeyondAscii(char16_t unit);
