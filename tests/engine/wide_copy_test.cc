// The bounded copy of text into a caller's buffer.
#include "wide_copy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

TEST(CopyWideTruncated, CutsAtHalfTheSizeLessOneAndAlwaysTerminates) {
  const struct {
    const char* why;
    uint32_t size_bytes;
    const char16_t* source;
    const char16_t* expected;
  } kRows[] = {
      {"exactly as many characters as fit", 12, u"Price", u"Price"},
      {"one character more than fits", 12, u"Prices", u"Price"},
      {"far more than fits", 12, u"Prices of everything", u"Price"},
      {"room for the terminator alone", 2, u"Price", u""},
      {"an odd size counts whole characters", 7, u"Price", u"Pr"},
      {"an odd size of three", 3, u"Price", u""},
      {"an empty text", 12, u"", u""},
      {"an empty text into the smallest buffer", 2, u"", u""},
      {"a buffer far larger than the text", 2000, u"Price", u"Price"},
  };
  for (const auto& row : kRows) {
    std::u16string buffer(1000, u'~');
    mdb::CopyWideTruncated(row.size_bytes, row.source, buffer.data());
    const std::u16string expected = row.expected;
    EXPECT_EQ(buffer.substr(0, expected.size()), expected) << row.why;
    EXPECT_EQ(buffer[expected.size()], u'\0') << row.why;
    EXPECT_EQ(buffer[expected.size() + 1], u'~') << row.why << ": written past the terminator";
  }
}

TEST(CopyWideTruncated, TextsOfEveryLengthAreCopiedWholeOrCutAndNoFurther) {
  for (size_t length = 0; length < 80; ++length) {
    std::u16string source;
    for (size_t i = 0; i < length; ++i) source.push_back(static_cast<char16_t>(u'a' + i));
    for (const size_t room : {size_t{0}, length / 2, length, length + 9}) {
      std::u16string buffer(100, u'~');
      mdb::CopyWideTruncated(static_cast<uint32_t>(2 * (room + 1)), source.c_str(), buffer.data());
      const size_t copied = std::min(length, room);
      const std::u16string expected = source.substr(0, copied) + u'\0' + std::u16string(99 - copied, u'~');
      EXPECT_EQ(buffer, expected) << length << " units, room for " << room;
      std::u16string known(100, u'~');
      mdb::CopyKnownTruncated(static_cast<uint32_t>(2 * (room + 1)), source.data(), length, known.data());
      EXPECT_EQ(known, expected) << length << " units, whose number is known, room for " << room;
    }
  }
}

TEST(CopyWideTruncated, CountsCodeUnitsAndMayCutAPairInTwo) {
  MDbChar buffer[4] = {u'~', u'~', u'~', u'~'};
  mdb::CopyWideTruncated(4, u"\U0001F600", buffer);
  EXPECT_EQ(buffer[0], 0xD83D);
  EXPECT_EQ(buffer[1], 0);
  EXPECT_EQ(buffer[2], u'~');
}

}  // namespace
