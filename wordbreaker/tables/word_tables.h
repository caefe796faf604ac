// What the word breaker knows of characters where it has no ICU: the tables that write_word_tables makes on the machine that
// builds.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace wordbreaker {

// How a character takes part in word boundaries, by Unicode's names but for the last two: kExtend has format characters too,
// kIdeograph is a word by itself, kPictograph holds to a joiner in front of it.
enum class WordClass : uint8_t {
  kOther,
  kCarriageReturn,
  kLineFeed,
  kNewline,
  kExtend,
  kJoiner,
  kSpace,
  kLetter,
  kHebrewLetter,
  kKatakana,
  kSingleQuote,
  kDoubleQuote,
  kMidLetter,
  kMidNumber,
  kMidNumberOrLetter,
  kNumeric,
  kExtendNumberOrLetter,
  kRegionalIndicator,
  kIdeograph,
  kPictograph
};

// Characters that are not in any run are kOther.
struct WordClassRun {
  uint32_t first;
  uint32_t last;
  WordClass word_class;
};

// Characters that all have the same folding, which is not each one itself.
struct FoldingRun {
  uint32_t first;
  uint32_t last;
  uint16_t start;  // in the units of all foldings
  uint16_t length;
};

std::span<const WordClassRun> WordClassRuns();  // in order
std::span<const FoldingRun> FoldingRuns();      // in order
std::u16string_view FoldingUnits();

WordClass WordClassOf(char32_t character);

}  // namespace wordbreaker
