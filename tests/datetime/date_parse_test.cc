// Reading date texts. The clock stands in 2026 except where a test says otherwise.
#include <gtest/gtest.h>

#include "date_text.h"
#include "datetime_samples.h"
#include "fixed_clock.h"

namespace mdb {
namespace {

struct DateRow {
  const char* why;
  int order;
  const char16_t* text;
  DateRec expected;  // month, day, year, status, four-digit year, separator
};

constexpr DateRec None(int32_t status, int32_t four_digit_year = 0, int32_t separator = 0) {
  return {0, 0, 0, status, four_digit_year, separator};
}

DateRec Parse(const std::u16string& text, int order, bool require_four_digit_year = false) {
  DateRec date = {77, 77, 77, 77, 77, 77};
  ParseDateText(ExactText(text), &date, DateFormatOf(order), false, require_four_digit_year);
  return date;
}

template <std::size_t count>
void ExpectRows(const DateRow (&rows)[count]) {
  const FixedClock clock(2026);
  for (const auto& row : rows) {
    EXPECT_EQ(Describe(Parse(row.text, row.order)), Describe(row.expected))
        << row.why << ": " << Describe(std::u16string(row.text)) << " in order " << row.order;
  }
}

TEST(ParseDate, ATextOfThreeNumbersIsValidAndRecordsItsSeparator) {
  ExpectRows({{"25 December 2024", 0, u"12/25/2024", {12, 25, 2024, MDbDateValid, 1, u'/'}}});
}

TEST(ParseDate, TwoNumbersAreADayOfTheCurrentYear) {
  ExpectRows({{"25 December", 0, u"12-25", {12, 25, 2026, MDbDateThisYear, 0, u'-'}}});
}

TEST(ParseDate, TheLeapDayNeedsALeapYear) {
  ExpectRows({{"a common year", 0, u"2/29/2023", None(MDbDateInvalid, 1, u'/')},
              {"a leap year", 0, u"2/29/2024", {2, 29, 2024, MDbDateValid, 1, u'/'}},
              {"a century", 0, u"2/29/1900", None(MDbDateInvalid, 1, u'/')},
              {"a fourth century", 0, u"2/29/2000", {2, 29, 2000, MDbDateValid, 1, u'/'}},
              {"the current year, common", 0, u"2/29", None(MDbDateInvalid, 0, u'/')}});
  const FixedClock clock(2028);
  EXPECT_EQ(Describe(Parse(u"2/29", 0)), Describe(DateRec{2, 29, 2028, MDbDateThisYear, 0, u'/'}));
}

TEST(ParseDate, ADayThatTheMonthDoesNotHaveIsInvalid) {
  ExpectRows({{"31 April", 0, u"4/31/2024", None(MDbDateInvalid, 1, u'/')},
              {"31 April without a year", 1, u"31.4", None(MDbDateInvalid, 0, u'.')},
              {"30 February", 0, u"2/30/2024", None(MDbDateInvalid, 1, u'/')},
              {"31 December", 0, u"12/31/2024", {12, 31, 2024, MDbDateValid, 1, u'/'}},
              {"day 32", 0, u"1/32/2024", None(MDbDateInvalid, 1, u'/')},
              {"month 13", 0, u"13/1/2024", None(MDbDateInvalid, 1, u'/')}});
}

TEST(ParseDate, AThirdSeparatorIsNeverTaken) {
  ExpectRows({{"a fourth number", 0, u"1/2/3/4", None(MDbDateInvalid, 0, u'/')},
              {"a separator after the year", 0, u"1/2/2024/", None(MDbDateInvalid, 1, u'/')}});
}

TEST(ParseDate, ATrailingSeparatorIsInvalid) {
  ExpectRows({{"after the day", 0, u"1/2/", None(MDbDateInvalid, 0, u'/')},
              {"after the month", 0, u"1/", None(MDbDateInvalid, 0, u'/')},
              {"in a year order that has no year", 2, u"5/", None(MDbDateInvalid, 0, u'/')}});
}

TEST(ParseDate, SeparatorsMustBeTheSame) {
  ExpectRows({{"a minus after a slash", 0, u"1/2-3", None(MDbDateInvalid, 0, u'/')},
              {"a space after a slash", 0, u"1/2 3", None(MDbDateInvalid, 0, u'/')}});
}

TEST(ParseDate, OnlySpacesAreBlankAndTheEmptyTextIsInvalid) {
  for (int order = 0; order < 6; ++order) {
    ExpectRows({{"three spaces", order, u"   ", None(MDbDateBlank)},
                {"one space", order, u" ", None(MDbDateBlank)},
                {"two spaces", order, u"  ", None(MDbDateBlank)},
                {"the empty text", order, u"", None(MDbDateInvalid)},
                {"a tab is no space", order, u"\t", None(MDbDateInvalid)}});
  }
}

TEST(ParseDate, EveryPartZeroIsTheZeroDate) {
  ExpectRows({{"a year of four zeros", 0, u"0/0/0000", None(MDbDateZero, 1, u'/')},
              {"a year of three zeros", 0, u"00/00/000", None(MDbDateZero, 0, u'/')},
              {"year first", 2, u"0000-0-0", None(MDbDateZero, 1, u'-')}});
}

TEST(ParseDate, AMalformedTextStaysInvalidWhateverItsNumbers) {
  ExpectRows({{"a real date", 0, u"1/2/2024x", None(MDbDateInvalid, 1, u'/')},
              {"a real date without a year", 3, u"1/2", None(MDbDateInvalid, 0, u'/')},
              {"all zeros", 0, u"0/0/0000x", None(MDbDateInvalid, 1, u'/')},
              {"all zeros and a separator", 0, u"0/0/0000/", None(MDbDateInvalid, 1, u'/')},
              {"nothing but spaces and a letter", 0, u"  x", None(MDbDateInvalid)}});
}

TEST(ParseDate, AYearOfOneZeroIsAYearOfTheCentury) {
  ExpectRows({{"so this is not the zero date", 0, u"0/0/0", None(MDbDateInvalid, 0, u'/')},
              {"nor with two digits", 0, u"0/0/00", None(MDbDateInvalid, 0, u'/')},
              {"but it is a year", 0, u"1/2/0", {1, 2, 2000, MDbDateValid, 0, u'/'}}});
}

TEST(ParseDate, OneZeroAmongOtherPartsIsInvalid) {
  ExpectRows({{"month", 0, u"0/1/2024", None(MDbDateInvalid, 1, u'/')},
              {"day", 0, u"1/0/2024", None(MDbDateInvalid, 1, u'/')},
              {"year", 0, u"1/1/0000", None(MDbDateInvalid, 1, u'/')},
              {"no year and zeros", 0, u"0/0", None(MDbDateInvalid, 0, u'/')}});
}

TEST(ParseDate, TwoSeparatorsPutTheYearFirst) {
  ExpectRows({{"year, month, day", 2, u"2024/5/6", {5, 6, 2024, MDbDateValid, 1, u'/'}},
              {"year, day, month", 5, u"2024/5/6", {6, 5, 2024, MDbDateValid, 1, u'/'}},
              {"a year of two digits", 2, u"24/5/6", {5, 6, 2024, MDbDateValid, 0, u'/'}}});
}

TEST(ParseDate, OneSeparatorLeavesOutAYearThatStandsFirst) {
  ExpectRows({{"month, day", 2, u"5/6", {5, 6, 2026, MDbDateThisYear, 0, u'/'}},
              {"day, month", 5, u"5/6", {6, 5, 2026, MDbDateThisYear, 0, u'/'}},
              {"a first number too large for a month", 2, u"2024/5", None(MDbDateInvalid, 0, u'/')},
              {"one number alone", 2, u"2024", None(MDbDateInvalid)}});
}

TEST(ParseDate, ALeadingSpaceIsWhatAYearOrderCounts) {
  ExpectRows({{"one space: no year expected", 2, u" 2024/5/6", None(MDbDateInvalid, 0, u'/')},
              {"two: year first", 2, u"  2024/5/6", {5, 6, 2024, MDbDateValid, 1, u'/'}},
              {"one before, one behind: year first", 2, u" 2024/5/6 ", {5, 6, 2024, MDbDateValid, 1, u'/'}},
              {"one space before two numbers", 2, u" 5/6", {5, 6, 2026, MDbDateThisYear, 0, u'/'}},
              {"two before two numbers: a year expected", 2, u"  5/6", None(MDbDateInvalid, 0, u'/')},
              {"not so in other orders", 0, u" 5/6/2024", {5, 6, 2024, MDbDateValid, 1, u'/'}}});
}

TEST(ParseDate, EveryOrderReadsItsParts) {
  ExpectRows({{"month, day, year", 0, u"5/6/2024", {5, 6, 2024, MDbDateValid, 1, u'/'}},
              {"day, month, year", 1, u"5/6/2024", {6, 5, 2024, MDbDateValid, 1, u'/'}},
              {"year, month, day", 2, u"2024/5/6", {5, 6, 2024, MDbDateValid, 1, u'/'}},
              {"month, year, day", 3, u"5/2024/6", {5, 6, 2024, MDbDateValid, 1, u'/'}},
              {"day, year, month", 4, u"5/2024/6", {6, 5, 2024, MDbDateValid, 1, u'/'}},
              {"year, day, month", 5, u"2024/5/6", {6, 5, 2024, MDbDateValid, 1, u'/'}}});
}

TEST(ParseDate, AYearInTheMiddleCannotBeLeftOut) {
  ExpectRows({{"month, year", 3, u"5/2024", None(MDbDateInvalid, 1, u'/')},
              {"day, year", 4, u"5/6", None(MDbDateInvalid, 0, u'/')},
              {"month alone", 3, u"5", None(MDbDateInvalid)},
              {"year missing", 3, u"5//6", None(MDbDateInvalid, 0, u'/')}});
}

TEST(ParseDate, AnUnknownOrderReadsNothing) {
  ExpectRows({{"a date", 6, u"1/2/2024", None(MDbDateInvalid)},
              {"spaces", 6, u"  ", None(MDbDateInvalid)},
              {"the empty text", 255, u"", None(MDbDateInvalid)}});
}

TEST(ParseDate, AnyCharacterButADigitSeparates) {
  for (const char16_t separator : u"/-.,:; \tx\u5E74\uFF11\u0661\xD83D") {
    if (separator == 0) continue;
    const FixedClock clock(2026);
    const std::u16string text = u"5" + std::u16string(1, separator) + u"6" + separator + u"2024";
    EXPECT_EQ(Describe(Parse(text, 0)), Describe(DateRec{5, 6, 2024, MDbDateValid, 1, separator})) << Describe(text);
  }
}

TEST(ParseDate, SpacesAroundTheDateAreSkippedAndSpacesWithinAreSeparators) {
  ExpectRows({{"before and behind", 0, u"  5/6/2024  ", {5, 6, 2024, MDbDateValid, 1, u'/'}},
              {"behind, without a year", 0, u"5/6  ", {5, 6, 2026, MDbDateThisYear, 0, u'/'}},
              {"spaces as separators", 0, u" 5 6 2024 ", {5, 6, 2024, MDbDateValid, 1, u' '}},
              {"one behind two numbers promises a third", 0, u"5 6 ", None(MDbDateInvalid, 0, u' ')},
              {"no space behind them", 0, u"5 6", {5, 6, 2026, MDbDateThisYear, 0, u' '}},
              {"two spaces between numbers", 0, u"5  6 2024", None(MDbDateInvalid, 0, u' ')},
              {"before a slash", 0, u"5 /6/2024", None(MDbDateInvalid, 0, u' ')},
              {"behind a slash", 0, u"5/ 6/2024", None(MDbDateInvalid, 0, u'/')},
              {"year first by spaces", 2, u"2024 5 6", {5, 6, 2024, MDbDateValid, 1, u' '}}});
}

TEST(ParseDate, APartWithoutDigitsIsInvalid) {
  ExpectRows({{"letters", 0, u"today", None(MDbDateInvalid)},
              {"a separator first", 0, u"/1/2", None(MDbDateInvalid)},
              {"no day", 0, u"1//2024", None(MDbDateInvalid, 1, u'/')},
              {"one number", 0, u"12", None(MDbDateInvalid)},
              {"separators only", 2, u"//", None(MDbDateInvalid)},
              {"something behind", 0, u"1/2/2024x", None(MDbDateInvalid, 1, u'/')},
              {"a sign", 0, u"-1/2/2024", None(MDbDateInvalid)}});
}

TEST(ParseDate, LeadingZerosAreDigits) {
  ExpectRows({{"in month and day", 0, u"005/0006/2024", {5, 6, 2024, MDbDateValid, 1, u'/'}},
              {"a year of four digits", 0, u"5/6/0987", {5, 6, 987, MDbDateValid, 1, u'/'}},
              {"a year of five", 0, u"5/6/02024", {5, 6, 2024, MDbDateValid, 0, u'/'}}});
}

TEST(ParseDate, YearsOfThreeOrFiveDigitsAreTakenAsTheyAre) {
  ExpectRows({{"three", 0, u"5/6/987", {5, 6, 987, MDbDateValid, 0, u'/'}},
              {"three, small", 0, u"5/6/012", {5, 6, 12, MDbDateValid, 0, u'/'}},
              {"five, within 3000", 0, u"5/6/00001", {5, 6, 1, MDbDateValid, 0, u'/'}},
              {"five, beyond", 0, u"5/6/20240", None(MDbDateInvalid, 0, u'/')}});
}

TEST(ParseDate, YearsGoFrom1To3000) {
  ExpectRows({{"year 1", 0, u"1/1/0001", {1, 1, 1, MDbDateValid, 1, u'/'}},
              {"the last day", 0, u"12/31/3000", {12, 31, 3000, MDbDateValid, 1, u'/'}},
              {"the day after", 0, u"1/1/3001", None(MDbDateInvalid, 1, u'/')},
              {"the largest that is read", 0, u"1/1/29999", None(MDbDateInvalid, 0, u'/')},
              {"one that overflows", 0, u"1/1/30000", None(MDbDateInvalid, 0, u'/')},
              {"a month that overflows", 0, u"30001/1/2024", None(MDbDateInvalid, 1, u'/')},
              {"a month of many digits", 0, u"4294967297/1/2024", None(MDbDateInvalid, 1, u'/')}});
  const FixedClock clock(3001);
  EXPECT_EQ(Parse(u"1/1", 0).status, MDbDateInvalid) << "a current year beyond the last one";
}

TEST(ParseDate, AFourDigitYearCanBeRequired) {
  const FixedClock clock(2026);
  const struct {
    const char* why;
    const char16_t* text;
    int32_t status;
  } kTexts[] = {
      {"four digits", u"1/2/2024", MDbDateValid},
      {"two digits", u"1/2/24", MDbDateInvalid},
      {"no year", u"1/2", MDbDateInvalid},
      {"five digits", u"1/2/02024", MDbDateInvalid},
      {"blank stays blank", u"  ", MDbDateBlank},
      {"the zero date", u"0/0/0000", MDbDateZero},
      {"zeros of three", u"0/0/000", MDbDateInvalid},
  };
  for (const auto& row : kTexts) EXPECT_EQ(Parse(row.text, 0, true).status, row.status) << row.why;
}

TEST(ParseDate, TheClockIsReadOnceAtMostAndOnlyForTheYear) {
  const struct {
    const char* why;
    const char16_t* text;
    int reads;
  } kTexts[] = {{"a year in full", u"1/2/2024", 0},
                {"a century to find", u"1/2/24", 1},
                {"no year", u"1/2", 1},
                {"blank", u"  ", 0},
                {"malformed", u"1/2/", 0},
                {"zero", u"0/0/0000", 0}};
  for (const auto& row : kTexts) {
    const FixedClock clock(2026);
    Parse(row.text, 0);
    EXPECT_EQ(clock.Reads(), row.reads) << row.why;
  }
}

TEST(ParseDate, SettingsMayLieUnaligned) {
  struct {
    char before;
    MDbAttrs attrs;
  } __attribute__((packed)) block = {};
  block.attrs.dateFormat = DateFormatOf(1, u'.');
  DateRec date;
  ParseDateText(ExactText(u"31.12.2024"), &date, block.attrs.dateFormat, false, false);
  EXPECT_EQ(Describe(date), Describe(DateRec{12, 31, 2024, MDbDateValid, 1, u'.'}));
  TextBuffer buffer(11);
  FormatDateText(date, buffer, block.attrs.dateFormat);
  EXPECT_EQ(buffer.Text(), u"31.12.2024");
}

TEST(DateTextToDayNumber, ADateGivesItsDayNumber) {
  const FixedClock clock(2026);
  int32_t day_number = -5;
  EXPECT_EQ(DateTextToDayNumber(ExactText(u"1/1/0001"), DateFormatOf(0), false, &day_number), MDbStatusOk);
  EXPECT_EQ(day_number, 1);
  EXPECT_EQ(DateTextToDayNumber(ExactText(u"1/1"), DateFormatOf(0), false, &day_number), MDbStatusOk);
  EXPECT_EQ(day_number, 739617);
}

TEST(DateTextToDayNumber, WhatIsNoDateGivesNoNumber) {
  const FixedClock clock(2026);
  for (const char16_t* text : {u"", u"  ", u"0/0/0000", u"13/1/2024", u"x"}) {
    int32_t day_number = -5;
    EXPECT_EQ(DateTextToDayNumber(ExactText(text), DateFormatOf(0), false, &day_number), MDbStatusBadDateText);
    EXPECT_EQ(day_number, -5) << Describe(std::u16string(text));
  }
}

}  // namespace
}  // namespace mdb
