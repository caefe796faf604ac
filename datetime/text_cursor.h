// The small pieces that date and time texts are read and written with.
//
// A cursor never passes the terminator of its text. Only U+0020 counts as a space, and only the platform's digit class
// as a digit.
#pragma once

#include "mdb_types.h"

namespace mdb {

struct TextCursor {
  const MDbChar* text;
  int32_t index;
};

inline MDbChar CurrentChar(const TextCursor& cursor) { return cursor.text[cursor.index]; }
inline bool AtEnd(const TextCursor& cursor) { return CurrentChar(cursor) == 0; }

void SkipSpaces(TextCursor* cursor);

// Reads digits up to the first character that is none and returns how many there were.
//
// The cap is soft: another digit is taken in while the value is below it, so that with cap 3000 29999 is read whole,
// and 30000 stops at 3000 and sets *overflow. A value never exceeds 32 bits: it stays at the largest one instead.
// digits may be null; else it has digits_room units, which are zeroed and receive the first digits_room - 1 digits.
int32_t ReadDigits(TextCursor* cursor, int32_t* value, int32_t cap, bool* overflow, uint16_t* digits,
                   int32_t digits_room);

// What a number that was read, or is missing, does to the state of the text around it. A text is blank until its first
// number and valid (0) from then on; a number that is missing in a valid text makes it invalid.
void UpdateStateAfterDigits(int32_t* state, int32_t digit_count, int32_t blank, int32_t invalid);

// Appends to a text of *length characters. Without terminate the caller appends more, or terminates the text itself.
void AppendChar(MDbChar* buffer, int32_t* length, MDbChar character, bool terminate);

// Appends the tens of a number, if there are any or leading_zero asks for them, its units, and the separator unless
// that is 0. The text in buffer is terminated before and after.
void AppendTwoDigits(MDbChar* buffer, int32_t number, bool leading_zero, MDbChar separator);

}  // namespace mdb
