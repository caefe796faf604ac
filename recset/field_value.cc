// The 32-bit value of a field's text.
#include "field_value.h"

#include <limits>

#include "date_text.h"
#include "mdb.h"
#include "mdb_try.h"
#include "time_text.h"
#include "wide_text.h"

namespace mdb {

MDbStatus ReadValueFormat(MDbEnv* env, ValueFormat* format) {
  if (format->type != MDbFieldDate && format->type != MDbFieldTime) return MDbStatusFailed;
  MDbAttrs attrs{};
  MDB_TRY(MDbAttrTblReadAttrs(env, &env->agentRef, &env->attrTbl, 0, &attrs));
  format->date = attrs.dateFormat;
  format->time = attrs.timeFormat;
  return MDbStatusOk;
}

// Most units of most numbers are digits: they are told without a call.
static bool IsDigit(MDbChar unit) {
  return (unit >= '0' && unit <= '9') || (unit >= 0x80 && iswctype(unit, kWideDigit));
}

void ExtractNumberText(const MDbChar* text, MDbChar (&number)[kNumberTextLength + 1]) {
  bool digit_seen = false;
  bool minus_seen = false;
  int length = 0;
  int digits = 0;  // kept, leading zeros aside
  for (; *text != 0; ++text) {
    if (IsDigit(*text)) {
      const bool leading_zero = digits == 0 && *text == '0';
      digit_seen = true;
      if (leading_zero || length == kNumberTextLength) continue;
      number[length++] = *text;
      ++digits;
    } else if (iswctype(*text, kWidePunctuation)) {
      if (*text == '.') break;  // decimals are cut off
      if (*text == '-' && !digit_seen && !minus_seen) {
        number[length++] = *text;
        minus_seen = true;
      }
    }
  }
  if (digit_seen && digits == 0) number[length++] = '0';
  number[digit_seen ? length : 0] = 0;
}

static MDbStatus NumberTextToValue(const MDbChar* text, int32_t* value) {
  MDbChar number[kNumberTextLength + 1];
  ExtractNumberText(text, number);
  if (number[0] == 0) return MDbStatusEmptyNumber;
  constexpr int kDecimal = 10;
  const auto result = static_cast<int32_t>(wcstol(number, nullptr, kDecimal));
  // The limits are what an overflow converts to, and are refused also when they are written literally.
  using Limits = std::numeric_limits<int32_t>;
  if (result == Limits::max() || result == Limits::min()) return MDbStatusNumberOutOfRange;
  *value = result;
  return MDbStatusOk;
}

MDbStatus AnyTextToValue(const MDbChar* text, const ValueFormat& format, int32_t* value) {
  switch (format.type) {
    case MDbFieldNumber:
      return NumberTextToValue(text, value);
    case MDbFieldDate:
      return DateTextToDayNumber(text, format.date, false, value);
    case MDbFieldTime:
      return ParseTimeToSeconds(text, format.time, value);
    default:
      return MDbStatusFailed;
  }
}

}  // namespace mdb
