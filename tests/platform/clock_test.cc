#include "clock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <ctime>

namespace {

std::chrono::sys_days DayOf(const SYSTEMTIME& time) {
  return std::chrono::year(time.wYear) / std::chrono::month(time.wMonth) / std::chrono::day(time.wDay);
}

time_t SecondsOf(const SYSTEMTIME& time) {
  const auto since_day = std::chrono::hours(time.wHour) + std::chrono::minutes(time.wMinute);
  return std::chrono::system_clock::to_time_t(DayOf(time) + since_day + std::chrono::seconds(time.wSecond));
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
  EXPECT_EQ(now.wDayOfWeek, std::chrono::weekday(DayOf(now)).c_encoding());
}

}  // namespace
