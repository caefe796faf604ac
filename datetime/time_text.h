// Time texts: from text to time record and back under a database's time format, seconds, and their order.
//
// A time is hours with or without minutes and seconds. Without a suffix it is a plain number of hours, which may be
// negative or beyond a day; with one it is a time of day.
#pragma once

#include "mdb_types.h"

namespace mdb {

// Units of each of the three buffers that receive the digits typed for hours, minutes and seconds.
inline constexpr int32_t kTimeDigitsRoom = 256;

// Reads a time. From MDbTimeEmpty on, the record holds hours -32767, minutes and seconds 0, components 2.
// strict     refuses what needs a carry (1:75), a negative time, hours alone and hours of 24 or more
// normalize  stores 1:75 as 2:15 and 7 PM as 19; else the numbers as typed, cut off at 32767, which a carry may exceed
// digits     null or three buffers of 256 units in a row, at most 255 digits each; one whose number is not read stays
// as
//            it was
void ParseTime(const MDbChar* text, TimeRec* time, const TimeFormat& format, bool strict, bool normalize,
               uint16_t* digits);

// Writes at most 20 units, terminator included. A record whose state is none of TimeState leaves the buffer as it was.
void FormatTime(const TimeRec& time, MDbChar* buffer, const TimeFormat& format);

// Negative when any of the three numbers is.
void TimeToSeconds(const TimeRec& time, int32_t* seconds);

// MDbStatusBadTimeText, and *seconds as they were, when the text is no time.
MDbStatus ParseTimeToSeconds(const MDbChar* text, const TimeFormat& format, int32_t* seconds);

// Negative, 0 or positive: empty texts first, then texts that are no times in text order, then times.
int16_t CompareTimeText(const MDbChar* a, const MDbChar* b, const TimeFormat& format);

}  // namespace mdb
