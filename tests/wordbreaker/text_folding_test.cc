#include "text_folding.h"

#include <gtest/gtest.h>
#include <unicode/uchar.h>

#include <random>

#include "slow_search.h"

namespace {

using wordbreaker::FoldCharacter;
using wordbreaker::FoldText;

std::u16string Folded(std::u16string_view text) {
  std::u16string folded = u"left from the last text";
  FoldText(text, folded);
  return folded;
}

std::u16string TextOf(char32_t character) {
  if (character < 0x10000) return std::u16string(1, static_cast<char16_t>(character));
  return {static_cast<char16_t>(0xD7C0 + (character >> 10)), static_cast<char16_t>(0xDC00 + (character & 0x3FF))};
}

TEST(TextFolding, CaseAndAccentsAreAside) {
  const struct {
    const char* why;
    std::u16string text;
    std::u16string folded;
  } kFoldings[] = {
      {"empty", u"", u""},
      {"ASCII", u"Hello, World_9", u"hello, world_9"},
      {"accents", u"\u00C9cole \u00E0 No\u00EBl", u"ecole a noel"},
      {"accents apart from their letters", u"e\u0301cole", u"ecole"},
      {"several marks on one letter", u"\u1EC7 e\u0323\u0302", u"e e"},
      {"umlauts are letters with marks", u"\u00C4\u00D6\u00DC", u"aou"},
      {"sharp s and its capital", u"\u00DF\u1E9E", u"ssss"},
      {"sigma at the end of a word", u"\u03A3\u03C3\u03C2", u"\u03C3\u03C3\u03C3"},
      {"iota below is a mark", u"\u1FB3 \u1FBC", u"\u03B1 \u03B1"},
      {"Cyrillic letters with marks", u"\u0401\u0419", u"\u0435\u0438"},
      {"dotted I of Turkish", u"\u0130", u"i"},
      {"dotless i of Turkish stays", u"\u0131", u"\u0131"},
      {"strokes stay", u"\u00D8\u0141\u0110", u"\u00F8\u0142\u0111"},
      {"ligatures", u"\uFB03\uFB01", u"ffifi"},
      {"full width", u"\uFF21\uFF11", u"a1"},
      {"half-width katakana with its sound mark", u"\uFF76\uFF9E", u"\u30AB"},
      {"Hangul syllables fall into letters", u"\uD55C", u"\u1112\u1161\u11AB"},
      {"soft hyphen and joiners", u"co\u00ADop\u200D\u200C", u"coop"},
      {"Hebrew points", u"\u05E9\u05C1\u05B8", u"\u05E9"},
      {"letters outside the first plane", u"\U00010400", u"\U00010428"},
      {"mathematical letters", u"\U0001D400", u"a"},
      {"emoji stay", u"\U0001F600", u"\U0001F600"},
      {"halves of pairs stay", {0xDC00, u'A', 0xD800}, {0xDC00, u'a', 0xD800}},
  };
  for (const auto& row : kFoldings) EXPECT_EQ(Shown(Folded(row.text)), Shown(row.folded)) << row.why;
}

TEST(TextFolding, EveryCharacterFoldsAsAWholeTextDoes) {
  for (char32_t character = 0; character <= 0x10FFFF; ++character) {
    const std::u16string text = TextOf(character);
    ASSERT_TRUE(FoldCharacter(character).units == SlowFold(text)) << Shown(text);
  }
}

TEST(TextFolding, FoldingWhatIsFoldedChangesNothing) {
  for (char32_t character = 0; character <= 0x10FFFF; ++character) {
    const std::u16string once(FoldCharacter(character).units);
    ASSERT_TRUE(Folded(once) == once) << Shown(TextOf(character));
  }
}

// So a text is folded once on either side of a comparison, never what was folded before.
TEST(TextFolding, HalvesOfAPairThatAMarkHeldApartComeTogetherWithoutIt) {
  const std::u16string text = {u'\xD83B', u'\u094D', u'\xDE8E'};
  const std::u16string once = Folded(text);
  EXPECT_EQ(Shown(once), Shown(std::u16string{u'\xD83B', u'\xDE8E'}));
  EXPECT_EQ(once, SlowFold(text));
  EXPECT_NE(Folded(once), once);
}

TEST(TextFolding, UpperAndLowerCaseFoldAlike) {
  for (char32_t character = 0; character <= 0x10FFFF; ++character) {
    // The capital of the dotless i is the plain I, and that of the iota below vowels is a letter.
    if (character == 0x131 || character == 0x345) continue;
    const std::u16string_view folded = FoldCharacter(character).units;
    for (const UChar32 other :
         {u_toupper(static_cast<UChar32>(character)), u_tolower(static_cast<UChar32>(character))}) {
      ASSERT_TRUE(FoldCharacter(static_cast<char32_t>(other)).units == folded) << Shown(TextOf(character));
    }
  }
}

TEST(TextFolding, PlacesAreTheSameWhenEachUnitFoldsToOne) {
  const struct {
    const char* why;
    std::u16string text;
    bool same;
  } kTexts[] = {
      {"empty", u"", true},
      {"ASCII", u"Hello, World_9", true},
      {"a zero", std::u16string(3, u'\0'), true},
      {"accented letters", u"\u00C9cole \u00E0 No\u00EBl", true},
      {"letters beyond the table", u"\u1EC7\u1FB3\u6771 \u2019", true},
      {"halves of pairs, each by itself", {0xDC00, u'A', 0xD800}, true},
      {"a letter that falls into two", u"Stra\u00DFe", false},
      {"a character that goes", u"co\u00ADop", false},
      {"an accent apart", u"e\u0301", false},
      {"two that make up for one another", u"\u00DF\u00AD", false},
      {"a pair", u"\U00010400", false},
      {"a pair that folds to one unit", u"\U0001D400", false},
  };
  for (const auto& row : kTexts) {
    for (const size_t plain : {0u, 15u, 16u, 40u}) {
      std::u16string folded;
      EXPECT_EQ(FoldText(std::u16string(plain, u'A') + row.text, folded), row.same) << row.why << " behind " << plain;
      EXPECT_EQ(Shown(folded), Shown(SlowFold(std::u16string(plain, u'A') + row.text))) << row.why;
    }
  }
}

TEST(TextFolding, LongTextsWithFewCharactersOutsideAsciiFoldAsWholeTextsDo) {
  std::mt19937 random(1813);
  for (int round = 0; round < 5000; ++round) {
    std::u16string text;
    const auto rarely = 1 + random() % 60;
    for (size_t length = random() % 120; length > 0; --length) {
      const bool plain = random() % rarely != 0;
      text += TextOf(static_cast<char32_t>(plain ? 1 + random() % 0x7F : random() % 0x2100));
    }
    ASSERT_EQ(Shown(Folded(text)), Shown(SlowFold(text))) << Shown(text);
  }
}

TEST(TextFolding, RandomTextsFoldAsWholeTextsDo) {
  std::mt19937 random(20240229);
  for (int round = 0; round < 20000; ++round) {
    std::u16string text;
    for (size_t length = random() % 12; length > 0; --length) {
      // Marks and letters of many scripts, halves of pairs among them.
      const auto mark = 0x300 + random() % 0x70;
      const auto letter = random() % (random() % 8 == 0 ? 0x20000 : 0x3200);
      text += TextOf(static_cast<char32_t>(random() % 4 == 0 ? mark : letter));
    }
    ASSERT_EQ(Shown(Folded(text)), Shown(SlowFold(text))) << Shown(text);
  }
}

}  // namespace
