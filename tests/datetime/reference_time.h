// A second reading of the time rules, for comparison with the first: texts by one regular expression, values by whole
// seconds. It shares the public records with the library and nothing else.
#pragma once

#include <array>
#include <string>

#include "mdb_types.h"

namespace reference {

struct ParsedTime {
  TimeRec time;
  // The digits typed for hours, minutes and seconds, at most 255 of each; empty for what was not read.
  std::array<std::u16string, 3> digits;
};

ParsedTime ParseTime(const std::u16string& text, const TimeFormat& format, bool strict, bool normalize);

// The three numbers must not differ in sign.
std::u16string FormatTime(const TimeRec& time, const TimeFormat& format);

int CompareTimes(const std::u16string& a, const std::u16string& b, const TimeFormat& format);

}  // namespace reference
