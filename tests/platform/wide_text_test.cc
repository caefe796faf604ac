#include "wide_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <vector>

#include "last_units.h"

namespace {

constexpr int32_t kLargest = std::numeric_limits<int32_t>::max();
constexpr int32_t kSmallest = std::numeric_limits<int32_t>::min();

TEST(WideText, NumbersAreReadAsCReadsThem) {
  const struct {
    const char* why;
    const char16_t* text;
    int32_t value;
    size_t read;  // characters
  } kNumbers[] = {
      {"empty", u"", 0, 0},
      {"digits", u"1234", 1234, 4},
      {"leading zeros", u"000012", 12, 6},
      {"minus", u"-17", -17, 3},
      {"plus", u"+17", 17, 3},
      {"two signs are no number", u"--17", 0, 0},
      {"a sign alone is no number", u"-", 0, 0},
      {"a blank after the sign is no number", u"- 1", 0, 0},
      {"every white space goes before", u" \t\n\v\f\r5", 5, 7},
      {"white space alone is no number", u"   ", 0, 0},
      {"no-break space is no white space", u"\u00A05", 0, 0},
      {"text after the digits stays", u"12abc", 12, 2},
      {"a point ends the number", u"3.14", 3, 1},
      {"hexadecimal has no place in base 10", u"0x10", 0, 1},
      {"digits of other scripts are no digits", u"\u0661", 0, 0},
      {"largest", u"2147483647", kLargest, 10},
      {"one more saturates", u"2147483648", kLargest, 10},
      {"smallest", u"-2147483648", kSmallest, 11},
      {"one less saturates", u"-2147483649", kSmallest, 11},
      {"one before the smallest", u"-2147483647", -kLargest, 11},
      {"far beyond 64 bits saturates and is read whole", u"99999999999999999999999999", kLargest, 26},
      {"far below, too", u"-99999999999999999999999999", kSmallest, 27},
  };
  for (const auto& number : kNumbers) {
    WCHAR* end = nullptr;
    EXPECT_EQ(wcstol(number.text, &end, 10), number.value) << number.why;
    EXPECT_EQ(end, number.text + number.read) << number.why;
    EXPECT_EQ(wcstol(number.text, nullptr, 10), number.value) << number.why;
  }
}

TEST(WideText, NumbersOfOtherBasesAreReadAsCReadsThem) {
  const struct {
    const char16_t* text;
    int base;
    int32_t value;
    size_t read;
  } kNumbers[] = {
      {u"ff", 16, 255, 2},
      {u"0XfF", 16, 255, 4},
      {u"0x", 16, 0, 1},
      {u"0xg", 0, 0, 1},
      {u"0x1f", 0, 31, 4},
      {u"017", 0, 15, 3},
      {u"19", 0, 19, 2},
      {u"0", 0, 0, 1},
      {u"102", 2, 2, 2},
      {u"Zz", 36, 1295, 2},
      {u"12", 1, 0, 0},
      {u"12", 37, 0, 0},
      {u"-80000001", 16, kSmallest, 9},
      {u"8", 8, 0, 0},
  };
  for (const auto& number : kNumbers) {
    WCHAR* end = nullptr;
    const std::string why(number.text, number.text + wcslen(number.text));
    EXPECT_EQ(wcstol(number.text, &end, number.base), number.value) << why << " in base " << number.base;
    EXPECT_EQ(end, number.text + number.read) << why << " in base " << number.base;
  }
}

TEST(WideText, NumbersAreWrittenInDecimal) {
  const struct {
    int32_t number;
    const char16_t* text;
  } kNumbers[] = {
      {0, u"0"}, {7, u"7"}, {-1, u"-1"}, {1000, u"1000"}, {kLargest, u"2147483647"}, {kSmallest, u"-2147483648"}};
  for (const auto& row : kNumbers) {
    WCHAR text[12];
    EXPECT_EQ(swprintf(text, u"%ld", row.number), static_cast<int>(wcslen(row.text))) << row.number;
    EXPECT_EQ(std::u16string(text), row.text) << row.number;
  }
}

TEST(WideText, PlainCharactersOfAFormatAreCopied) {
  WCHAR text[40];
  EXPECT_EQ(swprintf(text, u"VTBL_%ld, 100% of %ld", 0, -2), 18);
  EXPECT_EQ(std::u16string(text), u"VTBL_0, 100% of -2");
}

TEST(WideText, ComparisonWithoutCaseFoldsOneUnitAtATime) {
  const struct {
    const char* why;
    const char16_t* a;
    const char16_t* b;
    int sign;
  } kPairs[] = {
      {"both empty", u"", u"", 0},
      {"the shorter one first", u"ab", u"abc", -1},
      {"ASCII letters", u"Hello", u"hELLO", 0},
      {"only letters fold", u"[", u"{", -1},
      {"letters fold down: _ stands before a", u"_", u"A", -1},
      {"umlauts", u"\u00C4\u00D6", u"\u00E4\u00F6", 0},
      {"Greek", u"\u03A9", u"\u03C9", 0},
      {"Cyrillic", u"\u0416", u"\u0436", 0},
      {"final sigma is a letter of its own", u"\u03C2", u"\u03C3", -1},
      {"sharp s is no two letters", u"\u00DF", u"ss", 1},
      {"accents count", u"e", u"\u00E9", -1},
      {"Deseret's pairs do not fold", u"\U00010400", u"\U00010428", -1},
      {"far apart keeps its sign", u"a", u"\uFFFD", -1},
  };
  for (const auto& pair : kPairs) {
    EXPECT_EQ(_wcsicmp(pair.a, pair.b), pair.sign) << pair.why;
    EXPECT_EQ(_wcsicmp(pair.b, pair.a), -pair.sign) << pair.why;
  }
}

TEST(WideText, ComparisonOfSomeCharactersStopsThere) {
  EXPECT_EQ(_wcsnicmp(u"PMx", u"pmy", 2), 0);
  EXPECT_EQ(_wcsnicmp(u"PMx", u"pmy", 3), -1);
  EXPECT_EQ(_wcsnicmp(u"a", u"b", 0), 0);
  EXPECT_EQ(_wcsnicmp(u"ab", u"AB\u00E9", 3), -1);
  EXPECT_EQ(_wcsnicmp(u"ab", u"AB", 100), 0);
}

TEST(WideText, ComparisonWithCaseIsByUnitsWithoutSign) {
  EXPECT_EQ(wcscmp(u"", u""), 0);
  EXPECT_EQ(wcscmp(u"abc", u"abc"), 0);
  EXPECT_EQ(wcscmp(u"abc", u"abd"), -1);
  EXPECT_EQ(wcscmp(u"abc", u"ab"), 1);
  EXPECT_EQ(wcscmp(u"a", u"A"), 1);
  EXPECT_EQ(wcscmp(u"\uFFFD", u"a"), 1);
}

// At every place in the widest piece that is read at once, and up to the end of what may be read at all.
TEST(WideText, ALengthEndsAtTheFirstZero) {
  const LastUnits memory;
  for (size_t behind = 0; behind < 40; ++behind) {
    for (size_t units = 0; units < 200; ++units) {
      WCHAR* const text = memory.Take(units + 1 + behind);
      std::fill_n(text - 40, 40, WCHAR{0});
      for (size_t i = 0; i < units; ++i) text[i] = i % 2 == 0 ? WCHAR{0x0100} : WCHAR{1};
      text[units] = 0;
      std::fill_n(text + units + 1, behind, WCHAR{0xFFFF});
      ASSERT_EQ(wcslen(text), units) << behind << " units behind";
    }
  }
}

TEST(WideText, ALengthIsTheSameWhereverInAPageTheTextBegins) {
  constexpr size_t kPageUnits = 4096 / sizeof(WCHAR);
  std::vector<WCHAR> memory(3 * kPageUnits, WCHAR{0});
  const size_t to_page = kPageUnits - reinterpret_cast<uintptr_t>(memory.data()) / sizeof(WCHAR) % kPageUnits;
  for (size_t before = 0; before < 70; ++before) {
    WCHAR* const text = memory.data() + to_page + kPageUnits - before;
    for (size_t units = 0; units < 150; ++units) {
      std::fill_n(text, units, WCHAR{0x0100});
      ASSERT_EQ(wcslen(text), units) << before << " units before a page";
      std::fill_n(text, units, WCHAR{0});
    }
  }
}

TEST(WideText, TextIsCopiedAndAppendedWithItsEnd) {
  WCHAR text[8] = u"xxxxxxx";
  EXPECT_EQ(wcslen(u"\u00E4bc"), 3u);
  EXPECT_EQ(wcscpy(text, u"abc"), text);
  EXPECT_EQ(std::u16string(text, 8), std::u16string(u"abc\0xxx\0", 8));
  EXPECT_EQ(wcscat(text, u"de"), text);
  EXPECT_EQ(std::u16string(text), u"abcde");
}

TEST(WideText, ClassesHoldExactlyTheCharactersOfAscii) {
  const std::u16string digits = u"0123456789";
  const std::u16string punctuation = u"!\"#$%&'()*+,-./:;<=>?@[\\]^_`{|}~";
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    const auto character = static_cast<WCHAR>(unit);
    const bool is_digit = unit != 0 && digits.find(character) != std::u16string::npos;
    const bool is_punctuation = unit != 0 && punctuation.find(character) != std::u16string::npos;
    ASSERT_EQ(iswctype(character, kWideDigit) != 0, is_digit) << unit;
    ASSERT_EQ(iswctype(character, kWidePunctuation) != 0, is_punctuation) << unit;
    ASSERT_EQ(iswctype(character, kWideDigit | kWidePunctuation) != 0, is_digit || is_punctuation) << unit;
  }
}

}  // namespace
