// Day numbers by counting the days of whole years, and back by dividing into spans of 400, 100, 4 and 1 years.
#include "calendar.h"

namespace mdb {
namespace {

constexpr int32_t kDaysOf400Years = 146097;
constexpr int32_t kDaysOf100Years = 36524;
constexpr int32_t kDaysOf4Years = 1461;
constexpr int32_t kDaysOfYear = 365;

bool IsLeapYear(int32_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

// Takes whole spans off *days, at most limit of them: the last span of a longer one may have a day more than the
// others.
int32_t TakeSpans(int32_t* days, int32_t span, int32_t limit) {
  const int32_t whole = *days / span;
  const int32_t taken = whole < limit ? whole : limit;
  *days -= taken * span;
  return taken;
}

int32_t MonthOfYearDay(int32_t day_of_year, int32_t (*days_before)(int32_t)) {
  constexpr int32_t kShortestMonth = 28;
  int32_t month = day_of_year / kShortestMonth + 1;  // or one before
  if (month > 12) month = 12;
  while (day_of_year <= days_before(month - 1)) --month;
  return month;
}

}  // namespace

int32_t DaysBeforeMonth(int32_t m) {
  constexpr int16_t kDays[12] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
  return m >= 0 && m < 12 ? kDays[m] : 0;
}

int32_t DaysBeforeMonthLeap(int32_t m) { return m >= 2 && m < 12 ? DaysBeforeMonth(m) + 1 : DaysBeforeMonth(m); }

void DateToDayNumber(const DateRec& date, int32_t* day_number) {
  const int32_t whole_years = date.year - 1;
  const int32_t leap_day = date.month >= 3 && IsLeapYear(date.year) ? 1 : 0;
  *day_number = whole_years * kDaysOfYear + whole_years / 4 - whole_years / 100 + whole_years / 400 +
                DaysBeforeMonth(date.month - 1) + date.day + leap_day;
}

void DayNumberToDate(int32_t day_number, DateRec* date) {
  *date = {0, 0, 0, MDbDateInvalid, 1, 0};
  if (day_number <= 0) return;
  int32_t days = day_number - 1;
  int32_t year = 400 * TakeSpans(&days, kDaysOf400Years, INT32_MAX);
  year += 100 * TakeSpans(&days, kDaysOf100Years, 3);
  year += 4 * TakeSpans(&days, kDaysOf4Years, 24);
  year += TakeSpans(&days, kDaysOfYear, 3) + 1;
  if (year > kLastYear) return;
  const auto days_before = IsLeapYear(year) ? DaysBeforeMonthLeap : DaysBeforeMonth;
  const int32_t month = MonthOfYearDay(days + 1, days_before);
  date->month = static_cast<int16_t>(month);
  date->day = static_cast<int16_t>(days + 1 - days_before(month - 1));
  date->year = static_cast<int16_t>(year);
  date->status = MDbDateValid;
}

}  // namespace mdb
