// The order of time texts: empty ones, then what is no time in text order, then times by their seconds.
#include <gtest/gtest.h>

#include "datetime_samples.h"
#include "time_text.h"

namespace mdb {
namespace {

TEST(CompareTime, TextsOrderByEmptinessThenValidityThenSeconds) {
  const struct {
    const char* why;
    const char16_t* a;
    const char16_t* b;
    int16_t order;
  } kPairs[] = {
      {"two empty texts", u"", u"", 0},
      {"empty before no time", u"", u"x", -1},
      {"empty before spaces", u"", u" ", -1},
      {"empty before a negative time", u"", u"-5", -1},
      {"no time before a negative time", u"x", u"-32766", -1},
      {"spaces are no time", u" ", u"-32766", -1},
      {"no times by their text", u"apple", u"pear", -1},
      {"case aside first", u"a", u"B", -1},
      {"then by exact characters", u"PEAR", u"pear", -1},
      {"the same text", u"pear", u"pear", 0},
      {"times by seconds", u"7:05", u"7:05:01", -1},
      {"as numbers, not as texts", u"9:00", u"10:00", -1},
      {"the same time, written otherwise", u"7:05 PM", u"18:65", 0},
      {"negative before positive", u"-1", u"0:00:01", -1},
      {"further below zero first", u"-2:00", u"-1:59", -1},
      {"far apart", u"-32766:59:59", u"32766:59:59", -1},
  };
  for (const auto& row : kPairs) {
    const ExactText a(row.a);
    const ExactText b(row.b);
    EXPECT_EQ(CompareTimeText(a, b, TimeFormatOf()), row.order) << row.why;
    EXPECT_EQ(CompareTimeText(b, a, TimeFormatOf()), -row.order) << row.why << ", the other way round";
  }
}

}  // namespace
}  // namespace mdb
