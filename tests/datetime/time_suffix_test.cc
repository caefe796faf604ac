// The suffixes behind a time: which is tried first, what a stored suffix accepts, how far it is read.
#include "time_suffix.h"

#include <gtest/gtest.h>

#include "datetime_samples.h"
#include "time_text.h"

namespace mdb {
namespace {

struct SuffixRow {
  const char* why;
  const char16_t* text;
  int32_t state;
  int16_t hours;
};

void ExpectRows(const TimeFormat& format, std::initializer_list<SuffixRow> rows) {
  for (const SuffixRow& row : rows) {
    TimeRec time;
    ParseTime(ExactText(row.text), &time, format, false, true, nullptr);
    EXPECT_EQ(time.state, row.state) << row.why << ": " << Describe(std::u16string(row.text));
    EXPECT_EQ(time.hours, row.hours) << row.why;
  }
}

constexpr int16_t kNoHours = -32767;

TEST(TimeSuffix, EachSuffixIsTakenInAnyCaseWithOrWithoutASpace) {
  ExpectRows(TimeFormatOf(), {{"morning", u"7AM", MDbTimeTwelveHour, 7},
                              {"afternoon", u"7PM", MDbTimeTwelveHour, 19},
                              {"24-hour", u"7h", MDbTimeTwentyFourHour, 7},
                              {"lower case", u"7 pm", MDbTimeTwelveHour, 19},
                              {"mixed case", u"7   aM", MDbTimeTwelveHour, 7},
                              {"upper case of a lower one", u"7 H", MDbTimeTwentyFourHour, 7}});
}

TEST(TimeSuffix, WhatIsNoSuffixIsInvalid) {
  ExpectRows(TimeFormatOf(), {{"the beginning of one", u"7 P", MDbTimeInvalid, kNoHours},
                              {"more than one", u"7 PMx", MDbTimeInvalid, kNoHours},
                              {"a space behind", u"7 PM ", MDbTimeInvalid, kNoHours},
                              {"two", u"7 PM PM", MDbTimeInvalid, kNoHours},
                              {"letters", u"7 x", MDbTimeInvalid, kNoHours}});
}

TEST(TimeSuffix, AStoredLeadingSpaceLeavesRoomForOneMore) {
  ExpectRows(TimeFormatOf(u"  AM", u" PM", u"h"), {{"the suffix", u"7 pm", MDbTimeTwelveHour, 19},
                                                   {"one more", u"7 PMx", MDbTimeTwelveHour, 19},
                                                   {"one more space", u"7 PM ", MDbTimeTwelveHour, 19},
                                                   {"two more", u"7 PMxy", MDbTimeInvalid, kNoHours},
                                                   {"two stored spaces, two more", u"7 AMxy", MDbTimeTwelveHour, 7},
                                                   {"three more", u"7 AMxyz", MDbTimeInvalid, kNoHours},
                                                   {"one less", u"7 p", MDbTimeInvalid, kNoHours}});
}

TEST(TimeSuffix, AStoredTrailingOrInnerSpaceIsPartOfTheSuffix) {
  ExpectRows(TimeFormatOf(u"a m", u"PM ", u"h"), {{"inner, typed", u"7 A M", MDbTimeTwelveHour, 7},
                                                  {"inner, not typed", u"7 AM", MDbTimeInvalid, kNoHours},
                                                  {"trailing, typed", u"7 PM ", MDbTimeTwelveHour, 19},
                                                  {"trailing, not typed", u"7 PM", MDbTimeInvalid, kNoHours}});
}

TEST(TimeSuffix, AStoredSuffixOfSpacesTakesAnythingThatIsNoLonger) {
  ExpectRows(TimeFormatOf(u"AM", u"PM", u"  "), {{"one character", u"7x", MDbTimeTwentyFourHour, 7},
                                                 {"two, before any other suffix", u"7 PM", MDbTimeTwentyFourHour, 7},
                                                 {"three", u"7xyz", MDbTimeInvalid, kNoHours},
                                                 {"none", u"7", MDbTimePlain, 7}});
}

TEST(TimeSuffix, AnEmptyStoredSuffixTakesNothing) {
  ExpectRows(TimeFormatOf(u"", u"", u""), {{"none", u"7", MDbTimePlain, 7},
                                           {"spaces only", u"7  ", MDbTimePlain, 7},
                                           {"something", u"7 AM", MDbTimeInvalid, kNoHours}});
}

TEST(TimeSuffix, The24HourSuffixIsTriedFirstAndTheMorningOneLast) {
  ExpectRows(TimeFormatOf(u"x", u"x", u"x"), {{"all the same", u"7 x", MDbTimeTwentyFourHour, 7}});
  ExpectRows(TimeFormatOf(u"x", u"x", u"h"), {{"morning and afternoon the same", u"7 x", MDbTimeTwelveHour, 19}});
}

TEST(TimeSuffix, AStoredSuffixWithoutTerminatorEndsAfterSixUnits) {
  const TimeFormat format = TimeFormatOf(u"before", u"dinner", u"oclock");
  ExpectRows(format, {{"morning", u"7 Before", MDbTimeTwelveHour, 7},
                      {"afternoon", u"7 dinner", MDbTimeTwelveHour, 19},
                      {"24-hour", u"7 OCLOCK", MDbTimeTwentyFourHour, 7},
                      {"two run together", u"7 beforedinner", MDbTimeInvalid, kNoHours}});
  TextBuffer buffer(7);
  buffer[0] = 0;
  AppendTimeSuffix(buffer, TimeSuffix::kMorning, format);
  EXPECT_EQ(buffer.Text(), u"before");
}

TEST(TimeSuffix, SuffixesBeyondAsciiFoldCase) {
  ExpectRows(TimeFormatOf(u"\u00C9AM", u"\u041F\u041C", u"\u6642"),
             {{"e acute", u"7 \u00E9am", MDbTimeTwelveHour, 7},
              {"cyrillic", u"7 \u043F\u043C", MDbTimeTwelveHour, 19},
              {"a character without case", u"7\u6642", MDbTimeTwentyFourHour, 7}});
}

TEST(TimeSuffix, ADigitCannotBeginASuffixThatIsTyped) {
  ExpectRows(TimeFormatOf(u"1A", u"PM", u"h"), {{"it belongs to the hours", u"71A", MDbTimeInvalid, kNoHours},
                                                {"unless a space stands between", u"7 1A", MDbTimeTwelveHour, 7}});
}

}  // namespace
}  // namespace mdb
