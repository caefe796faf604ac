// See character_data.h: from tables. Syllables of Hangul are taken apart by Unicode's arithmetic.
#include "character_data.h"

#include <algorithm>

#include "word_tables.h"

namespace wordbreaker {

namespace {

constexpr char32_t kFirstSyllable = 0xAC00;
constexpr char32_t kSyllables = 11172;
constexpr char32_t kVowels = 21;
constexpr char32_t kTails = 28;

std::u16string LettersOfSyllable(char32_t index) {
  std::u16string letters = {static_cast<char16_t>(0x1100 + index / (kVowels * kTails)),
                            static_cast<char16_t>(0x1161 + index % (kVowels * kTails) / kTails)};
  if (index % kTails != 0) letters += static_cast<char16_t>(0x11A7 + index % kTails);
  return letters;
}

}  // namespace

std::u16string FoldingOf(char32_t character) {
  if (character >= kFirstSyllable && character < kFirstSyllable + kSyllables)
    return LettersOfSyllable(character - kFirstSyllable);
  const auto runs = FoldingRuns();
  const auto run = std::partition_point(runs.begin(), runs.end(),
                                        [character](const FoldingRun& one) { return one.last < character; });
  if (run != runs.end() && run->first <= character)
    return std::u16string(FoldingUnits().substr(run->start, run->length));
  if (character < 0x10000) return std::u16string(1, static_cast<char16_t>(character));
  return {static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)),
          static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF))};
}

bool IsLetterOrDigit(char32_t character) {
  const WordClass word_class = WordClassOf(character);
  return word_class == WordClass::kLetter || word_class == WordClass::kNumeric;
}

}  // namespace wordbreaker
