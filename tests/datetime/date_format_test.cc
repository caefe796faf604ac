// Writing dates.
#include <gtest/gtest.h>

#include "date_text.h"
#include "datetime_samples.h"

namespace mdb {
namespace {

std::u16string Format(const DateRec& date, const DateFormat& format) {
  TextBuffer buffer(11);
  FormatDateText(date, buffer, format);
  return buffer.Text();
}

constexpr DateRec k5July2024 = {7, 5, 2024, MDbDateValid, 1, 0};

TEST(FormatDate, LeadingZerosAreWrittenWhereTheyAreAskedFor) {
  EXPECT_EQ(Format(k5July2024, {u'.', 1, 1, 1, 0}), u"05.07.2024");
  EXPECT_EQ(Format(k5July2024, {u'.', 1, 0, 0, 0}), u"5.7.2024");
  EXPECT_EQ(Format(k5July2024, {u'.', 1, 1, 0, 0}), u"5.07.2024") << "month only";
  EXPECT_EQ(Format(k5July2024, {u'.', 1, 0, 255, 0}), u"05.7.2024") << "day only, any value but 0";
  EXPECT_EQ(Format({12, 25, 2024, MDbDateValid, 1, 0}, {u'.', 1, 1, 1, 0}), u"25.12.2024");
}

TEST(FormatDate, EveryOrderWritesItsParts) {
  const char16_t* kTexts[] = {u"7/5/2024", u"5/7/2024", u"2024/7/5", u"7/2024/5", u"5/2024/7", u"2024/5/7", u"", u""};
  for (int order = 0; order < 8; ++order) EXPECT_EQ(Format(k5July2024, DateFormatOf(order)), kTexts[order]) << order;
  EXPECT_EQ(Format(k5July2024, DateFormatOf(255)), u"");
}

TEST(FormatDate, TheRecordedSeparatorWinsWhereTheFormatSaysSo) {
  const DateRec with_minus = {7, 5, 2024, MDbDateValid, 1, u'-'};
  EXPECT_EQ(Format(with_minus, {u'.', 0, 0, 0, 1}), u"7-5-2024");
  EXPECT_EQ(Format(with_minus, {u'.', 0, 0, 0, 0}), u"7.5.2024");
  EXPECT_EQ(Format(k5July2024, {u'.', 0, 0, 0, 1}), u"7.5.2024") << "none recorded";
}

TEST(FormatDate, ASeparatorOf0IsLeftOut) { EXPECT_EQ(Format(k5July2024, {0, 2, 1, 1, 0}), u"20240705"); }

TEST(FormatDate, TheYearAlwaysHasFourDigits) {
  EXPECT_EQ(Format({7, 5, 987, MDbDateValid, 0, 0}, DateFormatOf(0)), u"7/5/0987");
  EXPECT_EQ(Format({1, 1, 1, MDbDateValid, 0, 0}, DateFormatOf(2)), u"0001/1/1");
}

TEST(FormatDate, TheZeroDatePrintsItsZeros) {
  DateRec date;
  ParseDateText(ExactText(u"0/0/0000"), &date, DateFormatOf(0), false, false);
  EXPECT_EQ(Format(date, DateFormatOf(0)), u"0/0/0000");
  EXPECT_EQ(Format(date, {u'/', 0, 1, 1, 0}), u"00/00/0000");
}

TEST(FormatDate, TheStatusDecidesWhatIsWritten) {
  const struct {
    const char* why;
    int32_t status;
    const char16_t* text;
  } kStatuses[] = {
      {"valid", MDbDateValid, u"7/5/2024"}, {"of this year", MDbDateThisYear, u"7/5/2024"},
      {"blank", MDbDateBlank, u""},         {"zero: formatted as any", MDbDateZero, u"7/5/2024"},
      {"invalid", MDbDateInvalid, u"?"},
  };
  for (const auto& row : kStatuses) {
    EXPECT_EQ(Format({7, 5, 2024, row.status, 0, 0}, DateFormatOf(0)), row.text) << row.why;
  }
  EXPECT_EQ(Format({0, 0, 0, MDbDateInvalid, 0, 0}, DateFormatOf(77)), u"?") << "whatever the order";
}

TEST(FormatDate, AnyOtherStatusLeavesTheBuffer) {
  for (const int32_t status : {-1, INT32_MIN, 5, INT32_MAX}) {
    TextBuffer buffer(1);
    FormatDateText({7, 5, 2024, status, 0, 0}, buffer, DateFormatOf(0));
    EXPECT_EQ(buffer.Unit(0), u'#') << status;
  }
}

TEST(FormatDate, NoRecordNeedsMoreThan11Units) {
  for (const int16_t number :
       std::initializer_list<int16_t>{INT16_MIN, int16_t{-480}, int16_t{-9}, int16_t{100}, INT16_MAX}) {
    for (int order = 0; order < 6; ++order) {
      TextBuffer buffer(11);
      FormatDateText({number, number, number, MDbDateValid, 0, -1}, buffer,
                     {u'/', static_cast<uint8_t>(order), 1, 1, 1});
      EXPECT_LE(buffer.Text().size(), 10u) << number;
    }
  }
}

}  // namespace
}  // namespace mdb
