// Time texts under any format: reading, writing, seconds and order.
//
// Input: switches, separator (2), a time record for writing (6 + 2), three suffixes of up to 6 units, then three texts.
// Switches: 1 leading zero, 2 twelve hours, 4 strict, 8 normalize, 16 the usual suffixes and separator.
#include <algorithm>
#include <array>
#include <vector>

#include "datetime_samples.h"
#include "input_bytes.h"
#include "reference_time.h"
#include "requirement.h"
#include "time_text.h"

namespace {

constexpr size_t kLongestText = 40;
constexpr size_t kTimeUnits = 20;
constexpr size_t kSuffixUnits = 6;

struct Case {
  TimeFormat format;
  bool strict;
  bool normalize;
  bool usual;
};

bool Same(const TimeRec& a, const TimeRec& b) {
  return a.hours == b.hours && a.minutes == b.minutes && a.seconds == b.seconds && a.state == b.state &&
         a.components == b.components;
}

bool IsTime(const TimeRec& time) { return time.state < MDbTimeEmpty; }

bool IsAscii(const std::u16string& text) {
  return std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; });
}

std::u16string Written(const TimeRec& time, const TimeFormat& format) {
  TextBuffer buffer(kTimeUnits);
  mdb::FormatTime(time, buffer, format);
  return buffer.Text();
}

int32_t Seconds(const TimeRec& time) {
  int32_t seconds = 0;
  mdb::TimeToSeconds(time, &seconds);
  return seconds;
}

void CheckRecord(const TimeRec& time, bool strict, bool normalize) {
  FUZZ_REQUIRE(time.state >= MDbTimePlain && time.state <= MDbTimeInvalid, "the state is one of five");
  FUZZ_REQUIRE(time.components >= 0 && time.components <= 2, "there are three parts at most");
  if (!IsTime(time)) {
    const TimeRec none = {-32767, 0, 0, time.state, 2};
    FUZZ_REQUIRE(Same(time, none), "what is no time has the numbers of no time");
    return;
  }
  FUZZ_REQUIRE(time.hours > -32767 && time.hours < 32767, "hours end before the limit");
  if (normalize || strict) {
    FUZZ_REQUIRE(time.minutes > -60 && time.minutes < 60 && time.seconds > -60 && time.seconds < 60,
                 "minutes and seconds are carried, or need no carry");
  }
  if (strict) FUZZ_REQUIRE(time.hours >= 0 && time.hours < 24 && time.components > 0, "strictly, a time of day");
  if (time.state != MDbTimePlain) {
    FUZZ_REQUIRE(time.hours >= 0 && time.minutes >= 0 && time.seconds >= 0, "a time of day is not negative");
    FUZZ_REQUIRE(time.hours < 24, "a time of day is within the day");
  }
}

// Under suffixes that can be told apart, what is written is read as the same time.
void CheckWritten(const TimeRec& time, const Case& c) {
  const std::u16string written = Written(time, c.format);
  if (time.hours != INT16_MIN) {
    FUZZ_REQUIRE(written == reference::FormatTime(time, c.format), "both ways of writing agree");
  }
  // A record as typed may need a carry that what is written from it cannot take: 0:60 in the morning.
  if (!c.usual || !c.normalize || !IsTime(time)) return;
  TimeRec back;
  mdb::ParseTime(ExactText(written), &back, c.format, false, true, nullptr);
  FUZZ_REQUIRE(IsTime(back), "what was written is read");
  FUZZ_REQUIRE((back.state == MDbTimePlain) == (time.state == MDbTimePlain), "with a suffix or without, as before");
  FUZZ_REQUIRE(back.components == time.components, "with as many parts");
  FUZZ_REQUIRE(Seconds(back) == Seconds(time), "it is the same time");
}

std::u16string Captured(const std::vector<uint16_t>& digits, size_t part) {
  std::u16string text;
  const size_t end = (part + 1) * static_cast<size_t>(mdb::kTimeDigitsRoom);
  for (size_t i = part * static_cast<size_t>(mdb::kTimeDigitsRoom); digits[i] != 0; ++i) {
    FUZZ_REQUIRE(i + 1 < end, "digits end within their buffer");
    FUZZ_REQUIRE(digits[i] >= '0' && digits[i] <= '9', "digits are digits");
    text += static_cast<char16_t>(digits[i]);
  }
  return text;
}

TimeRec ParseWithDigits(const std::u16string& text, const Case& c, std::array<std::u16string, 3>& digits) {
  static std::vector<uint16_t> room(3 * static_cast<size_t>(mdb::kTimeDigitsRoom));
  std::fill(room.begin(), room.end(), uint16_t{0});
  TimeRec time;
  mdb::ParseTime(ExactText(text), &time, c.format, c.strict, c.normalize, room.data());
  for (size_t part = 0; part < 3; ++part) digits[part] = Captured(room, part);
  return time;
}

void CheckText(const std::u16string& text, const Case& c, bool with_reference) {
  std::array<std::u16string, 3> digits;
  const TimeRec time = ParseWithDigits(text, c, digits);
  CheckRecord(time, c.strict, c.normalize);
  CheckWritten(time, c);
  TimeRec again;
  mdb::ParseTime(ExactText(text), &again, c.format, c.strict, c.normalize, nullptr);
  FUZZ_REQUIRE(Same(time, again), "the digits make no difference");
  if (with_reference) {
    const reference::ParsedTime expected = reference::ParseTime(text, c.format, c.strict, c.normalize);
    FUZZ_REQUIRE(Same(time, expected.time), "both ways of reading agree");
    FUZZ_REQUIRE(digits == expected.digits, "both ways of reading agree on the digits");
  }
  TimeRec lenient;
  mdb::ParseTime(ExactText(text), &lenient, c.format, false, true, nullptr);
  FUZZ_REQUIRE(!IsTime(time) || IsTime(lenient), "what is a time strictly is one");
  constexpr int32_t kUntouched = 77777777;
  int32_t seconds = kUntouched;
  const MDbStatus status = mdb::ParseTimeToSeconds(ExactText(text), c.format, &seconds);
  FUZZ_REQUIRE(status == (IsTime(lenient) ? MDbStatusOk : MDbStatusBadTimeText), "a time has seconds");
  FUZZ_REQUIRE(seconds == (IsTime(lenient) ? Seconds(lenient) : kUntouched), "the seconds are the time's");
}

void CheckOrder(const std::array<std::u16string, 3>& texts, const Case& c, bool with_reference) {
  std::array<std::array<int, 3>, 3> order;
  for (size_t i = 0; i < 3; ++i) {
    for (size_t j = 0; j < 3; ++j) {
      order[i][j] = mdb::CompareTimeText(ExactText(texts[i]), ExactText(texts[j]), c.format);
      FUZZ_REQUIRE(order[i][j] >= -1 && order[i][j] <= 1, "an order is -1, 0 or 1");
      if (!with_reference || !IsAscii(texts[i]) || !IsAscii(texts[j])) continue;
      FUZZ_REQUIRE(order[i][j] == reference::CompareTimes(texts[i], texts[j], c.format),
                   "both ways of comparing agree");
    }
  }
  for (size_t i = 0; i < 3; ++i) {
    FUZZ_REQUIRE(order[i][i] == 0, "a text is equal to itself");
    for (size_t j = 0; j < 3; ++j) {
      FUZZ_REQUIRE(order[i][j] == -order[j][i], "turned round, the order is the opposite");
      for (size_t k = 0; k < 3; ++k) {
        FUZZ_REQUIRE(order[i][j] > 0 || order[j][k] > 0 || order[i][k] <= 0, "the order is transitive");
      }
    }
  }
}

// Whatever a caller's record holds, what is written stays within its buffer.
void WriteAnyRecord(const TimeRec& time, const Case& c) {
  TextBuffer buffer(kTimeUnits);
  mdb::FormatTime(time, buffer, c.format);
  const bool known = time.state >= MDbTimePlain && time.state <= MDbTimeInvalid;
  FUZZ_REQUIRE(known || buffer.Unit(0) == u'#', "a record that no call filled leaves the buffer as it was");
  const int64_t magnitude =
      (int64_t{std::abs(int{time.hours})} * 60 + std::abs(int{time.minutes})) * 60 + std::abs(int{time.seconds});
  const bool negative = time.hours < 0 || time.minutes < 0 || time.seconds < 0;
  FUZZ_REQUIRE(Seconds(time) == (negative ? -magnitude : magnitude), "seconds are the sum of the parts");
}

Case CaseOf(fuzz::InputBytes& input, uint8_t switches) {
  Case c;
  const char16_t separator = input.Word();
  c.usual = (switches & 16) != 0;
  c.format = TimeFormatOf();
  c.format.hourLeadingZero = (switches & 1) != 0;
  c.format.twelveHour = (switches & 2) != 0;
  c.strict = (switches & 4) != 0;
  c.normalize = (switches & 8) != 0;
  if (!c.usual) c.format.separator = separator;
  return c;
}

void TakeSuffixes(fuzz::InputBytes& input, Case& c) {
  std::array<std::u16string, 3> suffixes;
  for (auto& suffix : suffixes) {
    suffix = input.Text(kSuffixUnits);
    suffix.resize(kSuffixUnits);
  }
  if (c.usual) return;
  for (size_t i = 0; i < kSuffixUnits; ++i) {
    c.format.morningSuffix[i] = suffixes[0][i];
    c.format.afternoonSuffix[i] = suffixes[1][i];
    c.format.twentyFourHourSuffix[i] = suffixes[2][i];
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::InputBytes input(data, size);
  Case c = CaseOf(input, input.Byte());
  const auto number = [&] { return static_cast<int16_t>(input.Word()); };
  TimeRec any{};
  any.hours = number();
  any.minutes = number();
  any.seconds = number();
  any.state = input.Byte() % 7 - 1;
  any.components = input.Byte() % 4;
  TakeSuffixes(input, c);
  WriteAnyRecord(any, c);
  std::array<std::u16string, 3> texts;
  for (auto& text : texts) text = input.Text(kLongestText);
  const bool with_reference = FUZZ_EVERY_INPUT_IN_FULL || fuzz::HashOf(data, size) % 64 == 0;
  for (const auto& text : texts) CheckText(text, c, with_reference);
  CheckOrder(texts, c, with_reference);
  return 0;
}
