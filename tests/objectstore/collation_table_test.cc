// Keys that are composed are ICU's, byte for byte, whatever stands beside a character; and what cannot be composed is left
// to ICU.
#include "collation_table.h"

#include <algorithm>
#include <new>
#include <stdexcept>

#include "collation_icu.h"

namespace {

using objectstore::Collation;
using objectstore::CollationTable;

CollationTable::KeySource SourceOf(const IcuCollator& collator) {
  return [&collator](std::u16string_view text, std::span<uint8_t> room) {
    return static_cast<size_t>(ucol_getSortKey(collator.get(), text.data(), static_cast<int32_t>(text.size()),
                                               room.data(), static_cast<int32_t>(room.size())));
  };
}

std::vector<uint8_t> Composed(const CollationTable& table, std::u16string_view text) {
  std::vector<uint8_t> key(32 + text.size() * 16);
  key.resize(table.KeyOf(text, key));
  return key;
}

std::vector<char16_t> ComposedCharacters(const CollationTable& table) {
  std::vector<char16_t> characters;
  for (uint32_t unit = 0; unit <= 0xFFFF; unit++) {
    const auto character = static_cast<char16_t>(unit);
    if (!Composed(table, {&character, 1}).empty()) characters.push_back(character);
  }
  return characters;
}

class CollationTables : public testing::TestWithParam<CollationSettings> {};

// Each text goes through all characters with the same one before and after each.
TEST_P(CollationTables, AllPairsOfCharactersHaveIcusKeys) {
  const IcuCollator icu = OpenIcu(GetParam());
  const CollationTable table(SourceOf(icu), GetParam().table_levels);
  const std::vector<char16_t> characters = ComposedCharacters(table);
  ASSERT_GT(characters.size(), 1500U);
  constexpr size_t kMostUnits = 384;
  for (char16_t left : characters) {
    std::u16string text;
    for (char16_t right : characters) {
      if (IsLookedAt(left, right)) text += {left, right};
      if (text.size() < kMostUnits && right != characters.back()) continue;
      ASSERT_EQ(Composed(table, text), IcuKey(icu, text)) << Units(text);
      text.clear();
    }
  }
}

TEST_P(CollationTables, LettersOfLatinGreekAndCyrillicAreComposed) {
  const IcuCollator icu = OpenIcu(GetParam());
  const CollationTable table(SourceOf(icu), GetParam().table_levels);
  const char16_t* const kTexts[] = {
      u"",
      u"The quick brown fox, 47 of them; (jumps) \"over\" the lazy dog's back!?",
      u"\u00C5ngstr\u00F6m \u0141\u00F3d\u017A \u0152uvre Stra\u00DFe \u00BD\u00AA",
      u"12 \u00B5m",
      u"\u039A\u03B1\u03BB\u03B7\u03BC\u03AD\u03C1\u03B1 \u041C\u043E\u0441\u043A\u0432\u0430, \u0439\u0451\u0457",
      u"Vi\u1EC7t Nam",
      u"\u201Cone\u201D \u2014 two\u2026 \u20AC",
      u"\x01\x7F\u00AD",
  };
  for (std::u16string_view text : kTexts) {
    ASSERT_FALSE(Composed(table, text).empty()) << Units(text);
    EXPECT_EQ(Composed(table, text), IcuKey(icu, text)) << Units(text);
  }
}

TEST_P(CollationTables, CharactersThatDependOnTheirNeighboursAreLeftToIcu) {
  const IcuCollator icu = OpenIcu(GetParam());
  const CollationTable table(SourceOf(icu), GetParam().table_levels);
  const struct {
    const char* why;
    std::u16string_view text;
  } kTexts[] = {
      {"a middle dot contracts with an l", u"col\u00B7lecci\u00F3"},
      {"and so does its Greek double", u"l\u0387"},
      {"a mark combines", u"e\u0301"},
      {"a Cyrillic mark combines", u"\u0438\u0483"},
      {"half a pair", u"a\xD83D"},
      {"a letter of no block", u"\u0E01"},
      {"the last unit", u"\xFFFF"},
  };
  for (const auto& row : kTexts) EXPECT_TRUE(Composed(table, row.text).empty()) << row.why;
}

TEST_P(CollationTables, RunsOfCommonWeightsHaveIcusKeysAtEachLength) {
  const IcuCollator icu = OpenIcu(GetParam());
  const CollationTable table(SourceOf(icu), GetParam().table_levels);
  for (size_t length = 0; length <= 381; length++) {
    for (std::u16string_view end : {u"", u"A", u"\u00E4", u"\u00C4", u"\u00DFA", u"\u0434"}) {
      const std::u16string text = std::u16string(length, u'x').append(end);
      ASSERT_EQ(Composed(table, text), IcuKey(icu, text)) << length << " common and " << Units(end);
    }
  }
}

TEST_P(CollationTables, TextsOfMoreThan384UnitsAreLeftToIcu) {
  const IcuCollator icu = OpenIcu(GetParam());
  const CollationTable table(SourceOf(icu), GetParam().table_levels);
  EXPECT_FALSE(Composed(table, std::u16string(384, u'\u00D6')).empty());
  EXPECT_TRUE(Composed(table, std::u16string(385, u'\u00D6')).empty());
}

TEST_P(CollationTables, InARoomTooSmallNothingBeyondItIsWritten) {
  const IcuCollator icu = OpenIcu(GetParam());
  const CollationTable table(SourceOf(icu), GetParam().table_levels);
  const std::u16string texts[] = {u"", u"a", u"O'Neill \u00C9\u00C9\u00C9", u"\u041C\u043E-\u0441\u043A",
                                  std::u16string(200, u'b') + u"\u00C4"};
  for (const std::u16string& text : texts) {
    const std::vector<uint8_t> key = IcuKey(icu, text);
    size_t composed = 0;
    for (size_t room = 0; room <= key.size() + text.size() * 5 + 16; room++) {
      // A block of just that size, so that a write behind it is seen.
      const std::unique_ptr<uint8_t[]> block(new uint8_t[room]);
      const size_t size = table.KeyOf(text, {block.get(), room});
      if (size == 0) continue;
      composed++;
      ASSERT_LE(size, room);
      ASSERT_TRUE(std::equal(key.begin(), key.end(), block.get(), block.get() + size)) << Units(text) << room;
    }
    EXPECT_GT(composed, 0U) << Units(text);
  }
}

// Whichever of ICU's keys is not as supposed: the table composes what ICU gives, or nothing.
TEST_P(CollationTables, ATableOfStrangeKeysComposesNothingElse) {
  const IcuCollator icu = OpenIcu(GetParam());
  const CollationTable::KeySource source = SourceOf(icu);
  const struct {
    const char* why;
    std::function<void(std::u16string_view text, std::span<uint8_t> key)> change;
    bool composes;
  } kRows[] = {
      {"the last byte is larger in long texts",
       [](std::u16string_view text, std::span<uint8_t> key) {
         if (text.size() > 2) ++key[key.size() - 2];
       },
       false},
      {"a level has no end",
       [](std::u16string_view, std::span<uint8_t> key) {
         std::replace(key.begin(), key.end(), uint8_t{1}, uint8_t{2});
       },
       GetParam().table_levels == 1},
      {"there is no zero", [](std::u16string_view, std::span<uint8_t> key) { key.back() = 7; }, false},
      {"a letter contracts",
       [](std::u16string_view text, std::span<uint8_t> key) {
         if (text.size() > 2 && text.find(u'q') != text.npos) ++key[0];
       },
       false},
      {"a letter's key is no key",
       [](std::u16string_view text, std::span<uint8_t> key) {
         if (text == u"q") key[0] = 0;
       },
       true},
  };
  for (const auto& row : kRows) {
    const CollationTable table(
        [&](std::u16string_view text, std::span<uint8_t> room) {
          const size_t size = source(text, room);
          if (size <= room.size()) row.change(text, room.first(size));
          return size;
        },
        GetParam().table_levels);
    EXPECT_EQ(!Composed(table, u"and").empty(), row.composes) << row.why;
    EXPECT_EQ(Composed(table, u"q").empty(), std::string_view(row.why) != "a level has no end" || !row.composes)
        << row.why;
  }
}

TEST_P(CollationTables, WhatTheSourceThrowsGoesThroughAtEachOfItsKeys) {
  const IcuCollator icu = OpenIcu(GetParam());
  const CollationTable::KeySource source = SourceOf(icu);
  size_t keys = 0;
  const auto count = [&](std::u16string_view text, std::span<uint8_t> room) {
    keys++;
    return source(text, room);
  };
  const CollationTable table(count, GetParam().table_levels);
  ASSERT_GT(keys, 1500U);
  for (size_t allowed :
       {size_t{0}, size_t{1}, keys / 2, keys - 20, keys - 10, keys - 4, keys - 3, keys - 2, keys - 1}) {
    size_t left = allowed;
    const auto fail = [&](std::u16string_view text, std::span<uint8_t> room) {
      if (left-- == 0) throw std::bad_alloc();
      return source(text, room);
    };
    EXPECT_THROW(CollationTable(fail, GetParam().table_levels), std::bad_alloc) << allowed << " of " << keys;
  }
}

INSTANTIATE_TEST_SUITE_P(Settings, CollationTables, testing::ValuesIn(SettingsWithTables()),
                         [](const auto& row) { return "Flags" + std::to_string(row.param.flags); });

}  // namespace
