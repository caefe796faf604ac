// Reading and appending one character, number or run of spaces at a time.
#include "text_cursor.h"

#include "wide_text.h"

namespace mdb {
namespace {

int32_t AppendDigitSaturating(int32_t value, int32_t digit) {
  const int64_t longer = int64_t{value} * 10 + digit;
  return longer < INT32_MAX ? static_cast<int32_t>(longer) : INT32_MAX;
}

MDbChar DigitChar(int32_t digit) { return static_cast<MDbChar>('0' + digit); }

}  // namespace

void SkipSpaces(TextCursor* cursor) {
  while (CurrentChar(*cursor) == MDB_TEXT(' ')) ++cursor->index;
}

int32_t ReadDigits(TextCursor* cursor, int32_t* value, int32_t cap, bool* overflow, uint16_t* digits,
                   int32_t digits_room) {
  *value = 0;
  *overflow = false;
  if (digits != nullptr) {
    for (int32_t i = 0; i < digits_room; ++i) digits[i] = 0;
  }
  int32_t count = 0;
  while (iswctype(CurrentChar(*cursor), kWideDigit) != 0) {
    const MDbChar character = CurrentChar(*cursor);
    if (*value < cap) {
      *value = AppendDigitSaturating(*value, character - MDB_TEXT('0'));
    } else {
      *overflow = true;
    }
    if (digits != nullptr && count < digits_room - 1) digits[count] = character & 0xFF;
    ++cursor->index;
    ++count;
  }
  return count;
}

void UpdateStateAfterDigits(int32_t* state, int32_t digit_count, int32_t blank, int32_t invalid) {
  if (digit_count > 0 && *state == blank) *state = 0;
  if (digit_count == 0 && *state == 0) *state = invalid;
}

void AppendChar(MDbChar* buffer, int32_t* length, MDbChar character, bool terminate) {
  buffer[(*length)++] = character;
  if (terminate) buffer[*length] = 0;
}

void AppendTwoDigits(MDbChar* buffer, int32_t number, bool leading_zero, MDbChar separator) {
  auto length = static_cast<int32_t>(wcslen(buffer));
  const int32_t tens = number / 10;
  if (tens > 0 || leading_zero) AppendChar(buffer, &length, DigitChar(tens), false);
  AppendChar(buffer, &length, DigitChar(number % 10), true);
  if (separator != 0) AppendChar(buffer, &length, separator, true);
}

}  // namespace mdb
