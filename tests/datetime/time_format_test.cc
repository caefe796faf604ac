// Writing times.
#include <gtest/gtest.h>

#include "datetime_samples.h"
#include "time_text.h"

namespace mdb {
namespace {

std::u16string Format(const TimeRec& time, const TimeFormat& format = TimeFormatOf()) {
  TextBuffer buffer(20);
  FormatTime(time, buffer, format);
  return buffer.Text();
}

TimeFormat Clock(bool twelve_hour, bool leading_zero) {
  TimeFormat format = TimeFormatOf();
  format.twelveHour = twelve_hour;
  format.hourLeadingZero = leading_zero;
  return format;
}

TEST(FormatTime, SixtySecondsArePrintedAsSixty) {
  EXPECT_EQ(Format({0, 0, 60, MDbTimePlain, 2}), u"0:00:60");
  EXPECT_EQ(Format({0, 60, 0, MDbTimePlain, 1}), u"0:60") << "minutes, too";
}

TEST(FormatTime, OnlyWhatIsAboveSixtyCarries) {
  const struct {
    const char* why;
    TimeRec time;
    const char16_t* text;
  } kTimes[] = {
      {"61 seconds", {0, 0, 61, 0, 2}, u"0:01:01"},
      {"120 seconds", {0, 0, 120, 0, 2}, u"0:02:00"},
      {"61 minutes", {0, 61, 0, 0, 2}, u"1:01:00"},
      {"a carry that makes sixty minutes", {0, 59, 61, 0, 2}, u"0:60:01"},
      {"a carry that goes on", {0, 60, 61, 0, 2}, u"1:01:01"},
      {"minutes and seconds that are not shown carry all the same", {0, 60, 61, 0, 0}, u"1"},
      {"negative", {0, 0, -61, 0, 2}, u"-0:01:01"},
      {"the largest", {INT16_MAX, INT16_MAX, INT16_MAX, 0, 2}, u"33322:13:07"},
      {"the smallest", {INT16_MIN, INT16_MIN, INT16_MIN, 0, 2}, u"-33323:14:08"},
  };
  for (const auto& row : kTimes) EXPECT_EQ(Format(row.time), row.text) << row.why;
}

TEST(FormatTime, APlainTimeIsANumberOfHours) {
  const struct {
    const char* why;
    TimeRec time;
    const char16_t* text;
  } kTimes[] = {
      {"hours", {7, 5, 9, 0, 0}, u"7"},
      {"and minutes", {7, 5, 9, 0, 1}, u"7:05"},
      {"and seconds", {7, 5, 9, 0, 2}, u"7:05:09"},
      {"beyond a day", {100, 0, 0, 0, 1}, u"100:00"},
      {"negative", {-1, -30, 0, 0, 1}, u"-1:30"},
      {"negative by its minutes", {0, -30, 0, 0, 1}, u"-0:30"},
      {"negative by its seconds", {0, 0, -5, 0, 2}, u"-0:00:05"},
      {"any other count below is none", {7, 5, 9, 0, -1}, u"7"},
      {"any other count above is two", {7, 5, 9, 0, 3}, u"7:05:09"},
  };
  for (const auto& row : kTimes) {
    EXPECT_EQ(Format(row.time), row.text) << row.why;
    EXPECT_EQ(Format(row.time, Clock(true, true)), row.text) << row.why << "; the clock settings do not matter";
  }
}

TEST(FormatTime, ATwelveHourClockShowsTwelveForMidnightAndNoon) {
  const struct {
    int16_t hours;
    const char16_t* text;
    const char16_t* with_zero;
  } kHours[] = {
      {0, u"12:05AM", u"12:05AM"},  {1, u"1:05AM", u"01:05AM"},   {9, u"9:05AM", u"09:05AM"},
      {10, u"10:05AM", u"10:05AM"}, {11, u"11:05AM", u"11:05AM"}, {12, u"12:05PM", u"12:05PM"},
      {13, u"1:05PM", u"01:05PM"},  {23, u"11:05PM", u"11:05PM"}, {24, u"12:05PM", u"12:05PM"},
      {25, u"13:05PM", u"13:05PM"},
  };
  for (const auto& row : kHours) {
    for (const int32_t state : {MDbTimeTwelveHour, MDbTimeTwentyFourHour}) {
      EXPECT_EQ(Format({row.hours, 5, 0, state, 1}, Clock(true, false)), row.text) << row.hours;
      EXPECT_EQ(Format({row.hours, 5, 0, state, 1}, Clock(true, true)), row.with_zero) << row.hours;
    }
  }
}

TEST(FormatTime, ATwentyFourHourClockShowsTheHoursAndItsSuffix) {
  for (const int32_t state : {MDbTimeTwelveHour, MDbTimeTwentyFourHour}) {
    EXPECT_EQ(Format({7, 5, 9, state, 2}, Clock(false, false)), u"7:05:09h");
    EXPECT_EQ(Format({7, 5, 9, state, 2}, Clock(false, true)), u"07:05:09h");
    EXPECT_EQ(Format({0, 0, 0, state, 0}, Clock(false, true)), u"00h");
    EXPECT_EQ(Format({19, 5, 0, state, 1}, Clock(false, true)), u"19:05h");
  }
}

TEST(FormatTime, ATimeOfDayShowsNoSign) {
  EXPECT_EQ(Format({-7, -5, 0, MDbTimeTwelveHour, 1}, Clock(true, false)), u"7:05AM");
  EXPECT_EQ(Format({-7, -5, 0, MDbTimeTwentyFourHour, 1}, Clock(false, false)), u"7:05h");
}

TEST(FormatTime, ACarryCountsBeforeTheClockIsRead) {
  EXPECT_EQ(Format({11, 61, 0, MDbTimeTwelveHour, 1}, Clock(true, false)), u"12:01PM");
  EXPECT_EQ(Format({9, 61, 0, MDbTimeTwentyFourHour, 1}, Clock(false, true)), u"10:01h");
}

TEST(FormatTime, SuffixesAreAppendedAsTheyAreStored) {
  TimeFormat format = TimeFormatOf(u" a.m.", u"\u5348\u5F8C", u"", u'.');
  EXPECT_EQ(Format({19, 5, 0, MDbTimeTwentyFourHour, 1}, format), u"19.05");
  format.twelveHour = 1;
  EXPECT_EQ(Format({7, 5, 0, MDbTimeTwelveHour, 1}, format), u"7.05 a.m.");
  EXPECT_EQ(Format({19, 5, 0, MDbTimeTwelveHour, 1}, format), u"7.05\u5348\u5F8C");
}

TEST(FormatTime, ASeparatorOf0IsLeftOut) {
  EXPECT_EQ(Format({7, 5, 9, MDbTimePlain, 2}, TimeFormatOf(u"AM", u"PM", u"h", 0)), u"70509");
}

TEST(FormatTime, AnEmptyTimeIsNoTextAndAnInvalidOneAQuestionMark) {
  TextBuffer one(1);
  FormatTime({-32767, 0, 0, MDbTimeEmpty, 2}, one, TimeFormatOf());
  EXPECT_EQ(one.Text(), u"");
  TextBuffer two(2);
  FormatTime({-32767, 0, 0, MDbTimeInvalid, 2}, two, TimeFormatOf());
  EXPECT_EQ(two.Text(), u"?");
}

TEST(FormatTime, AnyOtherStateLeavesTheBuffer) {
  for (const int32_t state : {-1, 5, INT32_MIN, INT32_MAX}) {
    TextBuffer buffer(1);
    FormatTime({7, 5, 9, state, 2}, buffer, TimeFormatOf());
    EXPECT_EQ(buffer.Unit(0), u'#') << state;
  }
}

// No text gives such a record. It is written by the same steps: one negative number turns the sign of all three.
TEST(FormatTime, NumbersOfDifferentSignNeedNoMoreThan20Units) {
  EXPECT_EQ(Format({1, -30, 0, MDbTimePlain, 0}), u"--1");
  for (const int16_t hours : std::initializer_list<int16_t>{INT16_MIN, int16_t{-7}, int16_t{7}, INT16_MAX}) {
    for (const int16_t minutes : std::initializer_list<int16_t>{INT16_MIN, int16_t{-480}, int16_t{30}, INT16_MAX}) {
      for (const int32_t state : {MDbTimePlain, MDbTimeTwelveHour}) {
        TextBuffer buffer(20);
        TimeFormat format = TimeFormatOf(u"before", u"dinner", u"oclock");
        format.hourLeadingZero = 1;
        FormatTime({hours, minutes, int16_t{-1}, state, 2}, buffer, format);
        EXPECT_LE(buffer.Text().size(), 19u) << hours << " " << minutes;
      }
    }
  }
}

}  // namespace
}  // namespace mdb
