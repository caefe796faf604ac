// The pieces that both kinds of text are made of.
#include "text_cursor.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "date_text.h"
#include "datetime_samples.h"

namespace mdb {
namespace {

TEST(SkipSpaces, OnlyU0020IsASpace) {
  const struct {
    const char* why;
    const char16_t* text;
    int32_t index;
  } kTexts[] = {
      {"nothing to skip", u"1", 0},
      {"several", u"   1", 3},
      {"up to the end", u"  ", 2},
      {"the empty text", u"", 0},
      {"a tab is no space", u" \t1", 1},
      {"nor a no-break space", u"\u00A01", 0},
      {"nor an ideographic one", u"\u30001", 0},
  };
  for (const auto& row : kTexts) {
    const ExactText text(row.text);
    TextCursor cursor = {text, 0};
    SkipSpaces(&cursor);
    EXPECT_EQ(cursor.index, row.index) << row.why;
  }
}

TEST(ReadDigits, TheCapIsSoft) {
  const struct {
    const char* why;
    const char16_t* text;
    int32_t cap, value, count;
    bool overflow;
  } kTexts[] = {
      {"no digit", u"x", 3000, 0, 0, false},
      {"the empty text", u"", 3000, 0, 0, false},
      {"up to another character", u"12/3", 3000, 12, 2, false},
      {"leading zeros count as digits", u"0007", 3000, 7, 4, false},
      {"one more digit below the cap", u"29999", 3000, 29999, 5, false},
      {"at the cap it stops and overflows", u"30000", 3000, 3000, 5, true},
      {"above the cap, too", u"299990", 3000, 29999, 6, true},
      {"the largest 32-bit number", u"2147483647", INT32_MAX, INT32_MAX, 10, false},
      {"past 32 bits it stays at the largest", u"2147483648", INT32_MAX, INT32_MAX, 10, false},
      {"far past 32 bits", u"99999999999999999999", INT32_MAX, INT32_MAX, 20, true},
      {"fullwidth digits are none", u"\uFF11", 3000, 0, 0, false},
      {"arabic digits are none", u"1\u0662", 3000, 1, 1, false},
  };
  for (const auto& row : kTexts) {
    const ExactText text(row.text);
    TextCursor cursor = {text, 0};
    int32_t value = -1;
    bool overflow = !row.overflow;
    EXPECT_EQ(ReadDigits(&cursor, &value, row.cap, &overflow, nullptr, 0), row.count) << row.why;
    EXPECT_EQ(value, row.value) << row.why;
    EXPECT_EQ(overflow, row.overflow) << row.why;
    EXPECT_EQ(cursor.index, row.count) << row.why;
  }
}

TEST(ReadDigits, TheDigitsAreCopiedIntoAZeroedBufferAsFarAsItHasRoom) {
  const ExactText text(u"012345x");
  std::array<uint16_t, 6> digits;
  int32_t value = 0;
  bool overflow = false;
  digits.fill(0xFFFF);
  TextCursor cursor = {text, 0};
  ReadDigits(&cursor, &value, 3000, &overflow, digits.data(), 4);
  EXPECT_EQ(digits, (std::array<uint16_t, 6>{u'0', u'1', u'2', 0, 0xFFFF, 0xFFFF}));
  EXPECT_EQ(value, 12345);

  digits.fill(0xFFFF);
  cursor.index = 6;
  ReadDigits(&cursor, &value, 3000, &overflow, digits.data(), 6);
  EXPECT_EQ(digits, (std::array<uint16_t, 6>{})) << "no digit: zeroed all the same";
}

TEST(UpdateStateAfterDigits, ATextIsBlankUntilItsFirstNumberAndThenNeedsEveryNumber) {
  const struct {
    const char* why;
    int32_t state, count, after;
  } kSteps[] = {
      {"a number ends the blank state", 2, 1, 0}, {"no number leaves it blank", 2, 0, 2},
      {"a number keeps it valid", 0, 5, 0},       {"a missing number makes it invalid", 0, 0, 4},
      {"invalid stays with a number", 4, 1, 4},   {"and without", 4, 0, 4},
  };
  for (const auto& row : kSteps) {
    int32_t state = row.state;
    UpdateStateAfterDigits(&state, row.count, 2, 4);
    EXPECT_EQ(state, row.after) << row.why;
  }
}

TEST(AppendTwoDigits, TensAreWrittenWhenTheyAreThereOrAskedFor) {
  const struct {
    int32_t number;
    bool leading_zero;
    char16_t separator;
    const char16_t* text;
  } kNumbers[] = {
      {0, false, 0, u"x0"},   {0, true, 0, u"x00"},      {7, false, u'/', u"x7/"},   {7, true, u'.', u"x07."},
      {10, false, 0, u"x10"}, {59, true, u'-', u"x59-"}, {99, false, u' ', u"x99 "},
  };
  for (const auto& row : kNumbers) {
    TextBuffer buffer(5);
    buffer[0] = u'x';
    buffer[1] = 0;
    AppendTwoDigits(buffer, row.number, row.leading_zero, row.separator);
    EXPECT_EQ(buffer.Text(), row.text) << row.number;
  }
}

TEST(AppendChar, TerminatesOnlyWhenAsked) {
  TextBuffer buffer(4);
  int32_t length = 0;
  AppendChar(buffer, &length, u'a', false);
  EXPECT_EQ(buffer.Unit(1), u'#');
  AppendChar(buffer, &length, u'b', true);
  EXPECT_EQ(buffer.Text(), u"ab");
  EXPECT_EQ(length, 2);
}

TEST(AppendYear, AYearAlwaysHasFourDigits) {
  const struct {
    int32_t year;
    char16_t separator;
    const char16_t* text;
  } kYears[] = {{0, 0, u"0000"}, {5, u'/', u"0005/"}, {987, 0, u"0987"}, {2024, u'-', u"2024-"}, {3000, 0, u"3000"}};
  for (const auto& row : kYears) {
    TextBuffer buffer(6);
    buffer[0] = 0;
    AppendYear(buffer, row.year, row.separator);
    EXPECT_EQ(buffer.Text(), row.text) << row.year;
  }
}

TEST(CountSeparatorChar, CountsTheFirstCharacterThatIsNoDigit) {
  const struct {
    const char* why;
    const char16_t* text;
    int32_t count;
  } kTexts[] = {
      {"the empty text", u"", 0},
      {"digits only", u"2024", 0},
      {"one", u"5/6", 1},
      {"two", u"2024/5/6", 2},
      {"another character is not counted", u"5/6-7", 1},
      {"one at the end counts", u"5/6/", 2},
      {"a leading space is the candidate", u" 2024/5/6", 1},
      {"and counts wherever it stands", u" 5/6 ", 2},
      {"letters do as well", u"5a6a7a", 3},
  };
  for (const auto& row : kTexts) EXPECT_EQ(CountSeparatorChar(ExactText(row.text)), row.count) << row.why;
}

}  // namespace
}  // namespace mdb
