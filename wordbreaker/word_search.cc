#include "word_search.h"

#include <algorithm>

#include "text_folding.h"

namespace wordbreaker {
namespace {

// The folded words of text; the boundaries are the language's.
std::vector<std::u16string> FoldedWords(std::u16string_view text, WordBoundaries& boundaries) {
  std::vector<std::u16string> words;
  boundaries.SetText(text);
  size_t start = 0;
  for (size_t end = boundaries.Next(); end != WordBoundaries::kEnd; start = end, end = boundaries.Next()) {
    if (!boundaries.HasPassedWord()) continue;
    std::u16string folded;
    FoldText(text.substr(start, end - start), folded);
    if (!folded.empty()) words.push_back(std::move(folded));
  }
  return words;
}

bool IsAscii(std::u16string_view text) {
  return std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; });
}

// True when no word can begin at position in any language: it is inside one.
bool IsInsideSolid(std::u16string_view text, size_t position) {
  if (!FoldCharacter(text[position - 1]).solid) return false;
  return FoldCharacter(NextCharacter(text, position)).solid;
}

}  // namespace

WordSearch::Word::Word(std::u16string folding) : folded(std::move(folding)), ascii(IsAscii(folded)), filter(folded) {}

WordSearch::WordSearch(std::u16string_view text, const WordLanguage& language)
    : ascii_rules_(language.ascii()), boundaries_(language.NewBoundaries()) {
  std::vector<std::u16string> words = FoldedWords(text, boundaries_);
  // A word that another one begins with need not be looked for. In order, such a word stands in front of the other.
  std::sort(words.begin(), words.end());
  for (size_t i = 0; i < words.size(); ++i) {
    if (i + 1 < words.size() && words[i + 1].starts_with(words[i])) continue;
    words_.emplace_back(words[i]);
  }
}

bool WordSearch::Finds(std::u16string_view text) { return IsAscii(text) ? FindsInAscii(text) : FindsInAnyText(text); }

// Most texts are short enough to be packed while their end is looked for.
bool WordSearch::FindsTerminated(const char16_t* text) {
  const std::optional<PackedText> packed = PackTerminated(text, packed_text_);
  const TextExtent extent = packed ? packed->extent : ExtentOf(text);
  const std::u16string_view whole(text, extent.size);
  if (!extent.ascii) return FindsInAnyText(whole);
  if (!packed) return FindsInAscii(whole);
  return FindsInAscii(whole,
                      [&](const Word& word, size_t from) { return word.filter.NextInPacked(packed->units, from); });
}

bool WordSearch::FindsInAscii(std::u16string_view text) {
  return FindsInAscii(text, [text](const Word& word, size_t from) { return word.filter.NextInAscii(text, from); });
}

// next_of is where the word may begin next.
template <typename NextOf>
bool WordSearch::FindsInAscii(std::u16string_view text, NextOf next_of) const {
  return std::all_of(words_.begin(), words_.end(), [&](const Word& word) { return IsInAscii(word, text, next_of); });
}

template <typename NextOf>
bool WordSearch::IsInAscii(const Word& word, std::u16string_view text, NextOf next_of) const {
  if (!word.ascii || !ascii_rules_.IsInWords(word.folded[0])) return false;
  for (size_t start = 0; (start = next_of(word, start)) != WordFilter::kNowhere; ++start) {
    if (ascii_rules_.IsBoundary(text, start) && StandsInAscii(word, text, start)) return true;
  }
  return false;
}

bool WordSearch::StandsInAscii(const Word& word, std::u16string_view text, size_t start) const {
  for (size_t i = 0; i < word.folded.size(); ++i) {
    if (FoldAscii(text[start + i]) != word.folded[i]) return false;
  }
  for (size_t i = 1; i < word.folded.size(); ++i) {
    if (ascii_rules_.IsBoundary(text, start + i)) return false;
  }
  return true;
}

bool WordSearch::FindsInAnyText(std::u16string_view text) {
  unit_by_unit_ = FoldText(text, folded_text_);
  boundaries_have_text_ = false;
  return std::all_of(words_.begin(), words_.end(), [&](const Word& word) { return IsInText(word, text); });
}

bool WordSearch::Advance(std::u16string_view text, Place& place) {
  const FoldedCharacter character = FoldCharacter(NextCharacter(text, place.original));
  place.folded += character.units.size();
  return character.solid;
}

bool WordSearch::IsInText(const Word& word, std::u16string_view text) {
  const std::u16string_view folded = folded_text_;
  Place place;
  for (size_t start = 0; (start = word.filter.NextInFolded(folded, start)) != WordFilter::kNowhere; ++start) {
    if (unit_by_unit_ && start > 0 && IsInsideSolid(text, start)) continue;
    if (folded.compare(start, word.folded.size(), word.folded) != 0) continue;
    if (unit_by_unit_) place = Place{start, start};
    while (place.folded < start) Advance(text, place);
    // Inside one character's folding no word starts. In front of a character without a folding of its own one may, and
    // also behind it.
    while (place.folded == start) {
      if (WordStartsAt(place, start + word.folded.size(), text)) return true;
      Advance(text, place);
    }
  }
  return false;
}

bool WordSearch::WordStartsAt(Place start, size_t folded_end, std::u16string_view text) {
  const bool starts_apart = start.original == 0 || ascii_rules_.AlwaysSeparates(text[start.original - 1]);
  if (!starts_apart && IsInsideSolid(text, start.original)) return false;
  if (starts_apart && SolidWordReaches(start, folded_end, text)) return true;
  return BoundedWordReaches(start, folded_end, text);
}

bool WordSearch::SolidWordReaches(Place place, size_t folded_end, std::u16string_view text) const {
  for (Place next = place; next.original < text.size() && Advance(text, next);) place = next;
  const size_t end = place.original;
  if (place.folded < folded_end) return false;
  if (end == text.size() || ascii_rules_.AlwaysSeparates(text[end])) return true;
  if (text[end] >= 0x80 || ascii_rules_.IsInWords(text[end])) return false;
  return end + 1 == text.size() || ascii_rules_.AlwaysSeparates(text[end + 1]);
}

bool WordSearch::BoundedWordReaches(Place place, size_t folded_end, std::u16string_view text) {
  if (!boundaries_have_text_) boundaries_.SetText(text);
  boundaries_have_text_ = true;
  if (!boundaries_.IsBoundary(place.original)) return false;
  const size_t end = boundaries_.Next();
  if (end == WordBoundaries::kEnd || !boundaries_.HasPassedWord()) return false;
  while (place.folded < folded_end && place.original < end) Advance(text, place);
  return place.folded >= folded_end;
}

}  // namespace wordbreaker
