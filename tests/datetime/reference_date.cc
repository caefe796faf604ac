// What a well-formed date text looks like is one pattern; which of its numbers is which follows from the order. All
// else is invalid, and keeps only what the beginning of the text says: the separator and how the year was written.
#include "reference_date.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <regex>
#include <vector>

#include "reference_text.h"

namespace reference {
namespace {

enum class Place { kMonth, kDay, kYear };

constexpr std::array<std::array<Place, 3>, 6> kPlaces = {{{Place::kMonth, Place::kDay, Place::kYear},
                                                          {Place::kDay, Place::kMonth, Place::kYear},
                                                          {Place::kYear, Place::kMonth, Place::kDay},
                                                          {Place::kMonth, Place::kYear, Place::kDay},
                                                          {Place::kDay, Place::kYear, Place::kMonth},
                                                          {Place::kYear, Place::kDay, Place::kMonth}}};

// How often the first character that is no digit occurs.
std::ptrdiff_t FirstSeparatorCount(const std::wstring& text) {
  const auto first = std::find_if_not(text.begin(), text.end(), IsDigit);
  return first == text.end() ? 0 : std::count(text.begin(), text.end(), *first);
}

// The order's places that the text fills, or nothing when the order does not exist.
std::optional<std::vector<Place>> ExpectedPlaces(const std::wstring& text, unsigned order, std::size_t number_count) {
  if (order >= kPlaces.size()) return std::nullopt;
  std::vector<Place> places(kPlaces[order].begin(), kPlaces[order].end());
  const bool year_first = places.front() == Place::kYear;
  const bool year_last = places.back() == Place::kYear;
  if ((year_first && FirstSeparatorCount(text) < 2) || (year_last && number_count == 2)) {
    std::erase(places, Place::kYear);
  }
  return places;
}

int CenturyYear(int two_digits, int current_year) {
  const int century = current_year / 100 * 100;
  const int year_of_century = current_year % 100;
  const bool just_begun = year_of_century < 10;
  const bool nearly_over = year_of_century >= 90;
  if (just_begun && two_digits >= 90) return century + two_digits - 100;
  if (nearly_over && two_digits < 10) return century + two_digits + 100;
  return century + two_digits;
}

int YearOfDigits(const std::wstring& digits, bool two_digit_base_1900, int current_year) {
  const int value = std::stoi(digits);
  if (digits.size() >= 3) return value;
  return two_digit_base_1900 ? 1900 + value : CenturyYear(value, current_year);
}

// The digits that stand where the year is expected, whether or not the text is a date.
std::wstring YearDigits(const std::wstring& text, unsigned order) {
  static const std::wregex kFirst(L"^ *([0-9]*)");
  static const std::wregex kSecond(L"^ *[0-9]+[^0-9]([0-9]*)");
  static const std::wregex kThird(L"^ *[0-9]+([^0-9])[0-9]*\\1([0-9]*)");
  std::wsmatch match;
  if (order >= kPlaces.size()) return L"";
  switch (std::find(kPlaces[order].begin(), kPlaces[order].end(), Place::kYear) - kPlaces[order].begin()) {
    case 0:
      return FirstSeparatorCount(text) >= 2 && std::regex_search(text, match, kFirst) ? match.str(1) : L"";
    case 1:
      return std::regex_search(text, match, kSecond) ? match.str(1) : L"";
    default:
      return std::regex_search(text, match, kThird) ? match.str(2) : L"";
  }
}

int SeparatorAfterFirstNumber(const std::wstring& text, unsigned order) {
  static const std::wregex kPattern(L"^ *[0-9]+([^0-9])");
  std::wsmatch match;
  if (order >= kPlaces.size() || !std::regex_search(text, match, kPattern)) return 0;
  return static_cast<int>(match.str(1)[0]);
}

// The two or three numbers of a well-formed text, empty for any other text.
std::vector<std::wstring> Numbers(const std::wstring& text) {
  static const std::wregex kPattern(L" *([0-9]+)([^0-9])([0-9]+)(?:\\2([0-9]+))? *");
  std::wsmatch match;
  if (!std::regex_match(text, match, kPattern)) return {};
  if (match[4].matched) return {match.str(1), match.str(3), match.str(4)};
  // A space after two numbers that a space separates is the separator of a third one.
  if (match.str(2) == L" " && text.back() == L' ') return {};
  return {match.str(1), match.str(3)};
}

struct Fields {
  std::wstring month, day, year;
};

std::optional<Fields> AssignNumbers(const std::wstring& text, unsigned order) {
  const std::vector<std::wstring> numbers = Numbers(text);
  const auto places = ExpectedPlaces(text, order, numbers.size());
  if (!places || numbers.empty() || numbers.size() != places->size()) return std::nullopt;
  Fields fields;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (!NumberUpTo(numbers[i], 29999)) return std::nullopt;
    switch ((*places)[i]) {
      case Place::kMonth:
        fields.month = numbers[i];
        break;
      case Place::kDay:
        fields.day = numbers[i];
        break;
      case Place::kYear:
        fields.year = numbers[i];
        break;
    }
  }
  return fields;
}

bool Exists(int year, int month, int day) {
  // The parts of <chrono>'s dates are bytes, so that larger numbers would wrap.
  if (year < 1 || year > 3000 || month < 1 || month > 12 || day < 1 || day > 31) return false;
  return std::chrono::year_month_day(std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                     std::chrono::day(static_cast<unsigned>(day)))
      .ok();
}

bool IsBlank(const std::wstring& text) { return text.find_first_not_of(L' ') == std::wstring::npos; }

}  // namespace

DateRec ParseDate(const std::u16string& wide, const DateFormat& format, bool two_digit_base_1900,
                  bool require_four_digit_year, int current_year) {
  const std::wstring text = Widen(wide);
  const unsigned order = format.order;
  DateRec date{};
  date.status = MDbDateInvalid;
  date.separator = SeparatorAfterFirstNumber(text, order);
  date.fourDigitYear = YearDigits(text, order).size() == 4;
  if (!text.empty() && IsBlank(text) && order < kPlaces.size()) date.status = MDbDateBlank;

  const auto fields = AssignNumbers(text, order);
  if (!fields || (require_four_digit_year && !date.fourDigitYear)) return date;
  const int month = std::stoi(fields->month);
  const int day = std::stoi(fields->day);
  const bool this_year = fields->year.empty();
  const int year = this_year ? current_year : YearOfDigits(fields->year, two_digit_base_1900, current_year);
  if (!this_year && month == 0 && day == 0 && year == 0) date.status = MDbDateZero;
  if (!Exists(year, month, day)) return date;
  date.status = this_year ? MDbDateThisYear : MDbDateValid;
  date.month = static_cast<int16_t>(month);
  date.day = static_cast<int16_t>(day);
  date.year = static_cast<int16_t>(year);
  return date;
}

std::u16string FormatDate(const DateRec& date, const DateFormat& format) {
  if (date.status == MDbDateBlank || format.order >= kPlaces.size()) return date.status == MDbDateInvalid ? u"?" : u"";
  if (date.status == MDbDateInvalid) return u"?";
  char16_t separator = format.separator;
  if (format.ownSeparator != 0 && date.separator != 0) separator = static_cast<char16_t>(date.separator);
  std::u16string text;
  for (const Place place : kPlaces[format.order]) {
    if (!text.empty() && separator != 0) text += separator;
    if (place == Place::kMonth) text += Padded(date.month, format.monthLeadingZero != 0 ? 2 : 1);
    if (place == Place::kDay) text += Padded(date.day, format.dayLeadingZero != 0 ? 2 : 1);
    if (place == Place::kYear) text += Padded(date.year, 4);
  }
  return text;
}

int DayNumber(int year, int month, int day) {
  using std::chrono::sys_days;
  const std::chrono::year_month_day date(std::chrono::year(year), std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day)));
  const sys_days first = std::chrono::year(1) / 1 / 1;
  return static_cast<int>((sys_days(date) - first).count()) + 1;
}

DateRec DateOfDayNumber(int day_number) {
  const std::chrono::sys_days first = std::chrono::year(1) / 1 / 1;
  const std::chrono::sys_days end = std::chrono::year(3001) / 1 / 1;
  const std::chrono::sys_days day = first + std::chrono::days(day_number) - std::chrono::days(1);
  DateRec date{};
  date.fourDigitYear = 1;
  date.status = MDbDateInvalid;
  if (day < first || day >= end) return date;
  const std::chrono::year_month_day parts(day);
  date.status = MDbDateValid;
  date.month = static_cast<int16_t>(static_cast<unsigned>(parts.month()));
  date.day = static_cast<int16_t>(static_cast<unsigned>(parts.day()));
  date.year = static_cast<int16_t>(static_cast<int>(parts.year()));
  return date;
}

int CompareDates(const std::u16string& a, const std::u16string& b, const DateFormat& format, bool two_digit_base_1900,
                 int current_year) {
  // Groups in ascending order: empty texts, texts that are no dates, dates.
  const auto day_of = [&](const std::u16string& text) {
    const DateRec date = ParseDate(text, format, two_digit_base_1900, false, current_year);
    return date.status >= MDbDateBlank ? 0 : DayNumber(date.year, date.month, date.day);
  };
  const auto group_of = [](const std::u16string& text, int day) { return text.empty() ? 0 : day == 0 ? 1 : 2; };
  const int day_a = day_of(a);
  const int day_b = day_of(b);
  const int group_a = group_of(a, day_a);
  const int group_b = group_of(b, day_b);
  if (group_a != group_b) return Sign(group_a - group_b);
  return group_a == 1 ? Sign(CompareTexts(a, b)) : Sign(day_a - day_b);
}

}  // namespace reference
