// The tables that stand for ICU where there is none, and the rules over them, against ICU.
#include "word_tables.h"

#include <gtest/gtest.h>
#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/uscript.h>

#include <random>

#include "character_data.h"
#include "slow_search.h"
#include "text_folding.h"
#include "word_boundaries.h"
#include "word_language.h"
#include "word_search.h"

namespace {

using wordbreaker::WordBoundaries;
using wordbreaker::WordClass;

std::u16string TextOf(char32_t character) {
  if (character < 0x10000) return std::u16string(1, static_cast<char16_t>(character));
  return {static_cast<char16_t>(0xD7C0 + (character >> 10)), static_cast<char16_t>(0xDC00 + (character & 0x3FF))};
}

TEST(WordTables, EveryCharacterIsFoldedAsIcuFoldsIt) {
  for (char32_t character = 0; character < 0x110000; ++character) {
    if (character >= 0xD800 && character < 0xE000) continue;
    const std::u16string text = TextOf(character);
    ASSERT_EQ(wordbreaker::FoldingOf(character), SlowFold(text)) << Shown(text);
  }
}

// One boundary a piece, behind it, with a mark behind that of a word.
std::string IcuPieces(std::u16string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  static UBreakIterator* const iterator = ubrk_open(UBRK_WORD, "", nullptr, 0, &status);
  ubrk_setText(iterator, text.data(), static_cast<int32_t>(text.size()), &status);
  EXPECT_TRUE(U_SUCCESS(status));
  std::string pieces;
  ubrk_first(iterator);
  for (int32_t end = ubrk_next(iterator); end != UBRK_DONE; end = ubrk_next(iterator)) {
    pieces += std::to_string(end) + (ubrk_getRuleStatus(iterator) >= UBRK_WORD_NONE_LIMIT ? "w " : " ");
  }
  return pieces;
}

std::string Pieces(WordBoundaries& boundaries, std::u16string_view text) {
  std::string pieces;
  boundaries.SetText(text);
  for (size_t end = boundaries.Next(); end != WordBoundaries::kEnd; end = boundaries.Next()) {
    pieces += std::to_string(end) + (boundaries.HasPassedWord() ? "w " : " ");
  }
  return pieces;
}

// Scripts that ICU cuts by dictionary are cut in another way here.
bool IsCutByRules(char32_t character) {
  const auto point = static_cast<UChar32>(character);
  UErrorCode status = U_ZERO_ERROR;
  const UScriptCode script = uscript_getScript(point, &status);
  return u_getIntPropertyValue(point, UCHAR_LINE_BREAK) != U_LB_COMPLEX_CONTEXT && script != USCRIPT_HIRAGANA &&
         script != USCRIPT_KATAKANA && script != USCRIPT_HAN && !(character >= 0xAC00 && character <= 0xD7A3) &&
         u_getIntPropertyValue(point, UCHAR_WORD_BREAK) != U_WB_KATAKANA &&
         !u_hasBinaryProperty(point, UCHAR_IDEOGRAPHIC);
}

// All of the scripts that texts are mostly in, and one in seven of the others.
TEST(WordTables, CharactersHoldToTheirNeighboursAsTheyDoInIcu) {
  WordBoundaries boundaries("");
  for (char32_t character = 1; character < 0x110000; character += character < 0x2100 ? 1 : 7) {
    if ((character >= 0xD800 && character < 0xE000) || !IsCutByRules(character)) continue;
    const std::u16string one = TextOf(character);
    const std::u16string text =
        u"a" + one + u"a 1" + one + u"1 \u05D0" + one + u"\u05D0 " + one + one + u"\u0301_" + one;
    ASSERT_EQ(Pieces(boundaries, text), IcuPieces(text)) << Shown(text);
  }
}

// Some of each class, and more of those that hold others together.
std::u16string RandomText(std::minstd_rand& random) {
  static const std::vector<std::u16string> kPieces = [] {
    std::vector<std::u16string> pieces = {u"a", u"1",      u"'",      u".",  u",",  u"_",
                                          u" ", u"\u0301", u"\u05D0", u"\"", u"\r", u"\n"};
    for (const auto& run : wordbreaker::WordClassRuns()) {
      if (IsCutByRules(run.first) && run.first < 0x2000) pieces.push_back(TextOf(run.first));
    }
    for (const char16_t* more : {u"\u200D", u"\u2019", u"\u00B7", u":", u"@", u"\U0001F600", u"\U0001F1E9", u"\u00AD"})
      pieces.push_back(more);
    return pieces;
  }();
  std::u16string text;
  for (size_t count = random() % 9; count > 0; --count) {
    text += kPieces[random() % 2 == 0 ? random() % 12 : random() % kPieces.size()];
  }
  return text;
}

TEST(WordTables, RandomTextsAreCutAsIcuCutsThem) {
  std::minstd_rand random(3);
  WordBoundaries boundaries("");
  for (int round = 0; round < 50000; ++round) {
    const std::u16string text = RandomText(random);
    ASSERT_EQ(Pieces(boundaries, text), IcuPieces(text)) << Shown(text) << " in round " << round;
  }
}

TEST(WordTables, SearchesFindWhatIcuFinds) {
  std::minstd_rand random(4);
  const wordbreaker::WordLanguage language("");
  size_t found = 0;
  for (int round = 0; round < 20000; ++round) {
    const std::u16string search = RandomText(random).substr(0, 3);
    const std::u16string text = RandomText(random) + u" " + RandomText(random);
    const bool finds = wordbreaker::WordSearch(search, language).Finds(text);
    ASSERT_EQ(finds, SlowFinds(search, text, "")) << Shown(search) << " in " << Shown(text);
    found += finds ? 1 : 0;
  }
  EXPECT_GT(found, 1000u);
}

TEST(WordTables, ABoundaryIsFoundAtEachPlaceAndGoneOnFrom) {
  WordBoundaries boundaries("");
  boundaries.SetText(u"ab, c");
  const bool kIs[] = {true, false, true, true, true, true};
  for (size_t place = 0; place < std::size(kIs); ++place) EXPECT_EQ(boundaries.IsBoundary(place), kIs[place]) << place;
  EXPECT_TRUE(boundaries.IsBoundary(3));
  EXPECT_EQ(boundaries.Next(), 4u);
  EXPECT_FALSE(boundaries.HasPassedWord());
  EXPECT_EQ(boundaries.Next(), 5u);
  EXPECT_TRUE(boundaries.HasPassedWord());
  EXPECT_EQ(boundaries.Next(), WordBoundaries::kEnd);
}

TEST(WordTables, NamesOfLocalesHaveTheShapeOfLanguageTags) {
  for (const char* name : {"", "de", "de-DE", "de_DE", "zh-Hant-TW", "x-own", "en-u-ca-buddhist"})
    EXPECT_TRUE(wordbreaker::LocaleOfName(name)) << name;
  EXPECT_TRUE(wordbreaker::LocaleOfName(nullptr));
  for (const char* name : {"d", "-", "de-", "-de", "de--DE", "de-DE-", "toolonglanguage", "de DE", "1", "en-u"})
    EXPECT_FALSE(wordbreaker::LocaleOfName(name)) << name;
}

}  // namespace
