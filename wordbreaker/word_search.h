// The search for the words of one text in other texts.
//
// A text is found when every word of the search is the beginning of one of its words, both folded. Words are what the
// language's rules leave between two boundaries, unless that is only space, punctuation or symbols. A search without
// words finds every text.
// (S1) The answer is the one that cutting every text into words, folding each and comparing would give.
// (S2) What is not folded alike is not looked at: boundaries are asked for only where a word's folding stands in the
//      text's.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "word_language.h"

namespace wordbreaker {

// For one thread at a time. Every call may throw std::bad_alloc or IcuFailure; the next one works again.
class WordSearch {
 public:
  WordSearch(std::u16string_view text, const WordLanguage& language);

  bool Finds(std::u16string_view text);

  // The two ways of Finds, which agree. The first is for plain ASCII text only.
  bool FindsInAscii(std::u16string_view text);
  bool FindsInAnyText(std::u16string_view text);

 private:
  struct Word {
    std::u16string folded;
    std::string ascii;  // the same; empty when it has other characters
  };

  // A place between two characters of a text, and the same place in the text's folding.
  struct Place {
    size_t original = 0;
    size_t folded = 0;
  };

  bool IsInAscii(const Word& word) const;
  bool IsInText(const Word& word, std::u16string_view text);

  // Moves place past one character; true when that is solid.
  static bool Advance(std::u16string_view text, Place& place);

  // True when a word of the text starts there and its folding reaches folded_end.
  bool WordStartsAt(Place start, size_t folded_end, std::u16string_view text);

  // The same, when a word starts there for certain. Without the iterator: true only for a word of solid characters
  // behind which it ends for certain. The whole word must be seen, since a mark behind a low line makes all of it no
  // word.
  bool SolidWordReaches(Place place, size_t folded_end, std::u16string_view text) const;

  // The same as WordStartsAt, by the iterator.
  bool IteratorsWordReaches(Place place, size_t folded_end, std::u16string_view text);

  std::vector<Word> words_;
  AsciiRules ascii_rules_;
  BreakIterator iterator_;
  bool iterator_has_text_ = false;
  std::string ascii_text_;  // the text that is searched, folded; kept from text to text for its memory
  std::u16string folded_text_;
};

}  // namespace wordbreaker
