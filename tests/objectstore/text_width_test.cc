// Texts of a client are measured and stored in steps of many units: whatever their length, place and end.
#include "text_width.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "last_units.h"

namespace objectstore {
namespace {

// Every unit has a bit of its own among others, none is zero.
WCHAR Unit(size_t index, WCHAR above) { return static_cast<WCHAR>(above | (1 + index % 255)); }

WCHAR BitsOf(const WCHAR* text, size_t units) {
  WCHAR bits = 0;
  for (size_t i = 0; i < units; ++i) bits = static_cast<WCHAR>(bits | text[i]);
  return bits;
}

TEST(TextWidth, ATextIsMeasuredToItsEndAndNoUnitFurther) {
  const LastUnits memory;
  for (size_t units = 0; units < 90; ++units) {
    for (size_t behind = 0; behind < 9; ++behind) {
      WCHAR* const text = memory.Take(units + 1 + behind);
      for (size_t i = 0; i < units; ++i) text[i] = Unit(i, 0);
      text[units] = 0;
      std::fill_n(text + units + 1, behind, WCHAR{0xFFFF});
      text[-1] = 0xFFFF;
      WCHAR bits = 0;
      EXPECT_EQ(BoundedTextLength(text, 1000, bits), units) << behind;
      EXPECT_EQ(bits, BitsOf(text, units)) << units << " units, " << behind << " behind";
    }
  }
}

TEST(TextWidth, TheBitsOfEveryUnitAreSeen) {
  const LastUnits memory;
  for (size_t units = 1; units < 40; ++units) {
    for (size_t wide = 0; wide < units; ++wide) {
      WCHAR* const text = memory.Take(units + 1);
      for (size_t i = 0; i < units; ++i) text[i] = i == wide ? WCHAR{0x0141} : WCHAR{'a'};
      text[units] = 0;
      WCHAR bits = 0;
      EXPECT_EQ(BoundedTextLength(text, units, bits), units);
      EXPECT_FALSE(IsNarrow(bits)) << units << " units, " << wide;
    }
  }
}

TEST(TextWidth, AnEndlessTextIsReadNoFurtherThanItMayBeLong) {
  const LastUnits memory;
  for (size_t most = 0; most < 70; ++most) {
    WCHAR* const text = memory.Take(most + 1);
    std::fill_n(text, most + 1, WCHAR{'x'});
    WCHAR bits = 0;
    EXPECT_EQ(BoundedTextLength(text, most, bits), most + 1);
  }
}

TEST(TextWidth, StoredUnitsAreReadBackAndNothingBehindThemIsWritten) {
  for (size_t units = 0; units < 90; ++units) {
    for (const bool narrow : {true, false}) {
      std::vector<WCHAR> text(units);
      for (size_t i = 0; i < units; ++i) text[i] = Unit(i, narrow ? 0 : 0x3100);
      std::vector<uint8_t> stored(BytesOfText(units, narrow) + 1, 0xA5);
      StoreUnits(text.data(), units, narrow, stored.data());
      EXPECT_EQ(stored.back(), 0xA5);
      std::vector<WCHAR> read(units);
      CopyUnits(stored.data(), units, narrow, read.data());
      EXPECT_EQ(read, text) << units << (narrow ? " narrow" : " wide");
    }
  }
}

}  // namespace
}  // namespace objectstore
