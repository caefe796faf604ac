// The order of texts for the model of the record sets where there is no ICU: by hand, for the characters that the
// stream's texts are made of and no others. Letters first by themselves, then by their accents, then by their case and
// form, as the collator's root order has it; what is no Latin letter comes last, by code point.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>

#include "plain_values.h"

namespace plain {
namespace {

// One letter of the order; some characters are two.
struct Letter {
  uint32_t primary;
  int accent;
  int form;  // 0 small, 1 small in another form, 2 capital
};

using Letters = std::vector<Letter>;

// Signs and digits as they stand before the letters.
constexpr char kBeforeLetters[] = " _-.,:/0123456789";

Letter LatinLetter(char16_t unit, int accent, int other_form) {
  const bool capital = unit >= u'A' && unit <= u'Z';
  return {1000u + (capital ? unit + 32u : unit), accent, capital ? 2 : other_form};
}

void Append(char16_t unit, Letters* letters) {
  if (unit < 0x80 && std::isalpha(unit)) return letters->push_back(LatinLetter(unit, 0, 0));
  switch (unit) {
    case u'á':
      return letters->push_back(LatinLetter(u'a', 1, 0));
    case u'Á':
      return letters->push_back(LatinLetter(u'A', 1, 0));
    case u'é':
      return letters->push_back(LatinLetter(u'e', 1, 0));
    case u'ß':
      letters->insert(letters->end(), 2, LatinLetter(u's', 0, 1));
      return;
    default:
      break;
  }
  const size_t place = std::string_view(kBeforeLetters).find(static_cast<char>(unit));
  if (unit < 0x80 && place != std::string_view::npos) return letters->push_back({static_cast<uint32_t>(place), 0, 0});
  if (unit < 0x80) ADD_FAILURE() << "a character that the order does not know: " << static_cast<int>(unit);
  const bool half_of_a_pair = unit >= 0xD800 && unit <= 0xDFFF;  // of a code point above all that are one unit
  letters->push_back({(half_of_a_pair ? 0x20000u : 0x10000u) + unit, 0, 0});
}

Letters LettersOf(const Text& text) {
  Letters letters;
  for (const char16_t unit : text) Append(unit, &letters);
  return letters;
}

// Sign of the first difference in one aspect of the letters.
template <typename Aspect>
int Compare(const Letters& a, const Letters& b, Aspect aspect) {
  const auto is_less = [aspect](const Letter& x, const Letter& y) { return x.*aspect < y.*aspect; };
  if (std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), is_less)) return -1;
  return std::lexicographical_compare(b.begin(), b.end(), a.begin(), a.end(), is_less) ? 1 : 0;
}

}  // namespace

int CompareText(const Text& a, const Text& b) {
  const Letters left = LettersOf(a);
  const Letters right = LettersOf(b);
  if (const int order = Compare(left, right, &Letter::primary)) return order;
  if (const int order = Compare(left, right, &Letter::accent)) return order;
  return Compare(left, right, &Letter::form);
}

}  // namespace plain
