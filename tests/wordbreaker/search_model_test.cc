// The search against its slow twin, over random texts. Each alphabet holds a script's letters next to what may stand
// between and upon them; searches are often cut out of the text, so that many are found.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "slow_search.h"
#include "word_search.h"

namespace {

using wordbreaker::WordLanguage;
using wordbreaker::WordSearch;

struct Alphabet {
  const char* name;
  std::vector<std::u16string> pieces;
};

const Alphabet& Ascii() {
  static const Alphabet kAscii = [] {
    Alphabet alphabet{"every ASCII character", {}};
    for (char16_t c = 1; c < 128; ++c) alphabet.pieces.emplace_back(1, c);
    return alphabet;
  }();
  return kAscii;
}

const Alphabet kAsciiWords{
    "ASCII that makes and joins words",
    {u"a", u"B", u"b", u"1", u"2", u"_", u"@", u".", u":", u"'", u",", u";", u" ", u"-", u"\"", u"\r", u"\n", u"/"}};

const Alphabet kOthers[] = {
    {"Latin", {u"a", u"\u00E4", u"\u00C4", u"s",      u"\u00DF", u"\u1E9E", u"\uFB01", u"f",
               u"i", u"\u0130", u"\u0131", u"\u0301", u"\u0308", u"\u00AD", u"'",      u"\u2019",
               u".", u" ",      u"-",      u"1",      u"_",      u"@",      u":",      u"\u00B7"}},
    {"Greek",
     {u"\u03B1", u"\u0391", u"\u1FB3", u"\u0345", u"\u03C3", u"\u03C2", u"\u03A3", u"\u037A", u"\u0387", u" ",
      u"\u0301", u"\u00B7", u"\u1FBD"}},
    {"Cyrillic", {u"\u0451", u"\u0415", u"\u0439", u"\u0418", u"\u0306", u"\u0308", u"\u0488", u" ", u"-", u"."}},
    {"Hebrew and Arabic",
     {u"\u05D0", u"\u05D1", u"\u05B8", u"\"", u"'", u"\u05F3", u"\u05F4", u"\u0627", u"\u064B", u"\u0600", u"\u0661",
      u"\u066B", u"\u06DD", u" ", u"a", u"1"}},
    {"Devanagari",
     {u"\u0915", u"\u094D", u"\u0937", u"\u093F", u"\u0941", u"\u0902", u"\u200D", u"\u200C", u" ", u"\u0964"}},
    {"Thai",
     {u"\u0E20", u"\u0E32", u"\u0E29", u"\u0E44", u"\u0E17", u"\u0E22", u"\u0E01", u"\u0E31", u"\u0E19", u"\u0E33",
      u"\u0E49", u"\u0E2B", u" ", u"a", u"1", u"\u0E20\u0E32\u0E29\u0E32", u"\u0E44\u0E17\u0E22"}},
    {"Japanese",
     {u"\u6771", u"\u4EAC", u"\u6771\u4EAC", u"\u306B", u"\u884C\u304F", u"\u304B", u"\u3099", u"\u304C", u"\u30C6",
      u"\u30EC", u"\u30FC", u"\uFF76", u"\uFF9E", u"\u3005", u"\u3002", u"\u3000", u"a", u"1"}},
    {"Korean", {u"\uD55C", u"\uAD6D", u"\u1112", u"\u1161", u"\u11AB", u"\u115F", u"\u3131", u"\uFFA1", u" ", u"a"}},
    {"symbols and halves of pairs",
     {u"\U0001F600",
      u"\U0001F468",
      u"\u200D",
      u"\uFE0F",
      u"\U0001F1E9",
      u"\U0001F1EA",
      u"\u00BD",
      u"\u2163",
      u"\u2460",
      u"\u20E3",
      u"#",
      u"1",
      u"a",
      u"\U00010400",
      u"\U0001D400",
      u"\U00020000",
      u"\u200B",
      u"\u2060",
      u"\u203F",
      u"\uFF3F",
      u"_",
      u"__",
      u" ",
      u"\u0378",
      u"\uFFFF",
      std::u16string(1, u'\xD800'),
      std::u16string(1, u'\xDC00')}},
};

class Texts {
 public:
  explicit Texts(const Alphabet& alphabet) : alphabet_(alphabet) {}

  std::u16string Text(size_t longest) {
    std::u16string text;
    for (size_t pieces = random_() % (longest + 1); pieces > 0; --pieces) {
      text += alphabet_.pieces[random_() % alphabet_.pieces.size()];
    }
    return text;
  }

  // Cut out of text, from anywhere to anywhere, or random.
  std::u16string Search(const std::u16string& text) {
    if (text.empty() || random_() % 3 == 0) return Text(3);
    const size_t start = random_() % text.size();
    return text.substr(start, 1 + random_() % 4) + (random_() % 4 == 0 ? u" " + Text(2) : u"");
  }

 private:
  const Alphabet& alphabet_;
  std::mt19937 random_{4711};
};

const char* const kLocales[] = {"", "sv", "en_US_POSIX", "th", "ja"};

void ExpectAgreement(const Alphabet& alphabet, const char* locale, int rounds, size_t longest = 12) {
  const WordLanguage language(locale);
  Texts texts(alphabet);
  int found = 0;
  for (int round = 0; round < rounds; ++round) {
    const std::u16string text = texts.Text(longest);
    const std::u16string search = texts.Search(text);
    const bool expected = SlowFinds(search, text, locale);
    WordSearch fast(search, language);
    ASSERT_EQ(fast.Finds(text), expected) << alphabet.name << ", locale \"" << locale << "\", round " << round << ": "
                                          << Shown(search) << " in " << Shown(text);
    ASSERT_EQ(fast.FindsTerminated(text.c_str()), expected) << alphabet.name << ", locale \"" << locale << "\", round "
                                                            << round << ": " << Shown(search) << " in " << Shown(text);
    ASSERT_EQ(fast.FindsInAnyText(text), expected) << alphabet.name << ", locale \"" << locale << "\", round " << round
                                                   << ": " << Shown(search) << " in " << Shown(text);
    found += expected;
  }
  EXPECT_GT(found, rounds / 10) << alphabet.name << ": nearly no text was found";
  EXPECT_LT(found, rounds - rounds / 10) << alphabet.name << ": nearly every text was found";
}

TEST(SearchModel, AsciiTextIsFoundAlikeByBothWaysAndBySlowSearch) {
  for (const char* locale : kLocales) {
    ExpectAgreement(Ascii(), locale, 2000);
    ExpectAgreement(kAsciiWords, locale, 4000);
  }
}

TEST(SearchModel, TextOfEveryScriptIsFoundAsBySlowSearch) {
  for (const Alphabet& alphabet : kOthers) {
    for (const char* locale : kLocales) ExpectAgreement(alphabet, locale, 1000);
  }
}

TEST(SearchModel, ScriptsMixedAtRandomAreFoundAsBySlowSearch) {
  Alphabet mixed{"all scripts", kAsciiWords.pieces};
  for (const Alphabet& alphabet : kOthers) {
    mixed.pieces.insert(mixed.pieces.end(), alphabet.pieces.begin(), alphabet.pieces.end());
  }
  for (const char* locale : kLocales) ExpectAgreement(mixed, locale, 2000);
}

// Long enough for many units to be looked at together, and words that are not in the text are often nearly so.
TEST(SearchModel, LongTextsAreFoundAsBySlowSearch) {
  const Alphabet plain{"ASCII words",
                       {u"the ", u"The ", u"there ", u"Theory", u"e", u"x", u"X", u"qu", u" ", u", ", u"o'clock ",
                        u"3.14", u"well-known ", u"file_name", u"@"}};
  Alphabet accented{"words with accents", plain.pieces};
  accented.pieces.insert(accented.pieces.end(), {u"th\u00E9 ", u"\u2019", u"x\u0301", u"Th\u00C9"});
  Alphabet every_kind{"words that fold to other lengths", accented.pieces};
  every_kind.pieces.insert(every_kind.pieces.end(),
                           {u"\u00DF", u"\uFB01", u"\u2026", u"\u00AD", u"\U0001D400", u"\u0442\u0435", u"\u6771"});
  for (const char* locale : {"", "sv"}) {
    for (const size_t longest : {25u, 60u}) {
      ExpectAgreement(plain, locale, 2000, longest);
      ExpectAgreement(accented, locale, 2000, longest);
      ExpectAgreement(every_kind, locale, 2000, longest);
    }
  }
}

TEST(SearchModel, EveryLetterBelowHebrewNextToEveryOtherKindIsFoundAsBySlowSearch) {
  const WordLanguage language("");
  for (char16_t letter = 0x80; letter < 0x600; ++letter) {
    for (const char16_t other : std::u16string_view(u"a1 _'.:\u0301\u00E4\u05D0\u30AB\u0E01")) {
      for (const std::u16string& text : {std::u16string{other, letter}, std::u16string{letter, other, letter}}) {
        for (const std::u16string& search : {std::u16string{letter}, std::u16string{other}, text}) {
          ASSERT_EQ(WordSearch(search, language).Finds(text), SlowFinds(search, text, ""))
              << Shown(search) << " in " << Shown(text);
        }
      }
    }
  }
}

TEST(SearchModel, OneSearchOverManyTextsAnswersEachForItself) {
  const WordLanguage language("");
  Alphabet mixed{"Latin and Thai", kOthers[0].pieces};
  mixed.pieces.insert(mixed.pieces.end(), kOthers[5].pieces.begin(), kOthers[5].pieces.end());
  Texts texts(mixed);
  for (const char16_t* search : {u"a", u"ass", u"\u0E44\u0E17\u0E22", u"s \u0E01", u"1"}) {
    WordSearch fast(search, language);
    for (int round = 0; round < 500; ++round) {
      const std::u16string text = texts.Text(20);
      ASSERT_EQ(fast.Finds(text), SlowFinds(search, text, "")) << Shown(search) << " in " << Shown(text);
    }
  }
}

}  // namespace
