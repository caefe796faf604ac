#include "file_pattern.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(FilePattern, StarsAndQuestionMarksStandForCharacters) {
  const struct {
    const char* why;
    std::u16string_view pattern;
    std::u16string_view name;
    bool matches;
  } kCases[] = {
      {"empty pattern matches nothing but the empty name", u"", u"a", false},
      {"plain name", u"a.cdb", u"a.cdb", true},
      {"plain name is whole", u"a.cd", u"a.cdb", false},
      {"case counts", u"*.CDB", u"a.cdb", false},
      {"star alone", u"*", u"anything.at.all", true},
      {"star may be empty", u"a*", u"a", true},
      {"star in front", u"*.cdb", u"x.cdb", true},
      {"star takes points, too", u"*.cdb", u".x.cdb", true},
      {"the point is a character", u"*.*", u"name", false},
      {"star must give back", u"*ab", u"aab", true},
      {"star gives back again and again", u"*a*b*c", u"xxaxxbxxbxxc", true},
      {"the last star must reach the end", u"*a*b", u"abx", false},
      {"many stars", u"***", u"", true},
      {"one question mark", u"?", u"a", true},
      {"a question mark needs a character", u"?", u"", false},
      {"question mark stands for one", u"?", u"ab", false},
      {"both together", u"?*?", u"ab", true},
      {"both together need two", u"?*?", u"a", false},
      {"a pair is one character", u"a?b", u"a\U0001F600b", true},
      {"a pair is not two characters", u"??", u"\U0001F600", false},
  };
  for (const auto& row : kCases) EXPECT_EQ(file_pattern::Matches(row.pattern, row.name), row.matches) << row.why;
}

TEST(FilePattern, ManyStarsTakeNoLongTime) {
  std::u16string pattern;
  for (int i = 0; i < 60; ++i) pattern += u"*a";
  EXPECT_FALSE(file_pattern::Matches(pattern + u"b", std::u16string(255, u'a')));
}

}  // namespace
