#include "word_search.h"

#include <algorithm>

#include "text_folding.h"

namespace wordbreaker {
namespace {

// The folded words of text; the iterator is the language's.
std::vector<std::u16string> FoldedWords(std::u16string_view text, UBreakIterator* iterator) {
  std::vector<std::u16string> words;
  SetText(iterator, text);
  int32_t start = ubrk_first(iterator);
  for (int32_t end = ubrk_next(iterator); end != UBRK_DONE; start = end, end = ubrk_next(iterator)) {
    if (ubrk_getRuleStatus(iterator) < UBRK_WORD_NONE_LIMIT) continue;
    std::u16string folded;
    FoldText(text.substr(static_cast<size_t>(start), static_cast<size_t>(end - start)), folded);
    if (!folded.empty()) words.push_back(std::move(folded));
  }
  return words;
}

std::string AsciiOrNothing(const std::u16string& text) {
  if (std::any_of(text.begin(), text.end(), [](char16_t unit) { return unit >= 0x80; })) return {};
  return std::string(text.begin(), text.end());
}

}  // namespace

WordSearch::WordSearch(std::u16string_view text, const WordLanguage& language)
    : ascii_rules_(language.ascii()), iterator_(language.NewIterator()) {
  std::vector<std::u16string> words = FoldedWords(text, iterator_.get());
  // A word that another one begins with need not be looked for. In order, such a word stands in front of the other.
  std::sort(words.begin(), words.end());
  for (size_t i = 0; i < words.size(); ++i) {
    if (i + 1 < words.size() && words[i + 1].starts_with(words[i])) continue;
    words_.push_back(Word{words[i], AsciiOrNothing(words[i])});
  }
}

bool WordSearch::Finds(std::u16string_view text) {
  const bool ascii = std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; });
  return ascii ? FindsInAscii(text) : FindsInAnyText(text);
}

bool WordSearch::FindsInAscii(std::u16string_view text) {
  ascii_text_.resize(text.size());
  std::transform(text.begin(), text.end(), ascii_text_.begin(),
                 [](char16_t unit) { return static_cast<char>(FoldAscii(unit)); });
  return std::all_of(words_.begin(), words_.end(), [this](const Word& word) { return IsInAscii(word); });
}

bool WordSearch::IsInAscii(const Word& word) const {
  if (word.ascii.empty() || !ascii_rules_.IsInWords(word.folded[0])) return false;
  for (size_t start = 0; (start = ascii_text_.find(word.ascii, start)) != std::string::npos; ++start) {
    if (!ascii_rules_.IsBoundary(ascii_text_, start)) continue;
    size_t next = start + 1;
    const size_t end = start + word.ascii.size();
    while (next < end && !ascii_rules_.IsBoundary(ascii_text_, next)) ++next;
    if (next == end) return true;
  }
  return false;
}

bool WordSearch::FindsInAnyText(std::u16string_view text) {
  FoldText(text, folded_text_);
  iterator_has_text_ = false;
  return std::all_of(words_.begin(), words_.end(), [&](const Word& word) { return IsInText(word, text); });
}

bool WordSearch::Advance(std::u16string_view text, Place& place) {
  const FoldedCharacter character = FoldCharacter(NextCharacter(text, place.original));
  place.folded += character.units.size();
  return character.solid;
}

bool WordSearch::IsInText(const Word& word, std::u16string_view text) {
  Place place;
  for (size_t start = 0; (start = folded_text_.find(word.folded, start)) != std::u16string::npos; ++start) {
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
  bool starts_apart = start.original == 0;
  if (!starts_apart) {
    const char16_t before = text[start.original - 1];
    size_t next = start.original;
    if (FoldCharacter(before).solid && FoldCharacter(NextCharacter(text, next)).solid) return false;
    starts_apart = ascii_rules_.AlwaysSeparates(before);
  }
  if (starts_apart && SolidWordReaches(start, folded_end, text)) return true;
  return IteratorsWordReaches(start, folded_end, text);
}

bool WordSearch::SolidWordReaches(Place place, size_t folded_end, std::u16string_view text) const {
  for (Place next = place; next.original < text.size() && Advance(text, next);) place = next;
  const size_t end = place.original;
  if (place.folded < folded_end) return false;
  if (end == text.size() || ascii_rules_.AlwaysSeparates(text[end])) return true;
  if (text[end] >= 0x80 || ascii_rules_.IsInWords(text[end])) return false;
  return end + 1 == text.size() || ascii_rules_.AlwaysSeparates(text[end + 1]);
}

bool WordSearch::IteratorsWordReaches(Place place, size_t folded_end, std::u16string_view text) {
  if (!iterator_has_text_) SetText(iterator_.get(), text);
  iterator_has_text_ = true;
  if (!ubrk_isBoundary(iterator_.get(), static_cast<int32_t>(place.original))) return false;
  const int32_t end = ubrk_next(iterator_.get());
  if (end == UBRK_DONE || ubrk_getRuleStatus(iterator_.get()) < UBRK_WORD_NONE_LIMIT) return false;
  while (place.folded < folded_end && place.original < static_cast<size_t>(end)) Advance(text, place);
  return place.folded >= folded_end;
}

}  // namespace wordbreaker
