// The 32-bit value of a field's text, by which numbers, dates and times are compared and sorted.
#pragma once

#include "mdb_types.h"

namespace mdb {

// A field's type with the format that its texts are read under.
struct ValueFormat {
  uint8_t type = MDbFieldNone;
  DateFormat date{};  // of a date field
  TimeFormat time{};  // of a time field
};

// The database's date or time format for a field of this type. 1 for a type without one, or without attributes.
MDbStatus ReadValueFormat(MDbEnv* env, ValueFormat* format);

// The usual number: a sign perhaps, so few digits that they fit, and the end or decimals. False for any other text.
inline bool IsShortNumber(const MDbChar* text, int32_t* value) {
  constexpr size_t kMostDigits = 9;
  const bool negative = *text == '-';
  text += negative ? 1 : 0;
  const MDbChar* const first = text;
  uint32_t magnitude = 0;
  for (; *text >= '0' && *text <= '9'; ++text) magnitude = magnitude * 10 + (*text - uint32_t{'0'});
  const auto digits = static_cast<size_t>(text - first);
  const bool ends = (*text == 0) | (*text == '.');  // in one look: either is as likely
  if (digits - 1 >= kMostDigits || !ends) return false;
  const auto number = static_cast<int32_t>(magnitude);
  *value = negative ? -number : number;
  return true;
}

// TextToValue for any text and type.
MDbStatus AnyTextToValue(const MDbChar* text, const ValueFormat& format, int32_t* value);

// The value of a text: days for a date, seconds for a time, the number for a number.
// 1 the type has no values;  2, 3 not a date, not a time;  10 the number reaches a limit of 32 bits;  11 no digit
inline MDbStatus TextToValue(const MDbChar* text, const ValueFormat& format, int32_t* value) {
  if (format.type == MDbFieldNumber && IsShortNumber(text, value)) return MDbStatusOk;
  return AnyTextToValue(text, format, value);
}

// The most characters that the digits of a number are worth keeping for: a sign, and one digit more than 32 bits hold.
constexpr int kNumberTextLength = 12;

// Takes the digits out of a text with their sign: "1,234.56" gives 1234, "abc-12" -12, "1-2" 12, "--5" -5; empty when
// there is no digit. Leading zeros and digits beyond what 32 bits can hold are dropped, which changes no value.
void ExtractNumberText(const MDbChar* text, MDbChar (&number)[kNumberTextLength + 1]);

}  // namespace mdb
