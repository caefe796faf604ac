// The order of date texts: empty ones, then what is no date in text order, then dates.
#include <gtest/gtest.h>

#include "date_text.h"
#include "datetime_samples.h"
#include "fixed_clock.h"

namespace mdb {
namespace {

TEST(CompareDate, TextsOrderByEmptinessThenValidityThenValue) {
  const FixedClock clock(2026);
  const struct {
    const char* why;
    const char16_t* a;
    const char16_t* b;
    int order;
  } kPairs[] = {
      {"two empty texts", u"", u"", 0},
      {"empty before no date", u"", u"x", -1},
      {"empty before blank", u"", u" ", -1},
      {"empty before a date", u"", u"1/1/0001", -1},
      {"no date before a date", u"zzz", u"1/1/0001", -1},
      {"blank before a date", u" ", u"1/1/0001", -1},
      {"the zero date before a date", u"0/0/0000", u"1/1/0001", -1},
      {"no dates by their text", u"apple", u"pear", -1},
      {"case aside first", u"B", u"a", 1},
      {"then by exact characters", u"PEAR", u"pear", -1},
      {"the same text", u"pear", u"pear", 0},
      {"a shorter text first", u"pea", u"pear", -1},
      {"dates by day", u"12/31/2023", u"1/1/2024", -1},
      {"the same day, written otherwise", u"1/2/2024", u"01-02-24", 0},
      {"this year's", u"1/1", u"1/1/2026", 0},
      {"far apart", u"1/1/0001", u"12/31/3000", -1},
  };
  for (const auto& row : kPairs) {
    const ExactText a(row.a);
    const ExactText b(row.b);
    EXPECT_EQ(CompareDateText(a, b, DateFormatOf(0), false), row.order) << row.why;
    EXPECT_EQ(CompareDateText(b, a, DateFormatOf(0), false), -row.order) << row.why << ", the other way round";
  }
}

TEST(CompareDate, TheFormatAndTheBaseCount) {
  const FixedClock clock(2026);
  const ExactText a(u"2/1/2024");
  const ExactText b(u"1/3/2024");
  EXPECT_EQ(CompareDateText(a, b, DateFormatOf(0), false), 1);
  EXPECT_EQ(CompareDateText(a, b, DateFormatOf(1), false), -1);
  EXPECT_EQ(CompareDateText(ExactText(u"1/1/99"), ExactText(u"1/1/2000"), DateFormatOf(0), false), 1);
  EXPECT_EQ(CompareDateText(ExactText(u"1/1/99"), ExactText(u"1/1/2000"), DateFormatOf(0), true), -1);
}

}  // namespace
}  // namespace mdb
