#include "plain_values.h"

#include <unicode/ucol.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <limits>
#include <regex>

#include "mdb_types.h"

namespace plain {
namespace {

// The stream's texts are ASCII wherever they have a value; anything else becomes a character that no pattern accepts.
std::string Narrow(const Text& text) {
  std::string narrow;
  for (const char16_t unit : text) narrow.push_back(unit < 128 ? static_cast<char>(unit) : '\x7F');
  return narrow;
}

bool IsWordCharacter(const std::string& text, size_t at) {
  const auto alphanumeric = [&](size_t i) {
    return i < text.size() && std::isalnum(static_cast<unsigned char>(text[i]));
  };
  const auto digit = [&](size_t i) { return i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); };
  if (alphanumeric(at)) return true;
  const bool between_digits = at > 0 && digit(at - 1) && digit(at + 1);
  return between_digits && (text[at] == '.' || text[at] == ',');
}

std::vector<std::string> Words(const Text& wide) {
  const std::string text = Narrow(wide);
  std::vector<std::string> words;
  bool inside = false;
  for (size_t i = 0; i < text.size(); ++i) {
    if (!IsWordCharacter(text, i)) {
      inside = false;
      continue;
    }
    if (!inside) words.emplace_back();
    inside = true;
    words.back().push_back(static_cast<char>(std::tolower(static_cast<unsigned char>(text[i]))));
  }
  return words;
}

UCollator* RootCollator() {
  static UCollator* const collator = [] {
    UErrorCode error = U_ZERO_ERROR;
    UCollator* opened = ucol_open("root", &error);
    if (U_FAILURE(error)) std::abort();
    ucol_setStrength(opened, UCOL_TERTIARY);
    return opened;
  }();
  return collator;
}

}  // namespace

std::optional<int32_t> NumberValue(const Text& text) {
  const std::string whole = Narrow(text).substr(0, Narrow(text).find('.'));
  const size_t first_digit = whole.find_first_of("0123456789");
  if (first_digit == std::string::npos) return std::nullopt;
  const bool negative = whole.substr(0, first_digit).find('-') != std::string::npos;
  int64_t value = 0;
  for (const char character : whole) {
    if (character < '0' || character > '9') continue;
    value = std::min<int64_t>(value * 10 + (character - '0'), int64_t{1} << 40);
  }
  if (negative) value = -value;
  const bool in_range = value > std::numeric_limits<int32_t>::min() && value < std::numeric_limits<int32_t>::max();
  return in_range ? std::optional<int32_t>(static_cast<int32_t>(value)) : std::nullopt;
}

std::optional<int32_t> DateValue(const Text& text) {
  static const std::regex pattern(" *([0-9]{1,2})/([0-9]{1,2})/([0-9]{3,4}) *");
  std::smatch part;
  const std::string narrow = Narrow(text);
  if (!std::regex_match(narrow, part, pattern)) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year(std::stoi(part[3])),
                                         std::chrono::month(static_cast<unsigned>(std::stoi(part[1]))),
                                         std::chrono::day(static_cast<unsigned>(std::stoi(part[2])))};
  if (!date.ok() || date.year() < std::chrono::year(1) || date.year() > std::chrono::year(3000)) return std::nullopt;
  return static_cast<int32_t>(std::chrono::sys_days(date).time_since_epoch().count());
}

std::optional<int32_t> TimeValue(const Text& text) {
  static const std::regex pattern(" *(-?) *([0-9]{1,9})(:([0-9]{1,6})(:([0-9]{1,6}))?)? *(AM|PM|H)?",
                                  std::regex::icase);
  std::smatch part;
  const std::string narrow = Narrow(text);
  if (!std::regex_match(narrow, part, pattern)) return std::nullopt;
  const int64_t seconds = part[6].matched ? std::stol(part[6]) : 0;
  const int64_t minutes = part[4].matched ? std::stol(part[4]) : 0;
  const bool negative = part[1].length() > 0;
  int64_t total = std::stol(part[2]) * 3600 + minutes * 60 + seconds;
  const int64_t hours = total / 3600;
  std::string suffix = part[7];
  for (char& character : suffix) character = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
  if (hours >= 32767 || (negative && !suffix.empty())) return std::nullopt;
  if (suffix == "H" && hours >= 24) return std::nullopt;
  if ((suffix == "AM" || suffix == "PM") && hours > 12) return std::nullopt;
  if (suffix == "AM" && hours == 12) total -= 12 * 3600;
  if (suffix == "PM" && hours < 12) total += 12 * 3600;
  return static_cast<int32_t>(negative ? -total : total);
}

std::optional<int32_t> ValueOf(uint8_t type, const Text& text) {
  switch (type) {
    case MDbFieldNumber:
      return NumberValue(text);
    case MDbFieldDate:
      return DateValue(text);
    case MDbFieldTime:
      return TimeValue(text);
    default:
      return std::nullopt;
  }
}

bool WordsMatch(const Text& search, const Text& text) {
  const std::vector<std::string> words = Words(text);
  for (const std::string& wanted : Words(search)) {
    const auto begins = [&](const std::string& word) { return word.compare(0, wanted.size(), wanted) == 0; };
    if (std::none_of(words.begin(), words.end(), begins)) return false;
  }
  return true;
}

int CompareText(const Text& a, const Text& b) {
  return ucol_strcoll(RootCollator(), a.data(), static_cast<int32_t>(a.size()), b.data(),
                      static_cast<int32_t>(b.size()));
}

}  // namespace plain
