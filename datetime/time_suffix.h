// The suffixes of a database's time format: the morning, afternoon and 24-hour texts behind a time.
#pragma once

#include "mdb_types.h"

namespace mdb {

enum class TimeSuffix : uint8_t { kNone, kTwentyFourHour, kAfternoon, kMorning };

// The suffix that a rest of text, not empty, stands for; kNone when it is none of them.
//
// The rest may be as long as the stored suffix, but needs to begin only with what the suffix is without its leading
// spaces, in any case. So under a stored " PM" both pm and PMx are taken: what users type after the suffix has always
// been forgiven as far as the spaces before it leave room. Pinned by
// TimeSuffix.AStoredLeadingSpaceLeavesRoomForOneMore.
TimeSuffix MatchTimeSuffix(const MDbChar* rest, const TimeFormat& format);

// Appends the stored text of a suffix, leading spaces included, to a terminated text.
void AppendTimeSuffix(MDbChar* buffer, TimeSuffix suffix, const TimeFormat& format);

}  // namespace mdb
