// What the numbers of a time text become: carried or as typed, limits, hours of the day, seconds.
#include <gtest/gtest.h>

#include "datetime_samples.h"
#include "time_text.h"

namespace mdb {
namespace {

constexpr TimeRec kInvalid = {-32767, 0, 0, MDbTimeInvalid, 2};

TimeRec Parse(const std::u16string& text, bool normalize) {
  TimeRec time;
  ParseTime(ExactText(text), &time, TimeFormatOf(), false, normalize, nullptr);
  return time;
}

TEST(ParseTimeValues, NormalizedNumbersAreCarriedAndTypedOnesAreNot) {
  const struct {
    const char* why;
    const char16_t* text;
    TimeRec normalized, typed;
  } kTexts[] = {
      {"nothing to carry", u"1:59:59", {1, 59, 59, 0, 2}, {1, 59, 59, 0, 2}},
      {"60 seconds", u"1:00:60", {1, 1, 0, 0, 2}, {1, 0, 60, 0, 2}},
      {"60 minutes", u"1:60", {2, 0, 0, 0, 1}, {1, 60, 0, 0, 1}},
      {"seconds that carry twice", u"1:59:60", {2, 0, 0, 0, 2}, {1, 59, 60, 0, 2}},
      {"many seconds", u"0:0:3661", {1, 1, 1, 0, 2}, {0, 0, 3661, 0, 2}},
      {"negative", u"-1:75:75", {-2, -16, -15, 0, 2}, {-1, -75, -75, 0, 2}},
      {"afternoon", u"7 PM", {19, 0, 0, 1, 0}, {7, 0, 0, 1, 0}},
      {"midnight", u"12 AM", {0, 0, 0, 1, 0}, {12, 0, 0, 1, 0}},
      {"noon", u"12 PM", {12, 0, 0, 1, 0}, {12, 0, 0, 1, 0}},
      {"hour 0 in the afternoon", u"0 PM", {12, 0, 0, 1, 0}, {0, 0, 0, 1, 0}},
      {"hour 0 in the morning", u"0 AM", {0, 0, 0, 1, 0}, {0, 0, 0, 1, 0}},
      {"half past twelve at night", u"12:30 AM", {0, 30, 0, 1, 1}, {12, 30, 0, 1, 1}},
      {"a carry to noon", u"11:60 AM", {0, 0, 0, 1, 1}, {11, 60, 0, 1, 1}},
      {"a carry beyond twelve", u"12:60 PM", kInvalid, kInvalid},
      {"24-hour", u"23:59 h", {23, 59, 0, 2, 1}, {23, 59, 0, 2, 1}},
      {"24-hour, a carry to 24", u"23:60 h", kInvalid, kInvalid},
      {"24 hours by the 24-hour clock", u"24 h", kInvalid, kInvalid},
      {"24 plain hours", u"24", {24, 0, 0, 0, 0}, {24, 0, 0, 0, 0}},
      {"13 in the morning", u"13 AM", kInvalid, kInvalid},
  };
  for (const auto& row : kTexts) {
    EXPECT_EQ(Describe(Parse(row.text, true)), Describe(row.normalized)) << row.why << ", normalized";
    EXPECT_EQ(Describe(Parse(row.text, false)), Describe(row.typed)) << row.why << ", as typed";
  }
}

TEST(ParseTimeValues, HoursOf32767AreTooMany) {
  for (const bool normalize : {false, true}) {
    EXPECT_EQ(Describe(Parse(u"32766", normalize)), Describe(TimeRec{32766, 0, 0, 0, 0}));
    EXPECT_EQ(Describe(Parse(u"-32766:59:59", normalize)), Describe(TimeRec{-32766, -59, -59, 0, 2}));
    EXPECT_EQ(Describe(Parse(u"32767", normalize)), Describe(kInvalid));
    EXPECT_EQ(Describe(Parse(u"-32767", normalize)), Describe(kInvalid));
    EXPECT_EQ(Describe(Parse(u"32766:60", normalize)), Describe(kInvalid)) << "by a carry";
    EXPECT_EQ(Describe(Parse(u"65541", normalize)), Describe(kInvalid)) << "5 in 16 bits";
  }
}

TEST(ParseTimeValues, DigitsPast32BitsAreTooManyHours) {
  for (const char16_t* text : {u"2147483647", u"2147483648", u"4294967297", u"18446744073709551617", u"0:2147483648",
                               u"0:4294967297", u"0:0:2147483648", u"0:2147483647:2147483647", u"0:0:42949672960"}) {
    EXPECT_EQ(Describe(Parse(text, true)), Describe(kInvalid)) << Describe(std::u16string(text));
    EXPECT_EQ(Describe(Parse(text, false)), Describe(kInvalid)) << Describe(std::u16string(text));
  }
  EXPECT_EQ(Describe(Parse(u"00000000000000000007", true)), Describe(TimeRec{7, 0, 0, 0, 0})) << "zeros are not";
}

TEST(ParseTimeValues, TypedNumbersAreCutOffAt16Bits) {
  EXPECT_EQ(Describe(Parse(u"0:32767:32767", false)), Describe(TimeRec{0, 32767, 32767, 0, 2}));
  EXPECT_EQ(Describe(Parse(u"0:32768:99999", false)), Describe(TimeRec{0, 32767, 32767, 0, 2}));
  EXPECT_EQ(Describe(Parse(u"-0:65537:100000", false)), Describe(TimeRec{0, -32767, -32767, 0, 2}));
  EXPECT_EQ(Describe(Parse(u"0:65537:100000", true)), Describe(TimeRec{1120, 3, 40, 0, 2}))
      << "carried: nothing is lost";
}

TEST(TimeToSeconds, IsNegativeWhenAnyNumberIs) {
  const struct {
    TimeRec time;
    int32_t seconds;
  } kTimes[] = {
      {{0, 0, 0, 0, 2}, 0},
      {{1, 2, 3, 0, 2}, 3723},
      {{-1, -2, -3, 0, 2}, -3723},
      {{-1, 2, 3, 0, 2}, -3723},
      {{0, -1, 0, 0, 2}, -60},
      {{1, 0, -1, 0, 2}, -3601},
      {{INT16_MAX, INT16_MAX, INT16_MAX, 0, 2}, 119959987},
      {{INT16_MIN, INT16_MIN, INT16_MIN, 0, 2}, -119963648},
  };
  for (const auto& row : kTimes) {
    int32_t seconds = 7;
    TimeToSeconds(row.time, &seconds);
    EXPECT_EQ(seconds, row.seconds) << Describe(row.time);
  }
}

TEST(ParseTimeToSeconds, ATimeGivesItsSeconds) {
  const struct {
    const char16_t* text;
    int32_t seconds;
  } kTexts[] = {{u"1:75", 8100}, {u"7:05 PM", 68700},         {u"12 AM", 0}, {u"-1:30", -5400},
                {u"0:0:90", 90}, {u"32766:59:59", 117961199}, {u"24", 86400}};
  for (const auto& row : kTexts) {
    int32_t seconds = 7;
    EXPECT_EQ(ParseTimeToSeconds(ExactText(row.text), TimeFormatOf(), &seconds), MDbStatusOk);
    EXPECT_EQ(seconds, row.seconds) << Describe(std::u16string(row.text));
  }
}

TEST(ParseTimeToSeconds, EmptyAndInvalidTextsGiveNone) {
  for (const char16_t* text : {u"", u"  ", u"-", u"x", u"13 PM", u"32767"}) {
    int32_t seconds = 7;
    EXPECT_EQ(ParseTimeToSeconds(ExactText(text), TimeFormatOf(), &seconds), MDbStatusBadTimeText);
    EXPECT_EQ(seconds, 7) << Describe(std::u16string(text));
  }
}

}  // namespace
}  // namespace mdb
