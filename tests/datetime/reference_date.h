// A second reading of the date rules, for comparison with the first: texts by regular expressions over the whole text,
// days by the calendar of <chrono>. It shares the public records with the library and nothing else. The current year is
// an argument, no clock is read.
#pragma once

#include <string>

#include "mdb_types.h"

namespace reference {

DateRec ParseDate(const std::u16string& text, const DateFormat& format, bool two_digit_base_1900,
                  bool require_four_digit_year, int current_year);
std::u16string FormatDate(const DateRec& date, const DateFormat& format);

// 1 for 1 January of year 1. The date must exist.
int DayNumber(int year, int month, int day);
DateRec DateOfDayNumber(int day_number);

int CompareDates(const std::u16string& a, const std::u16string& b, const DateFormat& format, bool two_digit_base_1900,
                 int current_year);

}  // namespace reference
