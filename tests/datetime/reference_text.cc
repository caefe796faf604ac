// Texts are handled as whole strings here, never by a cursor.
#include "reference_text.h"

#include <algorithm>
#include <iterator>

namespace reference {

bool IsDigit(wchar_t character) { return character >= L'0' && character <= L'9'; }

std::wstring Widen(const std::u16string& text) { return {text.begin(), text.end()}; }

std::u16string Narrow(const std::wstring& text) {
  std::u16string result;
  std::transform(text.begin(), text.end(), std::back_inserter(result),
                 [](wchar_t unit) { return static_cast<char16_t>(unit); });
  return result;
}

std::u16string Padded(int number, std::size_t width) {
  const std::string digits = std::to_string(number);
  std::u16string text(digits.size() < width ? width - digits.size() : 0, u'0');
  return text.append(digits.begin(), digits.end());
}

std::u16string LowerCase(std::u16string text) {
  for (char16_t& unit : text) {
    if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit - u'A' + u'a');
  }
  return text;
}

int Sign(int number) { return (number > 0) - (number < 0); }

int CompareTexts(const std::u16string& a, const std::u16string& b) {
  const int folded = LowerCase(a).compare(LowerCase(b));
  return Sign(folded != 0 ? folded : a.compare(b));
}

std::optional<int> NumberUpTo(const std::wstring& digits, int limit) {
  const std::wstring significant = digits.substr(std::min(digits.find_first_not_of(L'0'), digits.size()));
  if (significant.size() > 9) return std::nullopt;
  const int number = significant.empty() ? 0 : std::stoi(significant);
  return number <= limit ? std::optional<int>(number) : std::nullopt;
}

}  // namespace reference
