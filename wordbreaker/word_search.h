// The search for the words of one text in other texts.
//
// A text is found when every word of the search is the beginning of one of its words, both folded. Words are what the
// language's rules leave between two boundaries, unless that is only space, punctuation or symbols. A search without
// words finds every text.
// (S1) The answer is the one that cutting every text into words, folding each and comparing would give.
// (S2) What is not folded alike is not looked at: boundaries are asked for only where a word's folding stands in the
//      text's.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "unit_scan.h"
#include "word_language.h"

namespace wordbreaker {

// For one thread at a time. Every call may throw std::bad_alloc or, with ICU, IcuFailure; the next one works again.
class WordSearch {
 public:
  WordSearch(std::u16string_view text, const WordLanguage& language);

  bool Finds(std::u16string_view text);

  // The same for a text that ends with a zero.
  bool FindsTerminated(const char16_t* text);

  // The two ways of Finds, which agree. The first is for plain ASCII text only.
  bool FindsInAscii(std::u16string_view text);
  bool FindsInAnyText(std::u16string_view text);

 private:
  struct Word {
    explicit Word(std::u16string folding);

    std::u16string folded;
    bool ascii;  // all of it
    WordFilter filter;
  };

  // A place between two characters of a text, and the same place in the text's folding.
  struct Place {
    size_t original = 0;
    size_t folded = 0;
  };

  template <typename NextOf>
  bool FindsInAscii(std::u16string_view text, NextOf next_of) const;
  template <typename NextOf>
  bool IsInAscii(const Word& word, std::u16string_view text, NextOf next_of) const;
  bool IsInText(const Word& word, std::u16string_view text);

  // True when the word stands at start and has no boundary inside. The text is plain ASCII.
  bool StandsInAscii(const Word& word, std::u16string_view text, size_t start) const;

  // Moves place past one character; true when that is solid.
  static bool Advance(std::u16string_view text, Place& place);

  // True when a word of the text starts there and its folding reaches folded_end.
  bool WordStartsAt(Place start, size_t folded_end, std::u16string_view text);

  // The same, when a word starts there for certain. Without the boundaries: true only for a word of solid characters
  // behind which it ends for certain. The whole word must be seen, since a mark behind a low line makes all of it no
  // word.
  bool SolidWordReaches(Place place, size_t folded_end, std::u16string_view text) const;

  // The same as WordStartsAt, by the boundaries.
  bool BoundedWordReaches(Place place, size_t folded_end, std::u16string_view text);

  std::vector<Word> words_;
  AsciiRules ascii_rules_;
  WordBoundaries boundaries_;
  bool boundaries_have_text_ = false;
  std::u16string folded_text_;  // the text that is searched; kept from text to text for its memory
  std::array<char, 4096> packed_text_;
  bool unit_by_unit_ = false;  // places in the text and in its folding are the same
};

}  // namespace wordbreaker
