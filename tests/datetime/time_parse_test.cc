// Reading time texts: numbers, sign, separators, spaces, flags, digits typed. Suffixes have tests of their own.
#include <gtest/gtest.h>

#include <vector>

#include "datetime_samples.h"
#include "time_text.h"

namespace mdb {
namespace {

struct TimeRow {
  const char* why;
  const char16_t* text;
  TimeRec expected;  // hours, minutes, seconds, state, components
};

constexpr TimeRec kEmpty = {-32767, 0, 0, MDbTimeEmpty, 2};
constexpr TimeRec kInvalid = {-32767, 0, 0, MDbTimeInvalid, 2};

TimeRec Parse(const std::u16string& text, bool strict = false, bool normalize = true,
              const TimeFormat& format = TimeFormatOf()) {
  TimeRec time = {77, 77, 77, 77, 77};
  ParseTime(ExactText(text), &time, format, strict, normalize, nullptr);
  return time;
}

template <std::size_t count>
void ExpectRows(const TimeRow (&rows)[count], bool strict = false, bool normalize = true,
                const TimeFormat& format = TimeFormatOf()) {
  for (const auto& row : rows) {
    EXPECT_EQ(Describe(Parse(row.text, strict, normalize, format)), Describe(row.expected))
        << row.why << ": " << Describe(std::u16string(row.text));
  }
}

TEST(ParseTime, AnAfternoonTimeOfHoursAndMinutes) {
  ExpectRows({{"7:05 PM", u"7:05 PM", {19, 5, 0, MDbTimeTwelveHour, 1}}});
}

TEST(ParseTime, TwelveInTheMorningIs0AndThirteenInTheAfternoonIsInvalid) {
  ExpectRows({{"12 AM", u"12 AM", {0, 0, 0, MDbTimeTwelveHour, 0}}, {"13 PM", u"13 PM", kInvalid}});
}

TEST(ParseTime, MinutesBeyondAnHourCarryUnlessStrict) {
  ExpectRows({{"normalized", u"1:75", {2, 15, 0, MDbTimePlain, 1}}});
  ExpectRows({{"strict", u"1:75", kInvalid}}, true);
}

TEST(ParseTime, ANegativeTimeIsNegativeInEveryPartAndTakesNoSuffix) {
  ExpectRows({{"-1:30", u"-1:30", {-1, -30, 0, MDbTimePlain, 1}},
              {"-1:30 PM", u"-1:30 PM", kInvalid},
              {"in the morning", u"-1:30 AM", kInvalid},
              {"by the 24-hour clock", u"-1:30 h", kInvalid},
              {"all three", u"-1:02:03", {-1, -2, -3, MDbTimePlain, 2}},
              {"spaces around the sign", u" -  5 ", {-5, 0, 0, MDbTimePlain, 0}},
              {"a negative zero", u"-0:00", {0, 0, 0, MDbTimePlain, 1}},
              {"two signs", u"--5", kInvalid},
              {"a sign behind", u"5-", kInvalid},
              {"a plus", u"+5", kInvalid}});
}

TEST(ParseTime, ATextThatSaysNothingIsEmpty) {
  ExpectRows({{"the empty text", u"", kEmpty},
              {"spaces only", u"   ", kEmpty},
              {"a lone minus", u"-", kEmpty},
              {"a lone minus among spaces", u"  -  ", kEmpty}});
  ExpectRows({{"strict, too", u"", kEmpty}, {"spaces, strict", u"   ", kEmpty}, {"a lone minus, strict", u"-", kEmpty}},
             true);
}

TEST(ParseTime, ATextWithoutHoursIsInvalid) {
  ExpectRows({{"letters", u"x", kInvalid},
              {"a separator first", u":30", kInvalid},
              {"a suffix alone", u"PM", kInvalid},
              {"a minus and a suffix", u"- PM", kInvalid},
              {"a tab is no space", u"\t5", kInvalid}});
}

TEST(ParseTime, ComponentsTellHowManyPartsFollowTheHours) {
  ExpectRows({{"none", u"7", {7, 0, 0, MDbTimePlain, 0}},
              {"minutes", u"7:05", {7, 5, 0, MDbTimePlain, 1}},
              {"minutes and seconds", u"7:05:09", {7, 5, 9, MDbTimePlain, 2}},
              {"a third separator", u"7:05:09:1", kInvalid}});
}

TEST(ParseTime, ASeparatorPromisesANumber) {
  ExpectRows({{"no minutes", u"7:", kInvalid},
              {"no seconds", u"7:05:", kInvalid},
              {"no minutes but seconds", u"7::05", kInvalid},
              {"a suffix in their place", u"7:PM", kInvalid}});
}

TEST(ParseTime, SpacesMayStandBetweenAllPieces) {
  ExpectRows({{"everywhere", u"  7 :  05 : 09   ", {7, 5, 9, MDbTimePlain, 2}},
              {"but not in place of a separator", u"7 05", kInvalid},
              {"nor a no-break space", u"7\u00A0:05", kInvalid}});
}

TEST(ParseTime, OnlyTheFormatsSeparatorSeparates) {
  ExpectRows({{"a point under a colon", u"7.05", kInvalid}});
  ExpectRows(
      {{"a point under a point", u"7.05", {7, 5, 0, MDbTimePlain, 1}}, {"a colon under a point", u"7:05", kInvalid}},
      false, true, TimeFormatOf(u"AM", u"PM", u"h", u'.'));
  ExpectRows({{"a minus", u"-7-05-09", {-7, -5, -9, MDbTimePlain, 2}}}, false, true,
             TimeFormatOf(u"AM", u"PM", u"h", u'-'));
}

TEST(ParseTime, ASeparatorThatCannotStandInATextLeavesHoursAlone) {
  for (const char16_t separator : {u'\0', u' ', u'5'}) {
    ExpectRows({{"hours", u"7", {7, 0, 0, MDbTimePlain, 0}},
                {"hours and a space", u"7 ", {7, 0, 0, MDbTimePlain, 0}},
                {"two numbers", u"7 05", kInvalid},
                {"a suffix", u"7 PM", {19, 0, 0, MDbTimeTwelveHour, 0}}},
               false, true, TimeFormatOf(u"AM", u"PM", u"h", separator));
  }
}

TEST(ParseTime, AStrictTimeIsATimeOfDayWithMinutes) {
  ExpectRows({{"plain", u"23:59", {23, 59, 0, MDbTimePlain, 1}},
              {"with seconds", u"23:59:59", {23, 59, 59, MDbTimePlain, 2}},
              {"with a suffix", u"7:05 PM", {19, 5, 0, MDbTimeTwelveHour, 1}},
              {"24 hours", u"24:00", kInvalid},
              {"negative", u"-1:30", kInvalid},
              {"hours only", u"7", kInvalid},
              {"hours only, with a suffix", u"7 PM", kInvalid},
              {"60 minutes", u"7:60", kInvalid},
              {"60 seconds", u"7:05:60", kInvalid},
              {"what carries on, carries once", u"7:59:60", kInvalid}},
             true);
}

std::vector<uint16_t> CapturedDigits(const std::u16string& text) {
  std::vector<uint16_t> digits(3 * kTimeDigitsRoom, 0xFFFF);
  TimeRec time;
  ParseTime(ExactText(text), &time, TimeFormatOf(), false, true, digits.data());
  return digits;
}

std::u16string CapturedText(const std::vector<uint16_t>& digits, std::size_t part) {
  std::u16string text;
  for (std::size_t i = part * 256; digits[i] != 0; ++i) text += static_cast<char16_t>(digits[i]);
  return text;
}

TEST(ParseTime, TheDigitsTypedAreHandedOut) {
  const auto digits = CapturedDigits(u" 007 :5: 09 PM");
  EXPECT_EQ(CapturedText(digits, 0), u"007");
  EXPECT_EQ(CapturedText(digits, 1), u"5");
  EXPECT_EQ(CapturedText(digits, 2), u"09");
  EXPECT_EQ(digits[255], 0) << "the rest is zeroed";
}

TEST(ParseTime, ABufferWhoseNumberIsNotReadStaysAsItWas) {
  const auto hours_only = CapturedDigits(u"7");
  EXPECT_EQ(CapturedText(hours_only, 0), u"7");
  EXPECT_EQ(std::count(hours_only.begin() + 256, hours_only.end(), 0xFFFF), 512);
  const auto nothing = CapturedDigits(u"");
  EXPECT_EQ(std::count(nothing.begin(), nothing.end(), 0), 256) << "hours are always looked for";
  EXPECT_EQ(std::count(nothing.begin() + 256, nothing.end(), 0xFFFF), 512);
  const auto no_minutes = CapturedDigits(u"7::9");
  EXPECT_EQ(CapturedText(no_minutes, 1), u"") << "looked for and missing";
  EXPECT_EQ(CapturedText(no_minutes, 2), u"9");
}

TEST(ParseTime, AtMost255DigitsAreHandedOut) {
  for (const std::size_t count : {254u, 255u, 256u, 300u}) {
    const auto digits = CapturedDigits(u"1:" + std::u16string(count, u'0') + u":" + std::u16string(count, u'1'));
    EXPECT_EQ(CapturedText(digits, 1), std::u16string(std::min<std::size_t>(count, 255), u'0')) << count;
    EXPECT_EQ(CapturedText(digits, 2), std::u16string(std::min<std::size_t>(count, 255), u'1')) << count;
    EXPECT_EQ(digits.back(), 0);
  }
}

TEST(ParseTime, SettingsMayLieUnaligned) {
  struct {
    char before;
    MDbAttrs attrs;
  } __attribute__((packed)) block = {};
  block.attrs.timeFormat = TimeFormatOf();
  block.attrs.timeFormat.twelveHour = 1;
  TimeRec time;
  ParseTime(ExactText(u"7:05 pm"), &time, block.attrs.timeFormat, false, true, nullptr);
  EXPECT_EQ(Describe(time), Describe(TimeRec{19, 5, 0, MDbTimeTwelveHour, 1}));
  TextBuffer buffer(18);
  FormatTime(time, buffer, block.attrs.timeFormat);
  EXPECT_EQ(buffer.Text(), u"7:05PM");
}

}  // namespace
}  // namespace mdb
