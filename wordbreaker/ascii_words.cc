#include "ascii_words.h"

namespace wordbreaker {

AsciiRules::AsciiRules(const std::function<bool(std::u16string_view)>& is_one_piece) {
  // The apostrophe joins letters and the comma joins digits by every language's rules.
  for (size_t i = 1; i < traits_.size(); ++i) {
    uint8_t& traits = traits_[i];
    const auto c = static_cast<char16_t>(i);
    if (is_one_piece({std::array{u'a', c}.data(), 2}) && is_one_piece({std::array{c, u'a'}.data(), 2})) {
      traits = kInWords;
      if (is_one_piece({std::array{u'a', u'\'', c}.data(), 3})) traits |= kLetter;
      if (is_one_piece({std::array{u'1', u',', c}.data(), 3})) traits |= kDigit;
    } else {
      if (is_one_piece({std::array{u'a', c, u'a'}.data(), 3})) traits |= kJoinsLetters;
      if (is_one_piece({std::array{u'1', c, u'1'}.data(), 3})) traits |= kJoinsDigits;
    }
  }
}

bool AsciiRules::Joins(char16_t before, char16_t middle, char16_t after) const {
  return (Has(middle, kJoinsLetters) && Has(before, kLetter) && Has(after, kLetter)) ||
         (Has(middle, kJoinsDigits) && Has(before, kDigit) && Has(after, kDigit));
}

bool AsciiRules::IsBoundary(std::u16string_view text, size_t position) const {
  if (position == 0) return true;
  const char16_t before = text[position - 1];
  const char16_t after = text[position];
  if (IsInWords(before) && IsInWords(after)) return false;
  if (position + 1 < text.size() && Joins(before, after, text[position + 1])) return false;
  return position < 2 || !Joins(text[position - 2], before, after);
}

}  // namespace wordbreaker
