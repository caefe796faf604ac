// Parsing goes part by part through the text; each part takes its number and the separator behind it.
// The rules that callers see most: the year may be left out where it would stand first or last, and is the current one
// then; a separator that is taken promises another part.
#include "date_text.h"

#include "clock.h"
#include "text_cursor.h"
#include "wide_text.h"

namespace mdb {
namespace {

enum class DatePart : uint8_t { kMonth, kDay, kYear };

constexpr uint8_t kOrderCount = 6;
constexpr DatePart kPartOrder[kOrderCount][3] = {
    {DatePart::kMonth, DatePart::kDay, DatePart::kYear}, {DatePart::kDay, DatePart::kMonth, DatePart::kYear},
    {DatePart::kYear, DatePart::kMonth, DatePart::kDay}, {DatePart::kMonth, DatePart::kYear, DatePart::kDay},
    {DatePart::kDay, DatePart::kYear, DatePart::kMonth}, {DatePart::kYear, DatePart::kDay, DatePart::kMonth}};

// No part may reach 30000, which also keeps it within its 16-bit slot.
constexpr int32_t kPartCap = 3000;
constexpr int32_t kMaxSeparators = 2;

struct DateParse {
  TextCursor cursor;
  DateRec* date;
  bool two_digit_base_1900;
  bool more_follows;   // the last part ended with a separator; at the start, too
  bool year_given;     // the text has a year
  int32_t separators;  // taken so far
};

// A parse asks once at most: a year that is given may need its century, one that is left out needs it whole.
int16_t CurrentYear() {
  SYSTEMTIME now;
  GetSystemTime(&now);
  return static_cast<int16_t>(now.wYear);  // the platform's clock ends with the year 30827
}

// Near a turn of century two digits may mean the one before or after: 95 read in 2003 is 1995, 05 read in 1995 is 2005.
int32_t YearOfTwoDigits(int32_t digits, int32_t current_year) {
  const int32_t year_of_century = current_year % 100;
  int32_t base = current_year - year_of_century;
  if (year_of_century < 10 && digits >= 90) {
    base -= 100;
  } else if (year_of_century >= 90 && digits < 10) {
    base += 100;
  }
  return base + digits;
}

// Takes the character behind a part as separator, whatever it is, if one may stand here: the text is not blank so far,
// there were less than two, and it is the same as before.
bool TakeSeparator(DateParse* parse) {
  DateRec* date = parse->date;
  if (date->status == MDbDateBlank || AtEnd(parse->cursor) || parse->separators == kMaxSeparators) return false;
  const MDbChar character = CurrentChar(parse->cursor);
  if (date->separator != 0 && date->separator != character) return false;
  date->separator = character;
  ++parse->separators;
  ++parse->cursor.index;
  return true;
}

// Returns how many digits the part has.
int32_t ParsePart(DateParse* parse, int16_t* slot) {
  int32_t value = 0;
  bool overflow = false;
  const int32_t count = ReadDigits(&parse->cursor, &value, kPartCap, &overflow, nullptr, 0);
  if (overflow) parse->date->status = MDbDateInvalid;
  if (count > 0) *slot = static_cast<int16_t>(value);
  UpdateStateAfterDigits(&parse->date->status, count, MDbDateBlank, MDbDateInvalid);
  parse->more_follows = TakeSeparator(parse);
  return count;
}

void ParseYear(DateParse* parse) {
  if (!parse->more_follows) return;
  parse->year_given = true;
  DateRec* date = parse->date;
  const int32_t count = ParsePart(parse, &date->year);
  if (count == 4) date->fourDigitYear = 1;
  if (count == 0 || count > 2) return;
  const int32_t year = parse->two_digit_base_1900 ? 1900 + date->year : YearOfTwoDigits(date->year, CurrentYear());
  date->year = static_cast<int16_t>(year);
}

void ParseParts(DateParse* parse, uint8_t order) {
  if (order >= kOrderCount) return;
  // A year that stands first cannot be told from a month by its place, so the number of separators decides.
  const bool leave_out_year =
      kPartOrder[order][0] == DatePart::kYear && CountSeparatorChar(parse->cursor.text) < kMaxSeparators;
  for (const DatePart part : kPartOrder[order]) {
    if (part == DatePart::kMonth) ParsePart(parse, &parse->date->month);
    if (part == DatePart::kDay) ParsePart(parse, &parse->date->day);
    if (part == DatePart::kYear && !leave_out_year) ParseYear(parse);
  }
}

bool IsWellFormed(const DateParse& parse) {
  return AtEnd(parse.cursor) && !parse.more_follows && parse.date->month < 13 && parse.date->day < 32 &&
         parse.cursor.text[0] != 0;
}

// The numbers of a well-formed text: do they name a day?
int32_t StatusOfNumbers(DateParse* parse) {
  DateRec* date = parse->date;
  if (date->month == 0 || date->day == 0 || date->year == 0) {
    return date->month + date->day + date->year == 0 ? MDbDateZero : MDbDateInvalid;
  }
  if (!parse->year_given) date->year = CurrentYear();
  int32_t day_number = 0;
  DateRec same;
  DateToDayNumber(*date, &day_number);
  DayNumberToDate(day_number, &same);
  if (same.day != date->day) return MDbDateInvalid;  // 31 April leads back to 1 May, a year above 3000 nowhere
  return parse->year_given ? MDbDateValid : MDbDateThisYear;
}

int Sign(int number) { return (number > 0) - (number < 0); }

}  // namespace

void ParseDateText(const MDbChar* text, DateRec* date, const DateFormat& format, bool two_digit_base_1900,
                   bool require_four_digit_year) {
  *date = {1, 1, 1, MDbDateBlank, 0, 0};
  DateParse parse = {{text, 0}, date, two_digit_base_1900, true, false, 0};
  SkipSpaces(&parse.cursor);
  ParseParts(&parse, format.order);
  SkipSpaces(&parse.cursor);
  if (!IsWellFormed(parse)) date->status = MDbDateInvalid;
  if (require_four_digit_year && date->status == MDbDateValid && date->fourDigitYear == 0) {
    date->status = MDbDateInvalid;
  }
  if (date->status == MDbDateValid) date->status = StatusOfNumbers(&parse);
  if (date->status >= MDbDateBlank) date->month = date->day = date->year = 0;
}

void AppendYear(MDbChar* buffer, int32_t year, MDbChar separator) {
  AppendTwoDigits(buffer, year / 100, true, 0);
  AppendTwoDigits(buffer, year % 100, true, separator);
}

void FormatDateText(const DateRec& date, MDbChar* buffer, const DateFormat& format) {
  if (date.status < MDbDateValid || date.status > MDbDateInvalid) return;
  buffer[0] = 0;
  if (date.status == MDbDateInvalid) wcscpy(buffer, MDB_TEXT("?"));
  if (date.status == MDbDateInvalid || date.status == MDbDateBlank || format.order >= kOrderCount) return;
  const bool recorded = format.ownSeparator != 0 && date.separator != 0;
  const MDbChar separator = recorded ? static_cast<MDbChar>(date.separator) : format.separator;
  for (int32_t i = 0; i < 3; ++i) {
    const DatePart part = kPartOrder[format.order][i];
    const MDbChar behind = i < 2 ? separator : MDbChar{0};
    if (part == DatePart::kMonth) AppendTwoDigits(buffer, date.month, format.monthLeadingZero != 0, behind);
    if (part == DatePart::kDay) AppendTwoDigits(buffer, date.day, format.dayLeadingZero != 0, behind);
    if (part == DatePart::kYear) AppendYear(buffer, date.year, behind);
  }
}

MDbStatus DateTextToDayNumber(const MDbChar* text, const DateFormat& format, bool two_digit_base_1900,
                              int32_t* day_number) {
  DateRec date;
  ParseDateText(text, &date, format, two_digit_base_1900, false);
  if (date.status >= MDbDateBlank) return MDbStatusBadDateText;
  DateToDayNumber(date, day_number);
  return MDbStatusOk;
}

int CompareDateText(const MDbChar* a, const MDbChar* b, const DateFormat& format, bool two_digit_base_1900) {
  if (a[0] == 0 || b[0] == 0) return (a[0] != 0) - (b[0] != 0);
  int32_t day_a = 0;
  int32_t day_b = 0;
  const bool a_is_date = DateTextToDayNumber(a, format, two_digit_base_1900, &day_a) == MDbStatusOk;
  const bool b_is_date = DateTextToDayNumber(b, format, two_digit_base_1900, &day_b) == MDbStatusOk;
  if (a_is_date != b_is_date) return a_is_date ? 1 : -1;
  if (a_is_date) return Sign(day_a - day_b);
  const int folded = _wcsicmp(a, b);
  return Sign(folded != 0 ? folded : wcscmp(a, b));
}

int32_t CountSeparatorChar(const MDbChar* text) {
  TextCursor cursor = {text, 0};
  while (iswctype(CurrentChar(cursor), kWideDigit) != 0) ++cursor.index;
  const MDbChar candidate = CurrentChar(cursor);
  int32_t count = 0;
  for (; !AtEnd(cursor); ++cursor.index) count += CurrentChar(cursor) == candidate ? 1 : 0;
  return count;
}

}  // namespace mdb
