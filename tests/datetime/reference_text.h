// Small text pieces that the second reading of dates and of times has in common. Only ASCII letters have two cases
// here.
#pragma once

#include <optional>
#include <string>

namespace reference {

bool IsDigit(wchar_t character);
std::wstring Widen(const std::u16string& text);
std::u16string Narrow(const std::wstring& text);
std::u16string Padded(int number, std::size_t width);  // with zeros; the number is not negative
std::u16string LowerCase(std::u16string text);
int Sign(int number);

// Without regard to case first; texts that are equal so far by their exact characters. -1, 0 or 1.
int CompareTexts(const std::u16string& a, const std::u16string& b);

// The number that digits, of any length, stand for; nothing when it is above limit (which has at most nine digits).
std::optional<int> NumberUpTo(const std::wstring& digits, int limit);

}  // namespace reference
