// Years of one or two digits: the century around the current year, or the 20th where the caller says so.
#include <gtest/gtest.h>

#include "date_text.h"
#include "datetime_samples.h"
#include "fixed_clock.h"

namespace mdb {
namespace {

DateRec ParseYear(const std::u16string& year, bool base_1900, int order = 0) {
  const std::u16string text = order == 2 ? year + u"/5/6" : u"5/6/" + year;
  DateRec date;
  ParseDateText(ExactText(text), &date, DateFormatOf(order), base_1900, false);
  return date;
}

TEST(DateCentury, TwoDigitsFallAroundTheCurrentYear) {
  const struct {
    int current_year;
    const char16_t* digits;
    int year;
  } kYears[] = {
      {1995, u"05", 2005}, {1995, u"09", 2009}, {1995, u"10", 1910}, {1995, u"89", 1989}, {1995, u"90", 1990},
      {1995, u"99", 1999}, {1995, u"00", 2000}, {2003, u"95", 1995}, {2003, u"90", 1990}, {2003, u"99", 1999},
      {2003, u"89", 2089}, {2003, u"03", 2003}, {2003, u"00", 2000}, {2003, u"10", 2010}, {2026, u"99", 2099},
      {2026, u"90", 2090}, {2026, u"05", 2005}, {2026, u"26", 2026}, {2026, u"00", 2000}, {2092, u"05", 2105},
      {2092, u"09", 2109}, {2092, u"10", 2010}, {2092, u"89", 2089}, {2092, u"90", 2090}, {2092, u"99", 2099},
      {2000, u"99", 1999}, {2009, u"90", 1990}, {2010, u"90", 2090}, {2089, u"09", 2009}, {2090, u"09", 2109},
  };
  for (const auto& row : kYears) {
    const FixedClock clock(row.current_year);
    const DateRec expected = {5, 6, static_cast<int16_t>(row.year), MDbDateValid, 0, u'/'};
    EXPECT_EQ(Describe(ParseYear(row.digits, false)), Describe(expected)) << "in " << row.current_year;
    EXPECT_EQ(Describe(ParseYear(row.digits, false, 2)), Describe(expected)) << "year first, in " << row.current_year;
  }
}

TEST(DateCentury, OneDigitCountsAsTwo) {
  const FixedClock clock(1995);
  EXPECT_EQ(ParseYear(u"5", false).year, 2005);
  EXPECT_EQ(ParseYear(u"0", false).year, 2000);
}

TEST(DateCentury, TheBase1900NeedsNoClock) {
  const FixedClock clock(2026);
  EXPECT_EQ(ParseYear(u"0", true).year, 1900);
  EXPECT_EQ(ParseYear(u"05", true).year, 1905);
  EXPECT_EQ(ParseYear(u"99", true).year, 1999);
  EXPECT_EQ(clock.Reads(), 0);
}

TEST(DateCentury, TheBase1900LeavesOtherYearsAlone) {
  const FixedClock clock(2026);
  EXPECT_EQ(ParseYear(u"099", true).year, 99);
  EXPECT_EQ(ParseYear(u"2024", true).year, 2024);
  DateRec date;
  ParseDateText(ExactText(u"5/6"), &date, DateFormatOf(0), true, false);
  EXPECT_EQ(Describe(date), Describe(DateRec{5, 6, 2026, MDbDateThisYear, 0, u'/'})) << "no year is the current one";
}

}  // namespace
}  // namespace mdb
