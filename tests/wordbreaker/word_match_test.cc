#include <gtest/gtest.h>

#include "match_cases.h"

namespace {

TEST(WordMatch, EveryWordOfTheSearchBeginsAWordOfTheText) {
  ExpectAll({
      {"a whole word", u"world", u"Hello world", true},
      {"the beginning of a word", u"wor", u"Hello world", true},
      {"the end of a word", u"orld", u"Hello world", false},
      {"more than the word", u"worlds", u"Hello world", false},
      {"two words in any order", u"world hel", u"Hello world", true},
      {"one of two words is missing", u"hello moon", u"Hello world", false},
      {"the same word may serve two", u"hel hello", u"Hello world", true},
      {"a word twice", u"hello hello", u"Hello", true},
      {"a later word after a false start", u"an", u"Johann and", true},
      {"only false starts", u"an", u"Johann ran", false},
      {"a word longer than the text", u"hello", u"he", false},
      {"letter case", u"HELLO", u"hello", true},
      {"words do not run together", u"helloworld", u"hello world", false},
      {"a search is no phrase", u"hello, world!", u"world: hello", true},
  });
}

TEST(WordMatch, ASearchWithoutWordsFindsEveryText) {
  for (const char16_t* search :
       {u"", u" ", u" \t\r\n", u"...!?", u"- \u2013 \u2014", u"\U0001F600", u"\u0301", u"\u00BD", u"_"}) {
    for (const char16_t* text : {u"", u"text", u"\u00E4", u"!", u"\U0001F600"}) {
      EXPECT_TRUE(Found(search, text)) << Shown(search) << " in " << Shown(text);
    }
  }
}

TEST(WordMatch, ATextWithoutWordsIsFoundByNoWord) {
  for (const char16_t* text : {u"", u" ", u"...!?", u"\U0001F600", u"\u0301", u"-"}) {
    EXPECT_FALSE(Found(u"a", text)) << Shown(text);
  }
}

TEST(WordMatch, EmojiAndPunctuationAreNoWords) {
  ExpectAll({
      {"the emoji of a search does not count", u"\U0001F600 party", u"party", true},
      {"a word behind an emoji", u"party", u"\U0001F389party", true},
      {"a family of joined emoji", u"\U0001F468\u200D\U0001F469\u200D\U0001F467 smith", u"smith", true},
      {"flags", u"\U0001F1E9\U0001F1EA", u"nothing", true},
      {"brackets around a word", u"word", u"(word)", true},
      {"quotation marks", u"\"word\"", u"\u201Eword\u201C", true},
      {"a slash divides", u"or", u"and/or", true},
      {"at sign is part of a word", u"example", u"me@example.org", false},
      {"an address by its beginning", u"me@exa", u"me@example.org", true},
      {"low line is part of a word", u"name", u"file_name", false},
      {"low line alone is no word", u"__", u"a _ b", false},
      {"a low line with a mark at its end makes it no word", u"na", u"name_\u0308", false},
  });
}

TEST(WordMatch, Digits) {
  ExpectAll({
      {"the beginning of a number", u"12", u"1234", true},
      {"the middle of a number", u"23", u"1234", false},
      {"a decimal number is one word", u"14", u"3.14", false},
      {"a decimal number by its beginning", u"3", u"3.14", true},
      {"a decimal number whole", u"3.14", u"pi is 3.14159", true},
      {"thousands", u"1,000", u"1,000,000", true},
      {"letters and digits hold together", u"b2", u"a1b2", false},
      {"a point at the end is no part", u"14.", u"in 14 days", true},
      {"a date is not one number", u"12", u"5-12-2024", true},
      {"full width digits", u"12", u"\uFF11\uFF12\uFF13", true},
  });
}

TEST(WordMatch, ApostrophesJoinAndHyphensDivide) {
  ExpectAll({
      {"apostrophe inside", u"neil", u"O'Neil", false},
      {"apostrophe in the search", u"o'ne", u"O'Neil", true},
      {"curly apostrophe is another character", u"o\u2019neil", u"O'Neil", false},
      {"curly apostrophe joins, too", u"neil", u"O\u2019Neil", false},
      {"apostrophe at the end is no part", u"dogs'", u"dogs", true},
      {"hyphen divides", u"known", u"well-known", true},
      {"hyphen in the search", u"well-known", u"a known well", true},
      {"soft hyphen is not there", u"schifffahrt", u"Schiff\u00ADfahrt", true},
      {"soft hyphen does not divide", u"fahrt", u"Schiff\u00ADfahrt", false},
      {"point between letters joins", u"org", u"example.org", false},
      {"colon between letters divides in root", u"b", u"a:b", true},
  });
}

TEST(WordMatch, Latin) {
  ExpectAll({
      {"accent in the text", u"ecole", u"L'\u00E9cole", false},
      {"accent in the text, word of its own", u"ecole", u"une \u00E9cole", true},
      {"accent in the search", u"\u00E9cole", u"une ecole", true},
      {"accent apart in the text", u"\u00E9co", u"une e\u0301cole", true},
      {"accent apart in the search", u"e\u0301co", u"une \u00C9COLE", true},
      {"an accent does not begin a word", u"cole", u"e\u0301cole", false},
      {"enclosing marks stay", u"ab", u"a\u20DDb", false},
      {"many marks", u"zalgo", u"z\u0351\u0300a\u0310l\u0322g\u0361o\u0301", true},
      {"Vietnamese", u"viet", u"Ti\u1EBFng Vi\u1EC7t", true},
      {"Polish stroke stays", u"lodz", u"\u0141\u00F3d\u017A", false},
      {"Czech", u"rehor", u"\u0158eho\u0159", true},
      {"ligature", u"fi", u"\uFB01nd", true},
      {"half a ligature", u"f", u"\uFB01nd", true},
      {"behind half a ligature", u"ind", u"\uFB01nd", false},
  });
}

TEST(WordMatch, German) {
  ExpectAll({
      {"sharp s as ss", u"strasse", u"Lange Stra\u00DFe", true},
      {"ss as sharp s", u"stra\u00DFe", u"LANGE STRASSE", true},
      {"capital sharp s", u"STRA\u1E9EE", u"stra\u00DFe", true},
      {"half a sharp s", u"stras", u"Stra\u00DFe", true},
      {"umlaut by its letter", u"mu", u"M\u00FCller", true},
      {"umlaut is no ue", u"mueller", u"M\u00FCller", false},
      {"capital umlaut", u"\u00DCBER", u"\u00FCberall", true},
      {"compound words are not split", u"schiff", u"Donaudampfschiff", false},
      {"compound words by their beginning", u"donau", u"Donaudampfschiff", true},
  });
}

TEST(WordMatch, GreekAndCyrillic) {
  ExpectAll({
      {"final sigma", u"\u03BF\u03B4\u03CC\u03C3", u"\u03BF\u03B4\u03CC\u03C2", true},
      {"capital sigma", u"\u039F\u0394\u039F\u03A3", u"\u03BF\u03B4\u03CC\u03C2", true},
      {"final sigma in front of more", u"\u03BF\u03B4\u03BF\u03C2", u"\u03BF\u03B4\u03BF\u03C3\u03C4", true},
      {"iota below", u"\u03C4\u03C9", u"\u03C4\u1FF7", true},
      {"yo by ye", u"\u0435\u043B\u043A\u0430", u"\u0401\u043B\u043A\u0430", true},
      {"ye by yo", u"\u0451\u043B\u043A\u0430", u"\u0415\u041B\u041A\u0410", true},
      {"short i by i", u"\u0438\u043E\u0434", u"\u0419\u043E\u0434", true},
      {"short i apart", u"\u0439\u043E\u0434", u"\u0418\u0306\u043E\u0434", true},
      {"the end of a word", u"\u043B\u043A\u0430", u"\u0401\u043B\u043A\u0430", false},
      {"Latin a is no Cyrillic a", u"a", u"\u0430", false},
  });
}

TEST(WordMatch, TurkishI) {
  ExpectAll({
      {"dotted capital by plain i", u"istanbul", u"\u0130STANBUL", true},
      {"plain I by dotted capital", u"\u0130stanbul", u"ISTANBUL", true},
      {"plain i by dotted capital", u"\u0130stanbul", u"istanbul", true},
      {"dotless by itself", u"\u0131sparta", u"\u0131sparta", true},
      {"dotless is not the plain i", u"isparta", u"\u0131sparta", false},
      {"nor the plain I", u"\u0131sparta", u"ISPARTA", false},
  });
}

TEST(WordMatch, SurrogatePairsAndTheirHalves) {
  const std::u16string high(1, u'\xD800');
  const std::u16string low(1, u'\xDC00');
  ExpectAll({
      {"letters outside the first plane, without case", u"\U00010428", u"\U00010400\U00010401", true},
      {"and not inside a word", u"\U00010429", u"\U00010400\U00010401", false},
      {"mathematical letters", u"abc", u"\U0001D400\U0001D401\U0001D402\U0001D403", true},
      {"ideograph outside the first plane", u"\U00020000", u"x \U00020000", true},
      {"half a pair is no word", high, u"text", true},
      {"the other half, too", low, u"", true},
      {"half a pair divides", u"b", u"a" + high + u"b", true},
      {"the other half divides", u"b", u"a" + low + u"b", true},
      {"halves in the wrong order", u"b", low + high + u"b", true},
      {"half a pair at the end", u"a", u"a" + high, true},
      {"in search and text", u"a" + high, high + u"a" + low, true},
  });
}

TEST(WordMatch, VeryLongTexts) {
  const std::u16string plain(100000, u'a');
  std::u16string accented;
  std::u16string words;
  std::u16string ideographs;
  for (int i = 0; i < 100000; ++i) {
    accented += u"\u00E1";
    ideographs += u"\u6771";
    words += u"\u00E4b ";
  }
  EXPECT_TRUE(Found(plain, plain));
  EXPECT_FALSE(Found(plain + u"a", plain));
  EXPECT_FALSE(Found(std::u16string(50000, u'a') + u"b", plain));
  EXPECT_FALSE(Found(std::u16string(50000, u'a') + u"b", accented));
  EXPECT_TRUE(Found(std::u16string(50000, u'a'), accented));
  EXPECT_FALSE(Found(std::u16string(5000, u'a') + u"b", accented.substr(0, 10000)));
  EXPECT_FALSE(Found(u"\u6771\u4EAC", ideographs));
  EXPECT_TRUE(Found(u"\u6771", ideographs));
  EXPECT_FALSE(Found(u"b", accented + u"b"));
  EXPECT_TRUE(Found(u"ab z", words + u"Z"));
  EXPECT_FALSE(Found(u"b", words));
  EXPECT_TRUE(Found(words, u"AB"));
}

}  // namespace
