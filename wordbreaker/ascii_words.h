// Word boundaries in plain ASCII text, without an iterator.
//
// Which characters belong to words is asked of the language's own rules, once, so that both ways agree: a colon joins
// letters in Swedish, a point does not in the POSIX locale.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string_view>

namespace wordbreaker {

class AsciiRules {
 public:
  // is_one_piece tells whether the language's rules leave a text whole.
  explicit AsciiRules(const std::function<bool(std::u16string_view)>& is_one_piece);

  // True when text has a word boundary in front of position, which is inside text. Exact wherever one of the two
  // characters there belongs to words; elsewhere the answer is true.
  bool IsBoundary(std::u16string_view text, size_t position) const;

  // True for characters that are in words wherever they stand: letters, digits, the low line.
  bool IsInWords(char16_t character) const { return Has(character, kInWords); }

  // True for characters that are in no word and have a boundary on the side where a letter or digit stands.
  bool AlwaysSeparates(char16_t character) const { return character < traits_.size() && traits_[character] == 0; }

 private:
  enum Trait : uint8_t {
    kInWords = 1,
    kLetter = 2,        // takes part in "a.b"
    kDigit = 4,         // takes part in "1,2"
    kJoinsLetters = 8,  // only when a letter stands on both sides
    kJoinsDigits = 16   // only when a digit stands on both sides
  };

  bool Has(char16_t character, uint8_t traits) const {
    return character < traits_.size() && (traits_[character] & traits) != 0;
  }

  // True when the character in the middle holds the other two together.
  bool Joins(char16_t before, char16_t middle, char16_t after) const;

  std::array<uint8_t, 128> traits_{};
};

}  // namespace wordbreaker
