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

void Advance(std::u16string_view text, size_t& original, size_t& folded, bool& solid) {
  const FoldedCharacter character = FoldCharacter(NextCharacter(text, original));
  folded += character.units.size();
  solid = character.solid;
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

bool WordSearch::IsInText(const Word& word, std::u16string_view text) {
  Place place;
  bool solid;
  for (size_t start = 0; (start = folded_text_.find(word.folded, start)) != std::u16string::npos; ++start) {
    while (place.folded < start) Advance(text, place.original, place.folded, solid);
    // Inside one character's folding no word starts. In front of a character without a folding of its own one may, and
    // also behind it.
    while (place.folded == start) {
      if (WordStartsAt(place, start + word.folded.size(), text)) return true;
      Advance(text, place.original, place.folded, solid);
    }
  }
  return false;
}

// True when a word of the text starts there and its folding reaches folded_end. Answers without the iterator where
// solid characters leave no doubt.
bool WordSearch::WordStartsAt(Place start, size_t folded_end, std::u16string_view text) {
  Place end = start;
  bool all_solid = true;
  while (end.folded < folded_end) {
    bool solid;
    Advance(text, end.original, end.folded, solid);
    all_solid = all_solid && solid;
  }
  bool starts_apart = start.original == 0;
  if (!starts_apart) {
    const char16_t before = text[start.original - 1];
    size_t next = start.original;
    const bool starts_solid = FoldCharacter(NextCharacter(text, next)).solid;
    if (starts_solid && FoldCharacter(before).solid) return false;
    starts_apart = ascii_rules_.AlwaysSeparates(before);
  }
  if (starts_apart && all_solid && IsSolidToItsEnd(end.original, text)) return true;
  return WordReaches(start.original, end.original, text);
}

// True when only solid characters follow, up to one that certainly ends the word. The whole word must be seen: a mark
// behind a low line makes all of it no word.
bool WordSearch::IsSolidToItsEnd(size_t position, std::u16string_view text) const {
  size_t next = position;
  while (position < text.size() && FoldCharacter(NextCharacter(text, next)).solid) position = next;
  if (position == text.size() || ascii_rules_.AlwaysSeparates(text[position])) return true;
  if (text[position] >= 0x80 || ascii_rules_.IsInWords(text[position])) return false;
  return position + 1 == text.size() || ascii_rules_.AlwaysSeparates(text[position + 1]);
}

bool WordSearch::WordReaches(size_t start, size_t end, std::u16string_view text) {
  if (!iterator_has_text_) SetText(iterator_.get(), text);
  iterator_has_text_ = true;
  if (!ubrk_isBoundary(iterator_.get(), static_cast<int32_t>(start))) return false;
  return ubrk_next(iterator_.get()) >= static_cast<int32_t>(end) &&
         ubrk_getRuleStatus(iterator_.get()) >= UBRK_WORD_NONE_LIMIT;
}

}  // namespace wordbreaker
