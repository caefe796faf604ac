#include "plain_values.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <limits>

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

// Reads a text from its first character that is no space.
class Reader {
 public:
  explicit Reader(const Text& text) : text_(Narrow(text)) { Spaces(); }

  void Spaces() {
    while (Takes(' ')) continue;
  }
  bool Takes(char character) {
    if (at_ >= text_.size() || text_[at_] != character) return false;
    ++at_;
    return true;
  }
  // A number of so many digits.
  std::optional<int64_t> Digits(size_t least, size_t most) {
    const size_t begin = at_;
    while (at_ < text_.size() && std::isdigit(static_cast<unsigned char>(text_[at_]))) ++at_;
    const size_t count = at_ - begin;
    if (count < least || count > most) return std::nullopt;
    return std::stoll(text_.substr(begin, count));
  }
  bool AtEnd() const { return at_ == text_.size(); }
  std::string RestInCapitals() const {
    std::string rest = text_.substr(at_);
    for (char& character : rest) character = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    return rest;
  }

 private:
  std::string text_;
  size_t at_ = 0;
};

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
  Reader reader(text);
  const auto month = reader.Digits(1, 2);
  const bool first_separator = reader.Takes('/');
  const auto day = reader.Digits(1, 2);
  const bool second_separator = reader.Takes('/');
  const auto year = reader.Digits(3, 4);
  reader.Spaces();
  if (!month || !first_separator || !day || !second_separator || !year || !reader.AtEnd()) return std::nullopt;
  const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(*year)),
                                         std::chrono::month(static_cast<unsigned>(*month)),
                                         std::chrono::day(static_cast<unsigned>(*day))};
  if (!date.ok() || date.year() < std::chrono::year(1) || date.year() > std::chrono::year(3000)) return std::nullopt;
  return static_cast<int32_t>(std::chrono::sys_days(date).time_since_epoch().count());
}

std::optional<int32_t> TimeValue(const Text& text) {
  Reader reader(text);
  const bool negative = reader.Takes('-');
  reader.Spaces();
  const auto first = reader.Digits(1, 9);
  if (!first) return std::nullopt;
  int64_t total = *first * 3600;
  for (int64_t unit = 60; unit > 0 && reader.Takes(':'); unit /= 60) {
    const auto part = reader.Digits(1, 6);
    if (!part) return std::nullopt;
    total += *part * unit;
  }
  reader.Spaces();
  const std::string suffix = reader.RestInCapitals();
  const bool twelve_hour = suffix == "AM" || suffix == "PM";
  if (!suffix.empty() && !twelve_hour && suffix != "H") return std::nullopt;
  const int64_t hours = total / 3600;
  if (hours >= 32767 || (negative && !suffix.empty())) return std::nullopt;
  if ((suffix == "H" && hours >= 24) || (twelve_hour && hours > 12)) return std::nullopt;
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

}  // namespace plain
