// Parsing reads the numbers and the suffix, then carries, then judges the whole; nothing is stored before that.
// Numbers are kept as typed beside the carried ones, in 64 bits, so that no text can make them overflow.
#include "time_text.h"

#include "text_cursor.h"
#include "time_suffix.h"
#include "wide_text.h"

namespace mdb {
namespace {

enum : int32_t { kHours = 0, kMinutes = 1, kSeconds = 2, kPartCount = 3 };

constexpr int32_t kNoTimeHours = -32767;  // stored for what is no time
constexpr int64_t kMaxSlot = 32767;

struct TimeParse {
  TextCursor cursor;
  uint16_t* digits;
  int32_t state;  // a TimeState; how the text ended is added from the suffix when all else is good
  bool negative;
  int32_t components;
  TimeSuffix suffix;
  int64_t typed[kPartCount];
  int64_t carried[kPartCount];
};

void ReadPart(TimeParse* parse, int32_t part) {
  int32_t value = 0;
  bool overflow = false;  // not asked: a number that large is refused for the hours that it carries into
  uint16_t* digits = parse->digits == nullptr ? nullptr : parse->digits + part * kTimeDigitsRoom;
  const int32_t count = ReadDigits(&parse->cursor, &value, INT32_MAX, &overflow, digits, kTimeDigitsRoom);
  SkipSpaces(&parse->cursor);
  UpdateStateAfterDigits(&parse->state, count, MDbTimeEmpty, MDbTimeInvalid);
  parse->typed[part] = value;
  parse->components = part;
}

// A separator of 0 never stands in a text: its end is no separator.
bool TakeCharacter(TimeParse* parse, MDbChar character) {
  if (AtEnd(parse->cursor) || CurrentChar(parse->cursor) != character) return false;
  ++parse->cursor.index;
  SkipSpaces(&parse->cursor);
  return true;
}

void ReadParts(TimeParse* parse, MDbChar separator) {
  SkipSpaces(&parse->cursor);
  parse->negative = TakeCharacter(parse, MDB_TEXT('-'));
  ReadPart(parse, kHours);
  if (parse->state != MDbTimePlain || !TakeCharacter(parse, separator)) return;
  ReadPart(parse, kMinutes);
  if (TakeCharacter(parse, separator)) ReadPart(parse, kSeconds);
}

// What stands behind the numbers is a suffix as a whole or makes the text invalid. Behind no number it is left unread.
void ReadSuffix(TimeParse* parse, const TimeFormat& format) {
  if (parse->state != MDbTimePlain || AtEnd(parse->cursor)) return;
  const MDbChar* rest = parse->cursor.text + parse->cursor.index;
  parse->suffix = MatchTimeSuffix(rest, format);
  if (parse->suffix == TimeSuffix::kNone) parse->state = MDbTimeInvalid;
  parse->cursor.index += static_cast<int32_t>(wcslen(rest));
}

void Carry(TimeParse* parse, int32_t from, bool strict) {
  int64_t* numbers = parse->carried;
  if (numbers[from] <= 59) return;
  numbers[from - 1] += numbers[from] / 60;
  numbers[from] %= 60;
  if (strict) parse->state = MDbTimeInvalid;
}

bool IsTwelveHour(TimeSuffix suffix) { return suffix == TimeSuffix::kMorning || suffix == TimeSuffix::kAfternoon; }

bool IsRefused(const TimeParse& parse, bool strict) {
  const int64_t hours = parse.carried[kHours];
  if (IsTwelveHour(parse.suffix) && hours > 12) return true;
  if ((parse.suffix == TimeSuffix::kTwentyFourHour || strict) && hours >= 24) return true;
  if (strict && (parse.negative || parse.components == 0)) return true;
  if (parse.negative && parse.suffix != TimeSuffix::kNone) return true;
  return hours >= kMaxSlot;
}

// Hours of a morning or afternoon time as hours of the day; any other hours unchanged.
int64_t HoursOfDay(int64_t hours, TimeSuffix suffix) {
  if (suffix == TimeSuffix::kMorning && hours >= 12) return hours - 12;
  if (suffix == TimeSuffix::kAfternoon && hours < 12) return hours + 12;
  return hours;
}

int32_t StateOfSuffix(TimeSuffix suffix) {
  if (suffix == TimeSuffix::kNone) return MDbTimePlain;
  return suffix == TimeSuffix::kTwentyFourHour ? MDbTimeTwentyFourHour : MDbTimeTwelveHour;
}

// Typed minutes and seconds may need more than 16 bits, as in 0:99999. They are cut off at 32767 rather than wrapped,
// so that a large number stays large and keeps its sign. Pinned by ParseTimeValues.TypedNumbersAreCutOffAt16Bits.
int16_t Slot(int64_t number, bool negative) {
  const int64_t kept = number < kMaxSlot ? number : kMaxSlot;
  return static_cast<int16_t>(negative ? -kept : kept);
}

TimeRec RecordOf(const TimeParse& parse, bool normalize) {
  const int64_t* numbers = normalize ? parse.carried : parse.typed;
  const int64_t hours = normalize ? HoursOfDay(numbers[kHours], parse.suffix) : numbers[kHours];
  return {Slot(hours, parse.negative), Slot(numbers[kMinutes], parse.negative), Slot(numbers[kSeconds], parse.negative),
          StateOfSuffix(parse.suffix), parse.components};
}

// Appends the separator, unless it is 0, and two digits.
void AppendTimePart(MDbChar* buffer, int32_t number, MDbChar separator) {
  auto length = static_cast<int32_t>(wcslen(buffer));
  if (separator != 0) AppendChar(buffer, &length, separator, true);
  AppendTwoDigits(buffer, number, true, 0);
}

// Unlike in a text, 60 stands: only what is above it carries, so that a record of 60 seconds is shown as it is.
void CarryAboveSixty(int32_t* from, int32_t* to) {
  if (*from <= 60) return;
  *to += *from / 60;
  *from %= 60;
}

int32_t TwelveHourClock(int32_t hours) {
  if (hours == 0) return 12;
  return hours > 12 ? hours - 12 : hours;
}

int32_t Magnitude(int16_t number) { return number < 0 ? -int32_t{number} : int32_t{number}; }

}  // namespace

void ParseTime(const MDbChar* text, TimeRec* time, const TimeFormat& format, bool strict, bool normalize,
               uint16_t* digits) {
  TimeParse parse = {{text, 0}, digits, MDbTimeEmpty, false, 0, TimeSuffix::kNone, {0, 0, 0}, {0, 0, 0}};
  ReadParts(&parse, format.separator);
  ReadSuffix(&parse, format);
  for (int32_t part = kHours; part < kPartCount; ++part) parse.carried[part] = parse.typed[part];
  if (parse.state == MDbTimePlain) {
    Carry(&parse, kSeconds, strict);
    Carry(&parse, kMinutes, strict);
    if (IsRefused(parse, strict)) parse.state = MDbTimeInvalid;
  }
  if (!AtEnd(parse.cursor)) parse.state = MDbTimeInvalid;
  if (parse.state == MDbTimePlain) {
    *time = RecordOf(parse, normalize);
  } else {
    *time = {kNoTimeHours, 0, 0, parse.state, 2};
  }
}

void FormatTime(const TimeRec& time, MDbChar* buffer, const TimeFormat& format) {
  if (time.state < MDbTimePlain || time.state > MDbTimeInvalid) return;
  buffer[0] = 0;
  if (time.state == MDbTimeInvalid) wcscpy(buffer, MDB_TEXT("?"));
  if (time.state >= MDbTimeEmpty) return;
  const bool negative = time.hours < 0 || time.minutes < 0 || time.seconds < 0;
  const int32_t sign = negative ? -1 : 1;
  int32_t hours = sign * time.hours;
  int32_t minutes = sign * time.minutes;
  int32_t seconds = sign * time.seconds;
  CarryAboveSixty(&seconds, &minutes);
  CarryAboveSixty(&minutes, &hours);

  const bool plain = time.state == MDbTimePlain;
  const bool twelve_hour = !plain && format.twelveHour != 0;
  const int32_t shown = twelve_hour ? TwelveHourClock(hours) : hours;
  int32_t length = 0;
  if (plain && negative) AppendChar(buffer, &length, MDB_TEXT('-'), true);
  if (!plain && shown < 10 && format.hourLeadingZero != 0) AppendChar(buffer, &length, MDB_TEXT('0'), true);
  swprintf(buffer + length, MDB_TEXT("%ld"), shown);
  if (time.components > 0) AppendTimePart(buffer, minutes, format.separator);
  if (time.components > 1) AppendTimePart(buffer, seconds, format.separator);
  if (plain) return;
  const TimeSuffix half = hours < 12 ? TimeSuffix::kMorning : TimeSuffix::kAfternoon;
  AppendTimeSuffix(buffer, twelve_hour ? half : TimeSuffix::kTwentyFourHour, format);
}

void TimeToSeconds(const TimeRec& time, int32_t* seconds) {
  const int32_t magnitude = (Magnitude(time.hours) * 60 + Magnitude(time.minutes)) * 60 + Magnitude(time.seconds);
  *seconds = time.hours < 0 || time.minutes < 0 || time.seconds < 0 ? -magnitude : magnitude;
}

MDbStatus ParseTimeToSeconds(const MDbChar* text, const TimeFormat& format, int32_t* seconds) {
  TimeRec time;
  ParseTime(text, &time, format, false, true, nullptr);
  if (time.state >= MDbTimeEmpty) return MDbStatusBadTimeText;
  TimeToSeconds(time, seconds);
  return MDbStatusOk;
}

int16_t CompareTimeText(const MDbChar* a, const MDbChar* b, const TimeFormat& format) {
  if (a[0] == 0 || b[0] == 0) return static_cast<int16_t>((a[0] != 0) - (b[0] != 0));
  int32_t seconds_a = 0;
  int32_t seconds_b = 0;
  const bool a_is_time = ParseTimeToSeconds(a, format, &seconds_a) == MDbStatusOk;
  const bool b_is_time = ParseTimeToSeconds(b, format, &seconds_b) == MDbStatusOk;
  if (a_is_time != b_is_time) return a_is_time ? 1 : -1;
  if (a_is_time) return static_cast<int16_t>((seconds_a > seconds_b) - (seconds_a < seconds_b));
  const auto folded = static_cast<int16_t>(_wcsicmp(a, b));
  return folded != 0 ? folded : static_cast<int16_t>(wcscmp(a, b));
}

}  // namespace mdb
