// Sort orders of texts in all scripts, where the store has them from ICU: against ICU.
#include <unicode/ucol.h>

#include <algorithm>
#include <random>

#include "store_test.h"

namespace {

constexpr CEPROPID kText = Prop(1, CEVT_LPWSTR);

using TextOrders = DatabaseTest;

TEST_F(TextOrders, AHangulSyllableAndItsLettersAreEqual) {
  Create({{kText, CEDB_SORT_UNIQUE}});
  EXPECT_NE(Write(handle_, 0, {Text(1, u"\uAC00")}), 0u);
  EXPECT_REFUSED(Write(handle_, 0, {Text(1, u"\u1100\u1161")}), ERROR_ALREADY_EXISTS);
}

// Texts out of pieces that the collation treats each in its own way.
std::vector<std::u16string> RandomTexts(size_t count) {
  const std::u16string kPieces[] = {
      u"a",      u"A",      u"b",      u"B",      u"z",      u"Z",          u"0",          u"9",      u" ",
      u"-",      u"_",      u"'",      u".",      u"~",      u"\x01",       u"\x1F",       u"\x7F",   u"\t",
      u"ae",     u"\u00E4", u"\u00C4", u"\u00DF", u"ss",     u"\u00E6",     u"\u0131",     u"\u03B1", u"\u0416",
      u"\u4E00", u"\uAC00", u"\u3042", u"\u30A2", u"\uFF21", u"\U0001F600", u"\U00020000", u"\u00A0"};
  std::minstd_rand random(7);
  std::vector<std::u16string> texts = {u""};
  while (texts.size() < count) {
    std::u16string text = random() % 4 == 0 ? u"a text of common start" : u"";
    for (size_t length = 1 + random() % 5; length > 0; length--) text += kPieces[random() % std::size(kPieces)];
    texts.push_back(text);
  }
  return texts;
}

TEST_F(TextOrders, TextsStandInTheOrderOfTheRootCollation) {
  Create({{kText, 0}, {Prop(2, CEVT_LPWSTR), CEDB_SORT_CASEINSENSITIVE}});
  std::vector<std::pair<CEOID, std::u16string>> texts;
  for (const std::u16string& text : RandomTexts(1500)) {
    texts.push_back({Write(handle_, 0, {Text(1, text.c_str()), Text(2, text.c_str())}), text});
  }
  for (bool case_counts : {true, false}) {
    UErrorCode error = U_ZERO_ERROR;
    UCollator* collator = ucol_open("", &error);
    ASSERT_TRUE(U_SUCCESS(error));
    ucol_setStrength(collator, case_counts ? UCOL_TERTIARY : UCOL_SECONDARY);
    std::stable_sort(texts.begin(), texts.end(), [&](const auto& a, const auto& b) {
      UCollationResult order = ucol_strcoll(collator, a.second.c_str(), -1, b.second.c_str(), -1);
      return order != UCOL_EQUAL ? order == UCOL_LESS : a.first < b.first;
    });
    ucol_close(collator);
    std::vector<CEOID> expected;
    for (const auto& [record, text] : texts) expected.push_back(record);
    EXPECT_EQ(Order(Open(case_counts ? kText : Prop(2, CEVT_LPWSTR))), expected) << "case counts: " << case_counts;
  }
}

}  // namespace
