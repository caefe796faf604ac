// A time text is a sign, up to three numbers and a rest; the rest is empty or one of the suffixes. Everything after
// that is arithmetic on whole seconds.
#include "reference_time.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <map>
#include <regex>

#include "reference_text.h"

namespace reference {
namespace {

struct Pieces {
  bool empty = false;      // nothing but spaces and perhaps a sign
  bool malformed = false;  // a number is missing
  bool negative = false;
  int components = 0;
  std::array<std::wstring, 3> digits;
  std::wstring rest;
};

std::wstring Escaped(char16_t separator) {
  const std::wstring unit(1, static_cast<wchar_t>(separator));
  return std::wstring(L".*+?^$()[]{}|\\/").find(unit) == std::wstring::npos ? unit : L"\\" + unit;
}

// The hours and, where a text can hold the separator, what may follow them.
const std::wregex& NumbersPattern(char16_t separator) {
  static std::map<char16_t, std::wregex> patterns;
  const auto known = patterns.find(separator);
  if (known != patterns.end()) return known->second;
  std::wstring pattern = L"([0-9]+) *";
  if (separator != 0) {
    const std::wstring next = Escaped(separator) + L" *([0-9]*) *";
    pattern += L"(?:" + next + L"(?:" + next + L")?)?";
  }
  return patterns.emplace(separator, std::wregex(pattern)).first->second;
}

Pieces Split(const std::wstring& text, char16_t separator) {
  static const std::wregex kStart(L" *(?:(-) *)?");
  std::wsmatch match;
  std::regex_search(text, match, kStart, std::regex_constants::match_continuous);
  Pieces pieces;
  pieces.negative = match[1].matched;
  const std::wstring body = match.suffix().str();
  pieces.empty = body.empty();
  pieces.malformed = !std::regex_search(body, match, NumbersPattern(separator), std::regex_constants::match_continuous);
  if (pieces.malformed) return pieces;
  for (std::size_t i = 0; i < 3 && i + 1 < match.size(); ++i) {
    if (!match[i + 1].matched) break;
    pieces.digits[i] = match.str(i + 1);
    pieces.components = static_cast<int>(i);
    if (pieces.digits[i].empty()) pieces.malformed = true;
  }
  pieces.rest = match.suffix().str();
  return pieces;
}

enum class Suffix { kNone, kTwentyFour, kAfternoon, kMorning, kUnknown };

std::u16string Stored(const MDbChar* units) {
  const std::u16string all(units, 6);
  return all.substr(0, all.find(u'\0'));
}

struct SuffixTexts {
  std::u16string morning, afternoon, twenty_four;
};

SuffixTexts TextsOf(const TimeFormat& format) {
  struct Plain {
    MDbChar separator, morning[6], afternoon[6], twenty_four[6];
    uint8_t rest[10];
  } plain;
  static_assert(sizeof plain == sizeof format);
  std::copy_n(reinterpret_cast<const unsigned char*>(&format), sizeof format, reinterpret_cast<unsigned char*>(&plain));
  return {Stored(plain.morning), Stored(plain.afternoon), Stored(plain.twenty_four)};
}

bool Matches(const std::u16string& rest, const std::u16string& stored) {
  const std::u16string word = stored.substr(std::min(stored.find_first_not_of(u' '), stored.size()));
  return rest.size() <= stored.size() && LowerCase(rest).starts_with(LowerCase(word));
}

Suffix SuffixOf(const std::wstring& wide_rest, const SuffixTexts& texts) {
  const std::u16string rest = Narrow(wide_rest);
  if (rest.empty()) return Suffix::kNone;
  if (Matches(rest, texts.twenty_four)) return Suffix::kTwentyFour;
  if (Matches(rest, texts.afternoon)) return Suffix::kAfternoon;
  if (Matches(rest, texts.morning)) return Suffix::kMorning;
  return Suffix::kUnknown;
}

TimeRec NoTime(TimeState state) { return {-32767, 0, 0, state, 2}; }

TimeRec Record(bool negative, std::array<int, 3> numbers, TimeState state, int components) {
  const auto slot = [&](int number) {
    const int kept = std::min(number, 32767);
    return static_cast<int16_t>(negative ? -kept : kept);
  };
  return {slot(numbers[0]), slot(numbers[1]), slot(numbers[2]), state, components};
}

bool BreaksStrictness(const Pieces& pieces, const std::array<int, 3>& typed, int hours) {
  const bool carries = typed[2] > 59 || typed[1] > 59;
  return carries || hours >= 24 || pieces.negative || pieces.components == 0;
}

TimeRec Evaluate(const Pieces& pieces, const TimeFormat& format, bool strict, bool normalize) {
  std::array<int, 3> typed{};
  for (std::size_t i = 0; i < 3; ++i) {
    const auto number = NumberUpTo(pieces.digits[i], 200'000'000);
    if (!number) return NoTime(MDbTimeInvalid);
    typed[i] = *number;
  }
  const std::chrono::hh_mm_ss<std::chrono::duration<int64_t>> whole(
      std::chrono::duration<int64_t>(int64_t{3600} * typed[0] + int64_t{60} * typed[1] + typed[2]));
  const int hours = static_cast<int>(whole.hours().count());
  const Suffix suffix = SuffixOf(pieces.rest, TextsOf(format));
  const bool half_day = suffix == Suffix::kMorning || suffix == Suffix::kAfternoon;
  const bool refused = suffix == Suffix::kUnknown || hours >= 32767 || (half_day && hours > 12) ||
                       (suffix == Suffix::kTwentyFour && hours >= 24) || (pieces.negative && suffix != Suffix::kNone) ||
                       (strict && BreaksStrictness(pieces, typed, hours));
  if (refused) return NoTime(MDbTimeInvalid);
  const TimeState state = half_day                        ? MDbTimeTwelveHour
                          : suffix == Suffix::kTwentyFour ? MDbTimeTwentyFourHour
                                                          : MDbTimePlain;
  if (!normalize) return Record(pieces.negative, typed, state, pieces.components);
  const int shown = half_day ? hours % 12 + (suffix == Suffix::kAfternoon ? 12 : 0) : hours;
  return Record(pieces.negative,
                {shown, static_cast<int>(whole.minutes().count()), static_cast<int>(whole.seconds().count())}, state,
                pieces.components);
}

// Seconds of a valid time, in a pair that orders: empty texts, texts that are no times, times.
struct SortKey {
  int group;
  int seconds;
};

SortKey KeyOf(const std::u16string& text, const TimeFormat& format) {
  if (text.empty()) return {0, 0};
  const TimeRec time = ParseTime(text, format, false, true).time;
  if (time.state >= MDbTimeEmpty) return {1, 0};
  return {2, time.hours * 3600 + time.minutes * 60 + time.seconds};
}

void Carry(int& from, int& to) {
  if (from <= 60) return;
  to += from / 60;
  from %= 60;
}

}  // namespace

ParsedTime ParseTime(const std::u16string& text, const TimeFormat& format, bool strict, bool normalize) {
  const Pieces pieces = Split(Widen(text), format.separator);
  ParsedTime result;
  for (std::size_t i = 0; i < 3; ++i) result.digits[i] = Narrow(pieces.digits[i].substr(0, 255));
  if (pieces.empty) {
    result.time = NoTime(MDbTimeEmpty);
  } else if (pieces.malformed) {
    result.time = NoTime(MDbTimeInvalid);
  } else {
    result.time = Evaluate(pieces, format, strict, normalize);
  }
  return result;
}

std::u16string FormatTime(const TimeRec& time, const TimeFormat& format) {
  if (time.state == MDbTimeEmpty) return u"";
  if (time.state == MDbTimeInvalid) return u"?";
  const bool negative = time.hours < 0 || time.minutes < 0 || time.seconds < 0;
  int hours = std::abs(time.hours), minutes = std::abs(time.minutes), seconds = std::abs(time.seconds);
  Carry(seconds, minutes);
  Carry(minutes, hours);
  const bool clock = time.state != MDbTimePlain;
  const bool twelve = clock && format.twelveHour != 0;
  const int shown = !twelve ? hours : hours == 0 ? 12 : hours > 12 ? hours - 12 : hours;
  const std::u16string separator(format.separator != 0 ? 1 : 0, format.separator);
  std::u16string text = negative && !clock ? u"-" : u"";
  text += Padded(shown, clock && format.hourLeadingZero != 0 ? 2 : 1);
  if (time.components > 0) text += separator + Padded(minutes, 2);
  if (time.components > 1) text += separator + Padded(seconds, 2);
  if (!clock) return text;
  const SuffixTexts texts = TextsOf(format);
  if (!twelve) return text + texts.twenty_four;
  return text + (hours < 12 ? texts.morning : texts.afternoon);
}

int CompareTimes(const std::u16string& a, const std::u16string& b, const TimeFormat& format) {
  const SortKey key_a = KeyOf(a, format);
  const SortKey key_b = KeyOf(b, format);
  if (key_a.group != key_b.group) return Sign(key_a.group - key_b.group);
  return key_a.group == 1 ? Sign(CompareTexts(a, b)) : Sign(key_a.seconds - key_b.seconds);
}

}  // namespace reference
