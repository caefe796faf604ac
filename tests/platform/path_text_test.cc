#include "path_text.h"

#include <gtest/gtest.h>

namespace {

const struct {
  const char* why;
  std::u16string_view wide;
  std::string_view bytes;
} kPairs[] = {
    {"empty", u"", ""},
    {"ASCII", u"a/b.cdb", "a/b.cdb"},
    {"last of one byte", u"\u007F", "\x7F"},
    {"first of two bytes", u"\u0080", "\xC2\x80"},
    {"last of two bytes", u"\u07FF", "\xDF\xBF"},
    {"first of three bytes", u"\u0800", "\xE0\xA0\x80"},
    {"before the surrogates", u"\uD7FF", "\xED\x9F\xBF"},
    {"after the surrogates", u"\uE000", "\xEE\x80\x80"},
    {"last of three bytes", u"\uFFFF", "\xEF\xBF\xBF"},
    {"first pair", u"\U00010000", "\xF0\x90\x80\x80"},
    {"last pair", u"\U0010FFFF", "\xF4\x8F\xBF\xBF"},
    {"pair between letters", u"x\U0001F600y", "x\xF0\x9F\x98\x80y"},
};

TEST(PathText, EveryFormIsConvertedBothWays) {
  for (const auto& pair : kPairs) {
    std::string bytes = "old";
    std::u16string wide = u"old";
    EXPECT_TRUE(path_text::ToUtf8(pair.wide, bytes)) << pair.why;
    EXPECT_EQ(bytes, pair.bytes) << pair.why;
    EXPECT_TRUE(path_text::ToUtf16(pair.bytes, wide)) << pair.why;
    EXPECT_EQ(wide, pair.wide) << pair.why;
  }
}

TEST(PathText, HalfASurrogatePairHasNoBytes) {
  const struct {
    const char* why;
    std::u16string wide;
  } kRefused[] = {
      {"high alone", {0xD800}},
      {"low alone", {0xDC00}},
      {"high before a letter", {0xDBFF, u'a'}},
      {"low first", {0xDC00, 0xD800}},
      {"two highs", {0xD800, 0xD800, 0xDC00}},
      {"low after a pair", {0xD800, 0xDC00, 0xDFFF}},
  };
  for (const auto& row : kRefused) {
    std::string bytes;
    EXPECT_FALSE(path_text::ToUtf8(row.wide, bytes)) << row.why;
  }
}

TEST(PathText, BytesThatAreNotUtf8HaveNoText) {
  const struct {
    const char* why;
    std::string_view bytes;
  } kRefused[] = {
      {"following byte alone", "\x80"},
      {"two bytes cut", "a\xC3"},
      {"three bytes cut", "\xE2\x82"},
      {"four bytes cut", "\xF0\x9F\x98"},
      {"letter for a following byte", "\xC3(x"},
      {"NUL in two bytes", "\xC0\x80"},
      {"slash in two bytes", "\xC0\xAF"},
      {"slash in three bytes", "\xE0\x80\xAF"},
      {"slash in four bytes", "\xF0\x80\x80\xAF"},
      {"surrogate", "\xED\xA0\x80"},
      {"last surrogate", "\xED\xBF\xBF"},
      {"above the last code point", "\xF4\x90\x80\x80"},
      {"first byte F5", "\xF5\x80\x80\x80"},
      {"first byte FF", "\xFF"},
  };
  for (const auto& row : kRefused) {
    std::u16string wide;
    EXPECT_FALSE(path_text::ToUtf16(row.bytes, wide)) << row.why;
  }
}

}  // namespace
