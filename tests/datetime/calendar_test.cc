// Day numbers at the joints of the calendar; the numbers are typed by hand.
#include "calendar.h"

#include <gtest/gtest.h>

#include "datetime_samples.h"

namespace mdb {
namespace {

DateRec Day(int year, int month, int day) {
  return {static_cast<int16_t>(month), static_cast<int16_t>(day), static_cast<int16_t>(year), MDbDateValid, 1, 0};
}

const struct {
  const char* why;
  int year, month, day;
  int32_t number;
} kDays[] = {
    {"the first day", 1, 1, 1, 1},
    {"the end of the first year", 1, 12, 31, 365},
    {"the first leap day", 4, 2, 29, 1155},
    {"the end of the first leap year", 4, 12, 31, 1461},
    {"the end of a century without leap day", 100, 12, 31, 36524},
    {"the leap day of a fourth century", 400, 2, 29, 145791},
    {"the end of 400 years", 400, 12, 31, 146097},
    {"the day after", 401, 1, 1, 146098},
    {"28 February of a century", 1900, 2, 28, 693654},
    {"1 March of a century", 1900, 3, 1, 693655},
    {"the first day of 1970", 1970, 1, 1, 719163},
    {"29 February 2000", 2000, 2, 29, 730179},
    {"1 March 2000", 2000, 3, 1, 730180},
    {"the last day of 2000", 2000, 12, 31, 730485},
    {"the last day", 3000, 12, 31, 1095727},
};

TEST(DateToDayNumber, CountsFrom1JanuaryOfYear1) {
  for (const auto& row : kDays) {
    int32_t number = 0;
    DateToDayNumber(Day(row.year, row.month, row.day), &number);
    EXPECT_EQ(number, row.number) << row.why;
  }
}

TEST(DayNumberToDate, LeadsBackToTheDate) {
  for (const auto& row : kDays) {
    DateRec date;
    DayNumberToDate(row.number, &date);
    EXPECT_EQ(Describe(date), Describe(Day(row.year, row.month, row.day))) << row.why;
  }
}

TEST(DayNumberToDate, DayNumber1Is1JanuaryOfYear1) {
  DateRec date;
  DayNumberToDate(1, &date);
  EXPECT_EQ(Describe(date), Describe(Day(1, 1, 1)));
}

TEST(DayNumberToDate, FirstOfMarch2000FollowsTheLeapDay) {
  int32_t leap_day = 0;
  DateToDayNumber(Day(2000, 2, 29), &leap_day);
  DateRec next;
  DayNumberToDate(leap_day + 1, &next);
  EXPECT_EQ(Describe(next), Describe(Day(2000, 3, 1)));
}

TEST(DayNumberToDate, DayNumber0IsInvalid) {
  DateRec date;
  DayNumberToDate(0, &date);
  EXPECT_EQ(Describe(date), Describe(DateRec{0, 0, 0, MDbDateInvalid, 1, 0}));
}

TEST(DayNumberToDate, NumbersOutsideYears1To3000AreInvalid) {
  for (const int32_t number : {INT32_MIN, -146097, -1, 1095728, 1096093, INT32_MAX}) {
    DateRec date = {7, 7, 7, 7, 7, 7};
    DayNumberToDate(number, &date);
    EXPECT_EQ(Describe(date), Describe(DateRec{0, 0, 0, MDbDateInvalid, 1, 0})) << number;
  }
}

TEST(DateToDayNumber, ADayThatAMonthDoesNotHaveCountsIntoTheNext) {
  int32_t number = 0;
  int32_t first_of_may = 0;
  DateToDayNumber(Day(2024, 4, 31), &number);
  DateToDayNumber(Day(2024, 5, 1), &first_of_may);
  EXPECT_EQ(number, first_of_may);
}

TEST(DateToDayNumber, AnyRecordGivesANumber) {
  int32_t number = 0;
  DateToDayNumber(DateRec{INT16_MIN, INT16_MIN, INT16_MIN, MDbDateInvalid, 0, 0}, &number);
  EXPECT_EQ(number, -32769 * 365 - 8192 + 327 - 81 - 32768)
      << "quotients are cut off toward zero; no such month: 0 days";
  DateToDayNumber(DateRec{INT16_MAX, INT16_MAX, INT16_MAX, MDbDateInvalid, 0, 0}, &number);
  EXPECT_EQ(number, 32766 * 365 + 8191 - 327 + 81 + 32767);
  DateToDayNumber(DateRec{0, 0, 0, MDbDateZero, 0, 0}, &number);
  EXPECT_EQ(number, -365);
}

TEST(DaysBeforeMonth, MonthsCountFrom0) {
  const int32_t kDaysBefore[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
  for (int32_t m = 0; m < 12; ++m) {
    EXPECT_EQ(DaysBeforeMonth(m), kDaysBefore[m]) << m;
    EXPECT_EQ(DaysBeforeMonthLeap(m), kDaysBefore[m] + (m >= 2 ? 1 : 0)) << m;
  }
}

TEST(DaysBeforeMonth, NoSuchMonthIs0) {
  for (const int32_t m : {-1, 12, 13, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(DaysBeforeMonth(m), 0) << m;
    EXPECT_EQ(DaysBeforeMonthLeap(m), 0) << m;
  }
}

}  // namespace
}  // namespace mdb
