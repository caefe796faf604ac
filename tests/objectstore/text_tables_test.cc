// The tables that stand for ICU where there is none: against ICU itself, for the letters that they know, and by their own
// rule for all others.
#include "text_tables.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "case_folding.h"
#include "collation_icu.h"

namespace {

using objectstore::Collation;
using objectstore::CollationTable;

constexpr CollationSettings kSettings[] = {
    {"accents and case count", 0, UCOL_TERTIARY, false, false, 3},
    {"case does not count", CEDB_SORT_CASEINSENSITIVE, UCOL_SECONDARY, false, false, 2},
    {"neither counts", CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_IGNORENONSPACE, UCOL_PRIMARY, false, false, 1},
};

// All that the tables know but the middle dots, which contract with an l.
std::u16string KnownCharacters() {
  std::u16string characters;
  for (const auto& block : CollationTable::kBlocks) {
    for (char16_t unit = std::max(block.begin, char16_t{1}); unit < block.end; ++unit) {
      if (unit != 0x00B7 && unit != 0x0387) characters.push_back(unit);
    }
  }
  return characters;
}

std::u16string RandomText(std::mt19937& random, std::u16string_view characters, size_t most) {
  std::u16string text(random() % (most + 1), u' ');
  for (char16_t& unit : text) unit = characters[random() % characters.size()];
  return text;
}

class TextTables : public testing::TestWithParam<CollationSettings> {};

TEST_P(TextTables, EachKnownCharacterHasIcusKey) {
  const IcuCollator icu = OpenIcu(GetParam());
  const Collation& tables = Collation::ForFlags(GetParam().flags);
  for (const char16_t unit : KnownCharacters()) {
    const std::u16string text(1, unit);
    EXPECT_EQ(KeyOf(tables, text), IcuKey(icu, text)) << Units(text);
  }
}

// Without marks, whose place among others is settled elsewhere.
TEST_P(TextTables, TextsOfAnyLengthHaveIcusKeys) {
  const IcuCollator icu = OpenIcu(GetParam());
  const Collation& tables = Collation::ForFlags(GetParam().flags);
  std::u16string letters = KnownCharacters();
  std::erase_if(letters, [](char16_t unit) { return u_getCombiningClass(unit) != 0; });
  std::mt19937 random(1);
  for (const size_t most : {size_t{3}, size_t{30}, size_t{300}, size_t{3000}}) {
    for (int round = 0; round < 60; ++round) {
      const std::u16string text = RandomText(random, letters, most);
      ASSERT_EQ(KeyOf(tables, text), IcuKey(icu, text)) << Units(text);
    }
  }
}

TEST_P(TextTables, MarksAreTakenAsIcuTakesThem) {
  const IcuCollator icu = OpenIcu(GetParam());
  const Collation& tables = Collation::ForFlags(GetParam().flags);
  constexpr std::u16string_view kLettersAndMarks =
      u"aeouyAEOUYczns\u0438\u0418\u0443\u03B1\u03C9"
      u"\u0300\u0301\u0302\u0303\u0304\u0306\u0307\u0308\u030A\u030C\u031B\u0323\u0327\u0328\u0345";
  std::mt19937 random(2);
  for (int round = 0; round < 20000; ++round) {
    const std::u16string a = RandomText(random, kLettersAndMarks, 6);
    const std::u16string b = RandomText(random, kLettersAndMarks, 6);
    const std::vector<uint8_t> key_a = KeyOf(tables, a);
    const std::vector<uint8_t> key_b = KeyOf(tables, b);
    const size_t both = std::min(key_a.size(), key_b.size());
    const int order = Sign(std::memcmp(key_a.data(), key_b.data(), both));
    ASSERT_EQ(order, IcuOrder(icu, a, b)) << Units(a) << "against " << Units(b);
  }
}

// Letters of other blocks that are made of known ones, such as those of older Greek.
TEST_P(TextTables, LettersMadeOfKnownOnesHaveIcusKeys) {
  const IcuCollator icu = OpenIcu(GetParam());
  const Collation& tables = Collation::ForFlags(GetParam().flags);
  size_t count = 0;
  for (const auto& composition : objectstore::StoredCompositions().pairs) {
    const std::u16string text(1, composition.composed);
    const std::u16string among = u"x" + text + u"y";
    EXPECT_EQ(KeyOf(tables, text), IcuKey(icu, text)) << Units(text);
    EXPECT_EQ(KeyOf(tables, among), IcuKey(icu, among)) << Units(among);
    ++count;
  }
  EXPECT_GT(count, 750u);
}

TEST_P(TextTables, OtherCharactersSortBehindThoseThatAreKnownByTheirNumbers) {
  const Collation& tables = Collation::ForFlags(GetParam().flags);
  const struct {
    const char* why;
    std::u16string_view first, second;
  } kOrders[] = {
      {"behind the last Latin letter", u"\u017Ez", u"\u05D0"},
      {"behind the last Cyrillic letter", u"\u044F", u"\u05D0"},
      {"Hebrew before Arabic", u"\u05D0", u"\u0627"},
      {"by the second character", u"\u4E00\u4E01", u"\u4E00\u4E02"},
      {"a beginning before the whole", u"\u4E00", u"\u4E00\u4E00"},
      {"a letter before another, behind the same", u"\u4E00a", u"\u4E00\u4E00"},
      {"below the pairs of surrogates", u"\uFFFD", u"\U00010000"},
      {"pairs of surrogates", u"\U0001F600", u"\U0001F601"},
      {"half a pair", u"\xD800", u"\xD801"},
  };
  for (const auto& [why, first, second] : kOrders) {
    EXPECT_LT(KeyOf(tables, first), KeyOf(tables, second)) << why;
  }
}

TEST_P(TextTables, NoKeyHoldsAZeroBeforeItsEnd) {
  const Collation& tables = Collation::ForFlags(GetParam().flags);
  for (uint32_t unit = 1; unit <= 0xFFFF; unit += unit < 0x2100 ? 1 : 7) {
    const auto character = static_cast<char16_t>(unit);
    const std::vector<uint8_t> key = KeyOf(tables, {&character, 1});
    ASSERT_EQ(std::count(key.begin(), key.end(), 0), 1) << Units({&character, 1});
    ASSERT_EQ(key.back(), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(AllSettings, TextTables, testing::ValuesIn(kSettings), [](const auto& instance) {
  std::string name = instance.param.why;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
});

TEST(StoredFoldings, FoldEveryUnitAsIcuDoes) {
  for (uint32_t unit = 0; unit <= 0xFFFF; ++unit) {
    const auto expected = static_cast<char16_t>(u_foldCase(static_cast<UChar32>(unit), U_FOLD_CASE_DEFAULT));
    ASSERT_EQ(objectstore::FoldedCase(static_cast<char16_t>(unit)), expected) << unit;
  }
}

}  // namespace
