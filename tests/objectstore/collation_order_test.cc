// Keys order texts as ICU's comparison does, whether they are composed or ICU's.
//
// A run is told by its seed, which is printed. XKRDB_COLLATION_SEED and XKRDB_COLLATION_PAIRS choose another one:
// millions of pairs, and XKRDB_COLLATION_SHARE=1, which looks at all pairs of characters, are for a build without
// sanitizers.
#include <unicode/unorm2.h>

#include <cstdlib>
#include <cstring>
#include <random>

#include "collation_icu.h"

namespace {

using objectstore::Collation;

int KeyOrder(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
  return std::strcmp(reinterpret_cast<const char*>(a.data()), reinterpret_cast<const char*>(b.data()));
}

class CollationOrder : public testing::TestWithParam<CollationSettings> {};

// What stands around the characters: nothing, or something that their weights must not mix with.
TEST_P(CollationOrder, CharactersInContextAreOrderedAsByIcu) {
  constexpr size_t kCharacters = 0x530;
  const IcuCollator icu = OpenIcu(GetParam());
  const Collation& collation = Collation::ForFlags(GetParam().flags);
  const struct {
    std::u16string before, after_a, after_b;
  } kContexts[] = {
      {u"", u"", u""},          {u"aB", u"c", u"c"},   {u"", u"\u00E9", u"e"},
      {u"l", u"\u0301x", u"x"}, {u"", u"", u"\u0E01"}, {u"\u0434", u"\u0434", u"\u0434"},
  };
  for (const auto& context : kContexts) {
    if (GetParam().flags != 0 && !context.before.empty()) continue;
    const bool all_of_latin = GetParam().flags == 0 && context.after_b.empty();
    std::vector<std::u16string> a, b;
    std::vector<std::vector<uint8_t>> key_a, key_b;
    for (char16_t character = 0; character < kCharacters; character++) {
      a.push_back(context.before + character + context.after_a);
      b.push_back(context.before + character + context.after_b);
      key_a.push_back(KeyOf(collation, a.back()));
      key_b.push_back(KeyOf(collation, b.back()));
    }
    for (size_t i = 0; i < kCharacters; i++) {
      for (size_t j = 0; j < kCharacters; j++) {
        if (!IsLookedAt(i, j, all_of_latin)) continue;
        ASSERT_EQ(Sign(KeyOrder(key_a[i], key_b[j])), Sign(IcuOrder(icu, a[i], b[j])))
            << Units(a[i]) << "/ " << Units(b[j]);
      }
    }
  }
}

// Texts of all kinds, many of them nearly equal.
class RandomTexts {
 public:
  explicit RandomTexts(uint64_t seed) : random_(seed) {}

  std::u16string Text() {
    std::u16string text;
    for (size_t left = Below(4) == 0 ? Below(60) : Below(12); left != 0; left--) text += Piece(Kind());
    return text;
  }

  // Another text, or the same one changed a little.
  std::u16string After(const std::u16string& text) {
    if (text.empty() || Below(3) == 0) return Text();
    std::u16string other = text;
    for (size_t changes = 1 + Below(2); changes != 0; changes--) Change(other);
    return other;
  }

 private:
  size_t Below(size_t limit) { return static_cast<size_t>(random_() % limit); }

  // Most texts keep to one or two kinds.
  size_t Kind() {
    if (Below(8) == 0) first_kind_ = Below(std::size(kKinds));
    return Below(5) == 0 ? Below(std::size(kKinds)) : first_kind_;
  }

  std::u16string_view Piece(size_t kind) {
    const std::u16string_view pieces = kKinds[kind];
    size_t at = Below(pieces.size());
    if (Below(6) == 0) return one_ = static_cast<char16_t>(Below(Below(2) == 0 ? 0x530 : 0x10000)), one_view_;
    const bool trail = pieces[at] >= 0xDC00 && pieces[at] < 0xE000;
    if (trail && at > 0 && Below(20) != 0) return pieces.substr(at - 1, 2);
    return pieces.substr(at, 1);
  }

  void Change(std::u16string& text) {
    const size_t at = Below(text.size() + 1);
    switch (Below(4)) {
      case 0:
        text.insert(at, Piece(Kind()));
        break;
      case 1:
        if (at < text.size()) text.erase(at, 1);
        break;
      case 2:
        if (at < text.size()) text.replace(at, 1, Piece(Kind()));
        break;
      default:
        text = Normalized(text);
    }
  }

  std::u16string Normalized(const std::u16string& text) {
    UErrorCode error = U_ZERO_ERROR;
    const UNormalizer2* form = Below(2) == 0 ? unorm2_getNFDInstance(&error) : unorm2_getNFCInstance(&error);
    std::u16string normalized(text.size() * 18 + 1, u'\0');
    const int32_t length = unorm2_normalize(form, text.data(), static_cast<int32_t>(text.size()), normalized.data(),
                                            static_cast<int32_t>(normalized.size()), &error);
    EXPECT_TRUE(U_SUCCESS(error)) << u_errorName(error);
    normalized.resize(static_cast<size_t>(length));
    return normalized;
  }

  static constexpr std::u16string_view kKinds[] = {
      u"abcdeXYZ lL",
      u"aAbB 0129.,-_'()&@#",
      u"aA\u00E4\u00C4\u00E9e\u00DFs\u00E6\u0152o\u0142lL\u00B7\u0130i\u0131\u017F",
      u"ao\u0301\u0308\u0323\u0338\u0345u\u00FC\u1EC7\u00B7l\u0387",
      u"\u0E01\u0E40\u0E41\u0E02\u0E49\u0E33",
      u"\u1100\u1161\u11A8\uAC00\uAC01\uD7A3",
      u"\u4E00\u4E8C\u9FA5\U00020000\u3042\u30A2\u30FC\u3099\uFF71",
      u"\U0001F600\U0001F468\u200D\U0001F469\uFE0F\u2764",
      u"\u0430\u0410\u0438\u0439\u0306\u0301\u0451\u03B1\u03AC\u0391\u00B5\u03BC",
      u" \u00A0!?\u2014\u2019\u2026\u20AC\u3000\u00AD\u200B",
      u"\x01\t\n\x1F\x7F\u0080\u0085x",
      u"\xD800\xDC00\xDBFF\xDFFFm\xFFFE\xFFFF\xFDD0\xFFFD",
      u"\u0915\u094D\u0937\u093F\u0627\u0644\u064B\u0651\u05D0\u05B8",
  };

  std::mt19937_64 random_;
  size_t first_kind_ = 0;
  char16_t one_ = 0;
  std::u16string_view one_view_{&one_, 1};
};

TEST_P(CollationOrder, RandomTextsAreOrderedAsByIcu) {
  const uint64_t seed = FromEnvironment("XKRDB_COLLATION_SEED", 1);
  const uint64_t pairs = FromEnvironment("XKRDB_COLLATION_PAIRS", 5000);
  printf("seed %llu, %llu pairs\n", static_cast<unsigned long long>(seed), static_cast<unsigned long long>(pairs));
  const IcuCollator icu = OpenIcu(GetParam());
  const Collation& collation = Collation::ForFlags(GetParam().flags);
  RandomTexts texts(seed);
  uint64_t equal = 0;
  for (uint64_t pair = 0; pair < pairs; pair++) {
    const std::u16string a = texts.Text();
    const std::u16string b = texts.After(a);
    const std::vector<uint8_t> key_a = KeyOf(collation, a);
    const std::vector<uint8_t> key_b = KeyOf(collation, b);
    ASSERT_EQ(key_a, IcuKey(icu, a)) << "seed " << seed << ", pair " << pair << ": " << Units(a);
    if (KeyOrder(key_a, key_b) == 0) equal++;
    // Where symbols are ignored, ICU's comparison forgets that a mark is ignored behind one when the texts differ there.
    if (GetParam().symbols_ignored) continue;
    ASSERT_EQ(Sign(KeyOrder(key_a, key_b)), Sign(IcuOrder(icu, a, b)))
        << "seed " << seed << ", pair " << pair << ": " << Units(a) << "/ " << Units(b);
  }
  EXPECT_GT(equal, pairs / 100) << "hardly any two texts were equal";
}

INSTANTIATE_TEST_SUITE_P(Settings, CollationOrder, testing::ValuesIn(kCollationSettings),
                         [](const auto& row) { return "Flags" + std::to_string(row.param.flags); });

TEST(Collation, AllFlagsOfOneMeaningShareACollation) {
  EXPECT_EQ(&Collation::ForFlags(0), &Collation::ForFlags(CEDB_SORT_DESCENDING | CEDB_SORT_UNIQUE));
  EXPECT_NE(&Collation::ForFlags(0), &Collation::ForFlags(CEDB_SORT_CASEINSENSITIVE));
}

TEST(Collation, ARoomTooSmallLearnsTheSizeAndKeepsItsNeighbours) {
  const Collation& collation = Collation::ForFlags(0);
  for (std::u16string_view text : {u"", u"plain", u"Fa\u00E7ade Caf\u00E9", u"\u0434\u043E\u043C", u"\u0E01\u0E02"}) {
    const std::vector<uint8_t> key = KeyOf(collation, text);
    for (size_t room = 0; room <= key.size() + 40; room++) {
      const std::unique_ptr<uint8_t[]> block(new uint8_t[room]);
      ASSERT_EQ(collation.KeyOf(text.data(), text.size(), block.get(), room), key.size()) << Units(text) << room;
      if (room >= key.size()) {
        ASSERT_EQ(std::memcmp(block.get(), key.data(), key.size()), 0);
      }
    }
  }
}

}  // namespace
