// The passes over many units at a time against plain loops, over every alignment and every place in a block.
#include "unit_scan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "slow_search.h"
#include "text_folding.h"
#include "text_vectors.h"

namespace {

using wordbreaker::ExtentOf;
using wordbreaker::FoldAscii;
using wordbreaker::FoldAsciiOfBlock;
using wordbreaker::TextExtent;
using wordbreaker::WordFilter;

constexpr bool kPacks = TEXT_VECTORS >= 1;
constexpr size_t kLongest = 75;           // more than two rounds of the widest pass over units
constexpr size_t kLongestSearched = 150;  // and over packed ones

TEST(UnitScan, AnEndIsFoundAtEveryAddressAndWhatIsBehindItDoesNotCount) {
  for (size_t skipped = 0; skipped < 32; ++skipped) {
    for (size_t size = 0; size < kLongest; ++size) {
      for (const char16_t behind : {u'a', u'\u0080', u'\xFFFF', u'\0'}) {
        std::u16string units(skipped, u'\u00E4');
        units += std::u16string(size, u'\x7F') + u'\0' + std::u16string(80, behind);
        const TextExtent extent = ExtentOf(units.data() + skipped);
        ASSERT_EQ(extent.size, size) << skipped << " units in front";
        ASSERT_TRUE(extent.ascii) << size << " units, " << skipped << " in front";
      }
    }
  }
}

// Units from a multiple of the longest piece's length on, and nothing behind them.
class AlignedUnits {
 public:
  explicit AlignedUnits(size_t count) : units_(new (kAlignment) char16_t[count]()) {}
  AlignedUnits(const AlignedUnits&) = delete;
  AlignedUnits& operator=(const AlignedUnits&) = delete;
  ~AlignedUnits() { ::operator delete[](units_, kAlignment); }
  char16_t* get() const { return units_; }

 private:
  static constexpr std::align_val_t kAlignment{64};
  char16_t* units_;
};

TEST(UnitScan, OneUnitOutsideAsciiIsSeenWhereverItStands) {
  for (size_t skipped = 0; skipped < 32; ++skipped) {
    for (size_t size = 1; size < kLongest; ++size) {
      for (size_t place = 0; place < size; ++place) {
        const char16_t kOthers[] = {u'\u0080', u'\u0100', u'\u4E00', u'\xD800', u'\xFFFF'};
        const char16_t other = kOthers[(place + size) % std::size(kOthers)];
        const AlignedUnits units(skipped + size + 1);
        std::fill_n(units.get(), skipped + size, u'a');
        units.get()[skipped + place] = other;
        const TextExtent extent = ExtentOf(units.get() + skipped);
        ASSERT_EQ(extent.size, size);
        ASSERT_FALSE(extent.ascii) << Shown({&other, 1}) << " at " << place << " of " << size << ", " << skipped;
      }
    }
  }
}

// In rooms of every size: what is packed is the whole text, or nothing is.
TEST(UnitScan, ATextIsPackedAsOftenAsTheRoomIsLargeEnough) {
  size_t packed_texts = 0;
  for (size_t skipped = 0; skipped < 32; ++skipped) {
    for (size_t size = 0; size < kLongest; ++size) {
      const AlignedUnits units(skipped + size + 1);
      for (size_t i = 0; i < size; ++i) units.get()[skipped + i] = static_cast<char16_t>(u'!' + (i * 7 + size) % 94);
      for (const size_t room_size : {size_t{0}, size_t{31}, size_t{32}, size, size + 32, size + 64}) {
        std::vector<char> room(room_size);
        const auto packed = wordbreaker::PackTerminated(units.get() + skipped, room);
        if (!packed) {
          ASSERT_TRUE(!kPacks || room_size < size + 64) << size << " units, " << skipped << " in front";
          continue;
        }
        ++packed_texts;
        ASSERT_EQ(packed->extent.size, size);
        ASSERT_TRUE(packed->extent.ascii);
        ASSERT_EQ(packed->units.size(), size);
        for (size_t i = 0; i < size; ++i)
          ASSERT_EQ(packed->units[i], static_cast<char>(units.get()[skipped + i] | 0x20));
      }
    }
  }
  EXPECT_EQ(packed_texts > 32u * kLongest, kPacks) << packed_texts;
}

TEST(UnitScan, ABlocksAsciiIsFoldedAndItsOtherUnitsAreNamed) {
  for (char16_t unit :
       {u'\0', u'@', u'A', u'Z', u'[', u'`', u'z', u'\x7F', u'\u0080', u'\u0141', u'\x8041', u'\xFFFF'}) {
    for (size_t place = 0; place < wordbreaker::kBlock; ++place) {
      std::u16string text = u"Quiz_09-azAZ[`@{";
      ASSERT_EQ(text.size(), wordbreaker::kBlock);
      text[place] = unit;
      std::u16string folded = text + u'-';
      const uint32_t others = FoldAsciiOfBlock(text.data(), folded.data());
      ASSERT_EQ(others, unit < 0x80 ? 0u : 1u << place) << Shown(text);
      ASSERT_EQ(folded.back(), u'-');
      for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] >= 0x80) continue;
        ASSERT_EQ(folded[i], FoldAscii(text[i])) << Shown(text) << " at " << i;
      }
    }
  }
}

size_t Agreeing(std::u16string_view text, size_t start, std::u16string_view word) {
  size_t agreeing = 0;
  for (size_t i = 0; i < word.size(); ++i) agreeing += text[start + i] == word[i];
  return agreeing;
}

// Every place of the word is among the filter's, and each of those has two of its units at least.
void ExpectNoPlaceIsMissed(std::u16string_view word, std::u16string_view text, bool ascii) {
  const WordFilter filter(word);
  std::u16string folded(text);
  if (ascii) std::transform(text.begin(), text.end(), folded.begin(), FoldAscii);
  std::string packed;
  for (const char16_t unit : text) packed += static_cast<char>(unit | 0x20);
  size_t from = 0;
  for (;;) {
    const size_t next = ascii ? filter.NextInAscii(text, from) : filter.NextInFolded(text, from);
    if (ascii) {
      ASSERT_EQ(filter.NextInPacked(packed, from), next) << Shown(word) << " in " << Shown(text);
    }
    ASSERT_GE(std::u16string_view(folded).find(word, from), next) << Shown(word) << " in " << Shown(text);
    if (next == WordFilter::kNowhere) return;
    ASSERT_GE(next, from) << Shown(word) << " in " << Shown(text);
    ASSERT_LE(next + word.size(), text.size()) << Shown(word) << " in " << Shown(text);
    ASSERT_GE(Agreeing(folded, next, word), std::min<size_t>(2, word.size())) << Shown(word) << " in " << Shown(text);
    from = next + 1;
  }
}

TEST(UnitScan, AWordsPlacesAreAllAmongTheFiltersPlaces) {
  const struct {
    std::u16string_view letters;
    std::u16string_view word_letters;
    bool ascii;
  } kTexts[] = {
      {u"ab", u"ab", false},
      {u"abcdefgh", u"abcdefgh", false},
      {u"\u0430\u0431\u0432\u0130\u4E30 a", u"\u0430\u0431a\u4E30", false},
      {u"aAbB1_. ", u"ab1_.", true},
      {u"eExXqQ zZ", u"exqz", true},
      {u"a word seldom stands in a text so that whole pieces of it are passed, and it is near none of their ends: qz",
       u"qz", true},
  };
  std::mt19937 random(1848);
  const auto text_of = [&](std::u16string_view letters, size_t size) {
    std::u16string text(size, u'\0');
    for (char16_t& unit : text) unit = letters[random() % letters.size()];
    return text;
  };
  for (const auto& row : kTexts) {
    for (size_t size = 0; size < kLongestSearched; ++size) {
      for (int round = 0; round < 20; ++round) {
        const std::u16string word = text_of(row.word_letters, 1 + random() % (round % 8 == 0 ? 40 : 4));
        ExpectNoPlaceIsMissed(word, text_of(row.letters, size), row.ascii);
        if (HasFatalFailure()) return;
      }
    }
  }
}

}  // namespace
