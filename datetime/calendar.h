// The proleptic Gregorian calendar as a serial number of days: 1 is 1 January of year 1. Sorting and comparing dates
// goes by that number; years 1 to 3000 have one that leads back to the date.
#pragma once

#include "mdb_types.h"

namespace mdb {

// The last year that a date may have.
inline constexpr int32_t kLastYear = 3000;

// Days of a year before month m, counted from 0 (January) to 11; 0 for any other m. The leap form counts a 29 February.
int32_t DaysBeforeMonth(int32_t m);
int32_t DaysBeforeMonthLeap(int32_t m);

// Any month, day and year give a number, only those of a real date a meaningful one: 31 April counts as 1 May.
void DateToDayNumber(const DateRec& date, int32_t* day_number);

// Fills the whole record: four-digit year 1, separator 0. A number outside the years 1 to 3000 gives MDbDateInvalid.
void DayNumberToDate(int32_t day_number, DateRec* date);

}  // namespace mdb
