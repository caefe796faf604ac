// A text is drawn whole first; then one in three gets mistakes and one in ten is replaced by garbage.
//
// Letters are ASCII's and of the characters between the cases none is used, so that folding to upper and to lower case
// order texts alike.
#include "random_texts.h"

#include <initializer_list>

#include "datetime_samples.h"

std::u16string RandomTexts::OneOf(std::initializer_list<const char16_t*> texts) {
  return texts.begin()[Below(static_cast<int>(texts.size()))];
}

std::u16string RandomTexts::Number(int value, int width) {
  const std::string digits = std::to_string(value);
  std::u16string text(digits.begin(), digits.end());
  while (text.size() < static_cast<std::size_t>(width)) text.insert(text.begin(), u'0');
  return text;
}

std::u16string RandomTexts::Spaces() {
  return std::u16string(OneIn(6) ? static_cast<std::size_t>(Between(1, 2)) : 0, u' ');
}

std::u16string RandomTexts::YearText() {
  switch (Below(8)) {
    case 0:
      return Number(Below(10), 1);
    case 1:
    case 2:
      return Number(Below(100), 2);
    case 3:
      return Number(Below(1000), 3);
    case 4:
      return Number(Between(2900, 3100), 4);
    case 5:
      return OneOf({u"0", u"00", u"000", u"0000", u"29999", u"30000", u"02024", u"4294967297"});
    default:
      return Number(Between(0, 3000), 4);
  }
}

std::u16string RandomTexts::Date(int order) {
  if (OneIn(10)) return Garbage();
  const bool zero = OneIn(12);
  const std::u16string month = Number(zero ? 0 : OneIn(8) ? Below(40) : Between(1, 12), Between(1, 2));
  const std::u16string day = Number(zero ? 0 : OneIn(4) ? Between(28, 32) : Between(1, 28), Between(1, 2));
  const std::u16string year = zero ? OneOf({u"0000", u"000", u"0", u"00000"}) : YearText();
  const std::u16string separator = OneOf({u"/", u"-", u".", u" ", u":", u"x", u"\u5E74"});
  const bool leave_out_year = OneIn(4);
  std::u16string text = Spaces();
  int written = 0;
  for (const char part : std::string_view("mdydmyymdmyddymydm").substr(static_cast<std::size_t>(order % 6) * 3, 3)) {
    if (part == 'y' && leave_out_year) continue;
    if (written++ > 0) text += separator;
    text += part == 'm' ? month : part == 'd' ? day : year;
  }
  text += Spaces();
  return OneIn(3) ? Mutated(text) : text;
}

DateFormat RandomTexts::DateFormatOfAnyKind() {
  const int order = OneIn(20) ? 6 : Below(6);
  return {OneOf({u"/", u"-", u".", u" ", u""})[0],  // the empty one is a separator of 0
          static_cast<uint8_t>(order), static_cast<uint8_t>(Below(2)), static_cast<uint8_t>(Below(2)),
          static_cast<uint8_t>(Below(2))};
}

std::u16string RandomTexts::Hours() {
  switch (Below(6)) {
    case 0:
      return Number(Between(11, 25), 1);
    case 1:
      return OneOf(
          {u"32766", u"32767", u"32768", u"65536", u"2147483647", u"2147483648", u"99999999999", u"0000000000007"});
    default:
      return Number(Below(14), Between(1, 2));
  }
}

std::u16string RandomTexts::Minutes() {
  switch (Below(8)) {
    case 0:
      return Number(Between(58, 62), 2);
    case 1:
      return OneOf({u"", u"3599", u"3600", u"32767", u"32768", u"99999", u"2147483647", u"4294967296", u"118000000"});
    default:
      return Number(Below(60), Between(1, 2));
  }
}

std::u16string RandomTexts::Suffix(const TimeFormat& format) {
  const int which = Below(6);
  std::u16string text;
  for (std::size_t i = 0; i < 6 && which < 3; ++i) {
    const char16_t unit = which == 0   ? format.morningSuffix[i]
                          : which == 1 ? format.afternoonSuffix[i]
                                       : format.twentyFourHourSuffix[i];
    if (unit == 0) break;
    text += unit;
  }
  if (OneIn(8)) text += Character();
  return CaseChanged(text);
}

std::u16string RandomTexts::CaseChanged(std::u16string text) {
  for (char16_t& unit : text) {
    const bool letter = (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
    if (letter && OneIn(3)) unit = static_cast<char16_t>(unit ^ 0x20);
  }
  return text;
}

std::u16string RandomTexts::Time(const TimeFormat& format) {
  if (OneIn(10)) return Garbage();
  const std::u16string separator(format.separator != 0 ? 1 : 0, format.separator);
  std::u16string text = Spaces() + (OneIn(6) ? u"-" : u"") + Spaces() + Hours() + Spaces();
  const int components = Below(3);
  for (int i = 0; i < components; ++i) text += separator + Spaces() + Minutes() + Spaces();
  text += Suffix(format);
  return OneIn(3) ? Mutated(text) : text;
}

TimeFormat RandomTexts::TimeFormatOfAnyKind() {
  TimeFormat format = TimeFormatOf(OneOf({u"AM", u"AM", u" AM", u"before", u" a.m.", u"", u"   ", u"x"}),
                                   OneOf({u"PM", u"PM", u" PM", u"  PM", u"after ", u"p.m.", u"", u"x"}),
                                   OneOf({u"h", u"", u" h", u"oclock", u" ", u"uhr", u"x"}),
                                   OneOf({u":", u":", u".", u" ", u"-", u"h", u"5", u"$", u""})[0]);
  format.hourLeadingZero = static_cast<uint8_t>(Below(2));
  format.twelveHour = static_cast<uint8_t>(Below(2));
  return format;
}

char16_t RandomTexts::Character() {
  static const std::u16string kCharacters =
      u"00112233445566778899//--..::  AaPpMmHhXx$+\t\u5E74\uFF11\u0663\u00A0\xD83D";
  return kCharacters[static_cast<std::size_t>(Below(static_cast<int>(kCharacters.size())))];
}

std::u16string RandomTexts::Garbage() {
  std::u16string text;
  for (int length = Below(13); length > 0; --length) text += OneIn(3) ? u' ' : Character();
  return OneIn(4) ? std::u16string(text.size() % 4, u' ') : text;
}

std::u16string RandomTexts::Mutated(std::u16string text) {
  for (int mistakes = Between(1, 2); mistakes > 0 && !text.empty(); --mistakes) {
    const auto at = static_cast<std::size_t>(Below(static_cast<int>(text.size())));
    switch (Below(4)) {
      case 0:
        text.erase(at, 1);
        break;
      case 1:
        text.insert(at, 1, Character());
        break;
      case 2:
        text[at] = Character();
        break;
      default:
        text.insert(at, 1, text[at]);
        break;
    }
  }
  return text;
}
