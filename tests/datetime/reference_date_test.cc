// Dates, compared with their second implementation: every day of the years 1 to 3000, and random texts and records.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <vector>

#include "date_text.h"
#include "datetime_samples.h"
#include "fixed_clock.h"
#include "random_texts.h"
#include "reference_date.h"

namespace mdb {
namespace {

constexpr int kLastDay = 1095727;
constexpr std::array<int, 9> kCurrentYears = {1995, 2000, 2003, 2009, 2010, 2026, 2089, 2090, 2092};

bool Same(const DateRec& a, const DateRec& b) {
  return a.month == b.month && a.day == b.day && a.year == b.year && a.status == b.status &&
         a.fourDigitYear == b.fourDigitYear && a.separator == b.separator;
}

std::u16string Format(const DateRec& date, const DateFormat& format) {
  std::array<MDbChar, 11> buffer;
  buffer.fill(u'#');
  FormatDateText(date, buffer.data(), format);
  return buffer.data();
}

std::string Describe(const DateFormat& format) {
  return "order " + std::to_string(format.order) + " separator " + std::to_string(format.separator) + " zeros " +
         std::to_string(format.monthLeadingZero) + std::to_string(format.dayLeadingZero) + " own separator " +
         std::to_string(format.ownSeparator);
}

// Twenty-four consecutive days see every order with every setting of leading zeros.
DateFormat RotatingFormat(int day_number) {
  const char16_t separators[] = {u'/', u'.', u'-', u' ', u':'};
  const int setting = day_number % 24;
  return {separators[day_number % 5], static_cast<uint8_t>(setting % 6), static_cast<uint8_t>(setting / 6 % 2),
          static_cast<uint8_t>(setting / 12), 0};
}

int AnyCurrentYear(RandomTexts& random) {
  return kCurrentYears[static_cast<std::size_t>(random.Below(static_cast<int>(kCurrentYears.size())))];
}

TEST(DateReference, EveryDayHasTheSameNumberBothWays) {
  for (int day_number = -3; day_number <= kLastDay + 3; ++day_number) {
    const DateRec expected = reference::DateOfDayNumber(day_number);
    DateRec date;
    DayNumberToDate(day_number, &date);
    ASSERT_TRUE(Same(date, expected)) << day_number << ": " << ::Describe(date) << ", not " << ::Describe(expected);
    if (expected.status != MDbDateValid) continue;
    int32_t back = 0;
    DateToDayNumber(date, &back);
    ASSERT_EQ(back, day_number);
    ASSERT_EQ(reference::DayNumber(date.year, date.month, date.day), day_number);
  }
}

TEST(DateReference, EveryDayIsWrittenAndReadAlike) {
  const FixedClock clock(2026);
  for (int day_number = 1; day_number <= kLastDay; ++day_number) {
    const DateFormat format = RotatingFormat(day_number);
    DateRec expected = reference::DateOfDayNumber(day_number);
    const std::u16string text = Format(expected, format);
    ASSERT_EQ(text, reference::FormatDate(expected, format)) << day_number;
    DateRec date;
    ParseDateText(text.c_str(), &date, format, false, true);
    expected.separator = format.separator;
    ASSERT_TRUE(Same(date, expected)) << ::Describe(text) << " " << ::Describe(date);
  }
  EXPECT_EQ(clock.Reads(), 0);
}

TEST(DateReference, RandomTextsAreReadAlike) {
  constexpr uint32_t kSeed = 20240229;
  std::printf("seed %u\n", kSeed);
  RandomTexts random(kSeed);
  std::array<int, 5> statuses{};
  for (int i = 0; i < 120000; ++i) {
    const DateFormat format = random.DateFormatOfAnyKind();
    const std::u16string text = random.Date(format.order);
    const int current_year = AnyCurrentYear(random);
    const bool base_1900 = random.OneIn(4);
    const bool require_four = random.OneIn(4);
    const FixedClock clock(current_year);
    DateRec date;
    ParseDateText(ExactText(text), &date, format, base_1900, require_four);
    const DateRec expected = reference::ParseDate(text, format, base_1900, require_four, current_year);
    ASSERT_TRUE(Same(date, expected)) << "text " << i << " of seed " << kSeed << ": " << ::Describe(text) << " in "
                                      << current_year << ", " << Describe(format) << (base_1900 ? ", base 1900" : "")
                                      << (require_four ? ", four digits" : "") << "\n  read " << ::Describe(date)
                                      << "\n  not  " << ::Describe(expected);
    ASSERT_LE(clock.Reads(), 1);
    ++statuses[static_cast<std::size_t>(expected.status)];
  }
  for (std::size_t status = 0; status < statuses.size(); ++status) {
    EXPECT_GT(statuses[status], 500) << "too few texts of status " << status << " for a fair comparison";
  }
}

TEST(DateReference, RandomRecordsAreWrittenAlike) {
  constexpr uint32_t kSeed = 19000228;
  std::printf("seed %u\n", kSeed);
  RandomTexts random(kSeed);
  for (int i = 0; i < 60000; ++i) {
    const DateFormat format = random.DateFormatOfAnyKind();
    const DateRec date = {static_cast<int16_t>(random.Below(100)),
                          static_cast<int16_t>(random.Below(100)),
                          static_cast<int16_t>(random.Below(10000)),
                          random.Below(5),
                          random.Below(2),
                          random.OneIn(2) ? 0 : random.OneOf({u"/", u"-", u"\u5E74"})[0]};
    ASSERT_EQ(Format(date, format), reference::FormatDate(date, format))
        << "record " << i << " of seed " << kSeed << ": " << ::Describe(date) << ", " << Describe(format);
  }
}

TEST(DateReference, RandomTextsCompareAlike) {
  constexpr uint32_t kSeed = 15821015;
  std::printf("seed %u\n", kSeed);
  RandomTexts random(kSeed);
  std::array<int, 3> results{};
  for (int i = 0; i < 20000; ++i) {
    const DateFormat format = random.DateFormatOfAnyKind();
    const int current_year = AnyCurrentYear(random);
    const bool base_1900 = random.OneIn(4);
    const std::u16string a = random.OneIn(10) ? u"" : random.Date(format.order);
    const std::u16string b = random.OneIn(5)    ? random.CaseChanged(a)
                             : random.OneIn(10) ? u""
                                                : random.Date(format.order);
    const FixedClock clock(current_year);
    const int order = CompareDateText(ExactText(a), ExactText(b), format, base_1900);
    ASSERT_EQ(order, reference::CompareDates(a, b, format, base_1900, current_year))
        << "pair " << i << " of seed " << kSeed << ": " << ::Describe(a) << " and " << ::Describe(b) << " in "
        << current_year << ", " << Describe(format) << (base_1900 ? ", base 1900" : "");
    ++results[static_cast<std::size_t>(order + 1)];
  }
  for (const int count : results) EXPECT_GT(count, 1000);
}

}  // namespace
}  // namespace mdb
