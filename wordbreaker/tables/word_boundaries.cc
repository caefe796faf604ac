// See word_boundaries.h: the root locale's rules, over the whole text at once when the first question comes. Comments name
// the rules of UAX #29.
//
// Scripts that are written without spaces are not cut by dictionary: each ideograph and each hiragana is a word, and what
// stands together in Thai, Lao, Khmer and Burmese letters is one.
#include "word_boundaries.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <vector>

#include "text_folding.h"
#include "word_tables.h"

namespace wordbreaker {

namespace {

using enum WordClass;

struct Character {
  size_t position;
  WordClass word_class;
};

struct Piece {
  size_t end;
  bool is_word;
};

bool IsLine(WordClass one) { return one == kCarriageReturn || one == kLineFeed || one == kNewline; }
bool IsIgnored(WordClass one) { return one == kExtend || one == kJoiner; }
bool IsLetter(WordClass one) { return one == kLetter || one == kHebrewLetter; }
bool JoinsLetters(WordClass one) { return one == kMidLetter || one == kMidNumberOrLetter || one == kSingleQuote; }
bool JoinsNumbers(WordClass one) { return one == kMidNumber || one == kMidNumberOrLetter || one == kSingleQuote; }

// What stands around a place between two characters, those that are ignored left out (WB4). kOther where there is none.
struct Surroundings {
  WordClass before_that = kOther;
  WordClass before = kOther;
  WordClass after = kOther;
  WordClass after_that = kOther;
};

bool LettersHold(const Surroundings& at) {
  if (IsLetter(at.before) && IsLetter(at.after)) return true;                                                 // WB5
  if (IsLetter(at.before) && JoinsLetters(at.after) && IsLetter(at.after_that)) return true;                  // WB6
  if (IsLetter(at.before_that) && JoinsLetters(at.before) && IsLetter(at.after)) return true;                 // WB7
  if (at.before == kHebrewLetter && at.after == kSingleQuote) return true;                                    // WB7a
  if (at.before == kHebrewLetter && at.after == kDoubleQuote && at.after_that == kHebrewLetter) return true;  // WB7b
  return at.before_that == kHebrewLetter && at.before == kDoubleQuote && at.after == kHebrewLetter;           // WB7c
}

bool NumbersHold(const Surroundings& at) {
  const bool before = IsLetter(at.before) || at.before == kNumeric;
  const bool after = IsLetter(at.after) || at.after == kNumeric;
  if (before && after && (at.before == kNumeric || at.after == kNumeric)) return true;             // WB8 to WB10
  if (at.before_that == kNumeric && JoinsNumbers(at.before) && at.after == kNumeric) return true;  // WB11
  return at.before == kNumeric && JoinsNumbers(at.after) && at.after_that == kNumeric;             // WB12
}

// WB13 to WB13b.
bool ConnectorsHold(const Surroundings& at) {
  const auto is_held = [](WordClass one) { return IsLetter(one) || one == kNumeric || one == kKatakana; };
  if (at.before == kKatakana && at.after == kKatakana) return true;
  if (at.after == kExtendNumberOrLetter) return is_held(at.before) || at.before == kExtendNumberOrLetter;
  return at.before == kExtendNumberOrLetter && is_held(at.after);
}

class Cutter {
 public:
  Cutter(std::u16string_view text, std::vector<Piece>& pieces) : text_size_(text.size()), pieces_(pieces) {
    for (size_t position = 0; position < text.size();) {
      const size_t start = position;
      const char32_t character = NextCharacter(text, position);
      characters_.push_back({start, WordClassOf(character)});
    }
  }

  void Cut() {
    pieces_.clear();
    if (characters_.empty()) return;
    Surroundings at;
    at.before = characters_[0].word_class;
    size_t begin = 0;
    size_t flags = at.before == kRegionalIndicator ? 1 : 0;  // that stand in front of the place
    for (size_t i = 1; i < characters_.size(); ++i) {
      const WordClass raw_before = characters_[i - 1].word_class;
      const WordClass here = characters_[i].word_class;
      const bool is_ignored = IsIgnored(here) && !IsLine(raw_before);
      if (is_ignored) continue;
      at.after = here;
      at.after_that = ClassBehind(i);
      if (!Holds(raw_before, at, flags)) {
        EndPiece(begin, i, at);
        begin = i;
      }
      flags = here == kRegionalIndicator ? flags + 1 : 0;
      at.before_that = at.before;
      at.before = here;
    }
    EndPiece(begin, characters_.size(), at);
  }

 private:
  WordClass ClassBehind(size_t index) const {
    if (IsLine(characters_[index].word_class)) return kOther;
    for (size_t i = index + 1; i < characters_.size(); ++i) {
      if (!IsIgnored(characters_[i].word_class)) return characters_[i].word_class;
    }
    return kOther;
  }

  static bool Holds(WordClass raw_before, const Surroundings& at, size_t flags) {
    if (raw_before == kCarriageReturn && at.after == kLineFeed) return true;                       // WB3
    if (IsLine(raw_before) || IsLine(at.after)) return false;                                      // WB3a, WB3b
    if (raw_before == kJoiner && at.after == kPictograph) return true;                             // WB3c
    if (raw_before == kSpace && at.after == kSpace) return true;                                   // WB3d
    if (at.before == kRegionalIndicator && at.after == kRegionalIndicator) return flags % 2 == 1;  // WB15, WB16
    return LettersHold(at) || NumbersHold(at) || ConnectorsHold(at);
  }

  // What a piece ends with says whether it is a word. A low line does so behind
  // something, and an apostrophe behind a Hebrew letter, unless they have a mark.
  void EndPiece(size_t begin, size_t end, const Surroundings& at) {
    const WordClass last = at.before;
    const bool has_more = end - begin > 1;
    const bool has_mark = IsIgnored(characters_[end - 1].word_class);
    const bool is_word = IsLetter(last) || last == kNumeric || last == kKatakana || last == kIdeograph ||
                         (last == kExtendNumberOrLetter && has_more && !has_mark) ||
                         (last == kSingleQuote && at.before_that == kHebrewLetter && !has_mark);
    pieces_.push_back({end == characters_.size() ? text_size_ : characters_[end].position, is_word});
  }

  size_t text_size_;
  std::vector<Piece>& pieces_;
  std::vector<Character> characters_;
};

}  // namespace

struct WordBoundaries::Rules {
  std::vector<Piece> pieces;
  size_t next = 0;
};

WordBoundaries::WordBoundaries(const std::string& /*locale*/) : rules_(std::make_unique<Rules>()) {}
WordBoundaries::WordBoundaries(const WordBoundaries& /*other*/) : rules_(std::make_unique<Rules>()) {}
WordBoundaries::~WordBoundaries() = default;

void WordBoundaries::SetText(std::u16string_view text) {
  if (text.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) throw std::bad_alloc();
  rules_->next = 0;
  Cutter(text, rules_->pieces).Cut();
}

bool WordBoundaries::IsBoundary(size_t position) {
  const auto& pieces = rules_->pieces;
  const auto behind =
      std::partition_point(pieces.begin(), pieces.end(), [position](const Piece& one) { return one.end <= position; });
  const bool is_boundary = position == 0 || (behind != pieces.begin() && std::prev(behind)->end == position);
  if (is_boundary) rules_->next = static_cast<size_t>(behind - pieces.begin());
  return is_boundary;
}

size_t WordBoundaries::Next() {
  return rules_->next < rules_->pieces.size() ? rules_->pieces[rules_->next++].end : kEnd;
}

bool WordBoundaries::HasPassedWord() const { return rules_->next != 0 && rules_->pieces[rules_->next - 1].is_word; }

}  // namespace wordbreaker
