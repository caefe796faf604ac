// A stored suffix has six units and may fill them all without a terminator; no more than six are ever read.
#include "time_suffix.h"

#include "wide_text.h"

namespace mdb {
namespace {

constexpr int32_t kSuffixUnits = 6;

// The order in which a text is tried against them.
constexpr TimeSuffix kTried[] = {TimeSuffix::kTwentyFourHour, TimeSuffix::kAfternoon, TimeSuffix::kMorning};

struct SuffixText {
  MDbChar units[kSuffixUnits + 1];
  int32_t length;
};

// The format lies unaligned in the stored settings, so its texts are read through it, unit by unit, and never pointed
// to.
MDbChar StoredUnit(TimeSuffix suffix, const TimeFormat& format, int32_t i) {
  switch (suffix) {
    case TimeSuffix::kTwentyFourHour:
      return format.twentyFourHourSuffix[i];
    case TimeSuffix::kAfternoon:
      return format.afternoonSuffix[i];
    case TimeSuffix::kMorning:
      return format.morningSuffix[i];
    case TimeSuffix::kNone:
      break;
  }
  return 0;
}

SuffixText LoadSuffix(TimeSuffix suffix, const TimeFormat& format) {
  SuffixText text = {};
  while (text.length < kSuffixUnits) {
    const MDbChar unit = StoredUnit(suffix, format, text.length);
    if (unit == 0) break;
    text.units[text.length++] = unit;
  }
  return text;
}

bool Matches(const MDbChar* rest, const SuffixText& stored) {
  int32_t spaces = 0;
  while (stored.units[spaces] == MDB_TEXT(' ')) ++spaces;
  const auto word_length = static_cast<size_t>(stored.length - spaces);
  return wcslen(rest) <= static_cast<size_t>(stored.length) && _wcsnicmp(rest, stored.units + spaces, word_length) == 0;
}

}  // namespace

TimeSuffix MatchTimeSuffix(const MDbChar* rest, const TimeFormat& format) {
  for (const TimeSuffix suffix : kTried) {
    if (Matches(rest, LoadSuffix(suffix, format))) return suffix;
  }
  return TimeSuffix::kNone;
}

void AppendTimeSuffix(MDbChar* buffer, TimeSuffix suffix, const TimeFormat& format) {
  wcscat(buffer, LoadSuffix(suffix, format).units);
}

}  // namespace mdb
