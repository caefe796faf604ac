#include "clock.h"

#include <gtest/gtest.h>

#include <ctime>

namespace {

time_t SecondsOf(const SYSTEMTIME& time) {
  tm parts{};
  parts.tm_year = time.wYear - 1900;
  parts.tm_mon = time.wMonth - 1;
  parts.tm_mday = time.wDay;
  parts.tm_hour = time.wHour;
  parts.tm_min = time.wMinute;
  parts.tm_sec = time.wSecond;
  return timegm(&parts);
}

TEST(Clock, TheTimeLiesBetweenTwoReadingsOfTheSystemsClockInUtc) {
  const time_t before = time(nullptr);
  SYSTEMTIME now;
  GetSystemTime(&now);
  const time_t after = time(nullptr);
  // The seconds clock may lag the fine one by a tick.
  EXPECT_GE(SecondsOf(now), before);
  EXPECT_LE(SecondsOf(now), after + 1);
  EXPECT_LE(now.wMilliseconds, 999);
}

TEST(Clock, TheDayOfTheWeekBelongsToTheDate) {
  SYSTEMTIME now;
  GetSystemTime(&now);
  const time_t seconds = SecondsOf(now);
  tm parts;
  ASSERT_NE(gmtime_r(&seconds, &parts), nullptr);
  EXPECT_EQ(now.wDayOfWeek, parts.tm_wday);
}

}  // namespace
