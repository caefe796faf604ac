// Date texts: from text to date record and back under a database's date format, and their order.
//
// A text holds two or three numbers with one and the same separator between them, any character that is no digit. The
// format says which number is the month, which the day and which the year; it does not restrict the separator.
#pragma once

#include "calendar.h"
#include "mdb_types.h"

namespace mdb {

// Reads a date. From MDbDateBlank on, month, day and year are 0; the separator and the four-digit flag tell what was
// met. two_digit_base_1900: a year of one or two digits is 1900 + it; else it falls into the century around the current
// year.
void ParseDateText(const MDbChar* text, DateRec* date, const DateFormat& format, bool two_digit_base_1900,
                   bool require_four_digit_year);

// Writes at most 11 units, terminator included. A record whose status is none of DateStatus leaves the buffer as it
// was.
void FormatDateText(const DateRec& date, MDbChar* buffer, const DateFormat& format);

// MDbStatusBadDateText, and *day_number as it was, when the text is no date.
MDbStatus DateTextToDayNumber(const MDbChar* text, const DateFormat& format, bool two_digit_base_1900,
                              int32_t* day_number);

// -1, 0 or 1: empty texts first, then texts that are no dates in text order, then dates.
int CompareDateText(const MDbChar* a, const MDbChar* b, const DateFormat& format, bool two_digit_base_1900);

// Always four digits: 0987 for 987.
void AppendYear(MDbChar* buffer, int32_t year, MDbChar separator);

// How often the first character that is no digit, be it a leading space, occurs in the text.
int32_t CountSeparatorChar(const MDbChar* text);

}  // namespace mdb
