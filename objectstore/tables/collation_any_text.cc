// See collation_table.h: keys of texts that may hold anything, however long. The order of Latin, Greek and Cyrillic letters
// is ICU's, and so are the keys of texts that the table composes by itself.
#include <algorithm>
#include <utility>

#include "collation_table.h"

namespace objectstore {

namespace {

using Composition = CollationTable::Composition;
using Compositions = CollationTable::Compositions;
using MarkClass = CollationTable::MarkClass;

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

std::vector<char32_t> CharactersOf(std::u16string_view text) {
  std::vector<char32_t> characters;
  characters.reserve(text.size());
  for (const char16_t unit : text) {
    if (IsLowSurrogate(unit) && !characters.empty() && IsHighSurrogate(characters.back())) {
      characters.back() = 0x10000 + ((characters.back() - 0xD800) << 10) + (char32_t{unit} - 0xDC00);
    } else {
      characters.push_back(unit);
    }
  }
  return characters;
}

// 0: no mark that is known.
uint8_t ClassOf(char32_t character, const Compositions& known) {
  const auto found = std::lower_bound(known.marks.begin(), known.marks.end(), character,
                                      [](const MarkClass& one, char32_t wanted) { return one.mark < wanted; });
  return found != known.marks.end() && found->mark == character ? found->combining_class : uint8_t{0};
}

}  // namespace

bool CollationTable::Knows(char32_t character) const {
  const size_t place = character <= 0xFFFF ? PlaceOf(static_cast<char16_t>(character)) : kNoPlace;
  return place != kNoPlace && characters_[place].is_known;
}

// 0: none.
char32_t CollationTable::ComposedOf(char32_t first, char32_t second, const Compositions& compositions) {
  const auto is_before = [](const Composition& one, const std::pair<char32_t, char32_t>& wanted) {
    return std::pair<char32_t, char32_t>(one.first, one.second) < wanted;
  };
  const std::pair wanted(first, second);
  const auto found = std::lower_bound(compositions.pairs.begin(), compositions.pairs.end(), wanted, is_before);
  return found != compositions.pairs.end() && found->first == first && found->second == second ? found->composed
                                                                                               : char16_t{0};
}

// Letters with a mark that have no place, or whose key is not of the simple form: as the letter and its mark.
void CollationTable::Decompose(std::vector<char32_t>& characters, const Compositions& compositions) const {
  const auto& pairs = compositions.pairs;
  for (size_t i = 0; i < characters.size(); ++i) {
    if (Knows(characters[i])) continue;
    const auto found =
        std::find_if(pairs.begin(), pairs.end(), [&](const auto& pair) { return pair.composed == characters[i]; });
    if (found == pairs.end()) continue;
    characters[i] = found->first;
    if (found->second != 0) characters.insert(characters.begin() + static_cast<ptrdiff_t>(i) + 1, found->second);
    --i;  // the letter may have a mark of its own
  }
}

// A letter's marks in their canonical order, and each that it composes with made one with it. Marks that a letter has by
// itself are its own.
void CollationTable::Compose(std::vector<char32_t>& characters, const Compositions& compositions) const {
  size_t written = 0;
  for (size_t at = 0; at < characters.size();) {
    const auto class_of = [&](char32_t one) { return ClassOf(one, compositions); };
    const bool has_letter = class_of(characters[at]) == 0;  // a text may begin with marks
    const auto begin = characters.begin() + static_cast<ptrdiff_t>(at) + (has_letter ? 1 : 0);
    const auto end = std::find_if(begin, characters.end(), [&](char32_t one) { return class_of(one) == 0; });
    std::stable_sort(begin, end, [&](char32_t a, char32_t b) { return class_of(a) < class_of(b); });
    const size_t letter = written;
    if (has_letter) characters[written++] = characters[at];
    uint8_t last_class = 0;  // of the marks that stay
    for (auto mark = begin; mark != end; ++mark) {
      const bool is_free = has_letter && class_of(*mark) != last_class;
      const char32_t composed = is_free ? ComposedOf(characters[letter], *mark, compositions) : 0;
      if (composed != 0 && Knows(composed)) {
        characters[letter] = composed;
      } else {
        last_class = class_of(*mark);
        characters[written++] = *mark;
      }
    }
    at = static_cast<size_t>(end - characters.begin());
  }
  characters.resize(written);
}

// The lead byte is above those of all characters that have places, and each further one no end of a level.
CollationTable::Element CollationTable::ElementOf(char32_t character) const {
  constexpr uint32_t kDigits = 240;
  constexpr uint32_t kFirstDigit = 5;
  if (Knows(character)) {
    const size_t place = PlaceOf(static_cast<char16_t>(character));
    const Character& known = characters_[place];
    return {known.primary, known.primary_bytes, CountIn(known.counts, kShortened) != 0, secondaries_[place],
            tertiaries_[place]};
  }
  const auto digit = [character](uint32_t unit) {
    return static_cast<uint8_t>(character / unit % kDigits + kFirstDigit);
  };
  constexpr Share kCommon = {1, 0, 0, {}};
  return {{0xFE, digit(kDigits * kDigits), digit(kDigits), digit(1)}, 4, false, kCommon, kCommon};
}

void CollationTable::AppendPrimaries(std::span<const Element> elements, std::vector<uint8_t>& key) {
  uint8_t first_byte = 0;  // of the weight before, if it is of those that are shortened
  for (const Element& element : elements) {
    if (element.primary_bytes == 0) continue;
    const bool goes_on = element.primary[0] == first_byte;
    if (!goes_on && first_byte != 0) key.push_back(element.primary[0] < first_byte ? kDown : kUp);
    if (!goes_on) first_byte = element.is_shortened ? element.primary[0] : uint8_t{0};
    key.insert(key.end(), element.primary.begin() + (goes_on ? 1 : 0), element.primary.begin() + element.primary_bytes);
  }
}

template <CollationTable::RunCode code>
void CollationTable::AppendShares(std::span<const Element> elements, Share Element::*share, std::vector<uint8_t>& key) {
  uint32_t run = 0;
  const auto append_middles = [&run, &key] {
    for (; run > code.most(); run -= code.most()) key.push_back(code.middle);
  };
  key.push_back(kLevelEnd);
  for (const Element& element : elements) {
    const Share& one = element.*share;
    run += one.common_before;
    if (one.weight_bytes == 0) continue;
    append_middles();
    if (run != 0) key.push_back(static_cast<uint8_t>(code.high - run + 1));
    key.insert(key.end(), one.weights.begin(), one.weights.begin() + one.weight_bytes);
    run = one.common_after;
  }
  append_middles();
  if (run != 0) key.push_back(static_cast<uint8_t>(code.low + run - 1));
}

void CollationTable::KeyOfAnyText(std::u16string_view text, const Compositions& compositions,
                                  std::vector<uint8_t>& key) const {
  std::vector<char32_t> characters = CharactersOf(text);
  Decompose(characters, compositions);
  Compose(characters, compositions);
  std::vector<Element> elements;
  elements.reserve(characters.size());
  for (const char32_t character : characters) elements.push_back(ElementOf(character));
  key.clear();
  AppendPrimaries(elements, key);
  if (levels_ >= 2) AppendShares<kSecondaryRuns>(elements, &Element::secondary, key);
  if (levels_ >= 3) AppendShares<kTertiaryRuns>(elements, &Element::tertiary, key);
  key.push_back(0);
}

}  // namespace objectstore
