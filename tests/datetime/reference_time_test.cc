// Times, compared with their second implementation: every second of a day, and random texts and records.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <vector>

#include "datetime_samples.h"
#include "random_texts.h"
#include "reference_time.h"
#include "time_text.h"

namespace mdb {
namespace {

bool Same(const TimeRec& a, const TimeRec& b) {
  return a.hours == b.hours && a.minutes == b.minutes && a.seconds == b.seconds && a.state == b.state &&
         a.components == b.components;
}

std::string Describe(const TimeFormat& format) {
  std::array<std::u16string, 4> texts;
  texts[0] = std::u16string(1, format.separator);
  for (std::size_t i = 0; i < 6; ++i) {
    if (format.morningSuffix[i] != 0) texts[1] += format.morningSuffix[i];
    if (format.afternoonSuffix[i] != 0) texts[2] += format.afternoonSuffix[i];
    if (format.twentyFourHourSuffix[i] != 0) texts[3] += format.twentyFourHourSuffix[i];
  }
  std::string described = "format";
  for (const auto& text : texts) described += " " + ::Describe(text);
  return described + " leading zero " + std::to_string(format.hourLeadingZero) + " twelve-hour " +
         std::to_string(format.twelveHour);
}

std::u16string Format(const TimeRec& time, const TimeFormat& format) {
  std::array<MDbChar, 20> buffer;
  buffer.fill(u'#');
  FormatTime(time, buffer.data(), format);
  return buffer.data();
}

std::u16string Captured(const std::vector<uint16_t>& digits, std::size_t part) {
  std::u16string text;
  for (std::size_t i = part * 256; digits[i] != 0; ++i) text += static_cast<char16_t>(digits[i]);
  return text;
}

TEST(TimeReference, EverySecondOfADayIsWrittenAndReadAlike) {
  TimeFormat format = TimeFormatOf(u" AM", u" PM", u" h");
  for (int second = 0; second < 86400; ++second) {
    format.twelveHour = static_cast<uint8_t>(second % 2);
    format.hourLeadingZero = static_cast<uint8_t>(second / 2 % 2);
    const TimeRec time = {static_cast<int16_t>(second / 3600), static_cast<int16_t>(second / 60 % 60),
                          static_cast<int16_t>(second % 60),
                          second % 2 == 1 ? MDbTimeTwelveHour : MDbTimeTwentyFourHour, 2};
    const std::u16string text = Format(time, format);
    ASSERT_EQ(text, reference::FormatTime(time, format));
    TimeRec back;
    ParseTime(text.c_str(), &back, format, true, true, nullptr);
    ASSERT_TRUE(Same(back, time)) << ::Describe(text) << " " << ::Describe(back);
    int32_t seconds = -1;
    ASSERT_EQ(ParseTimeToSeconds(text.c_str(), format, &seconds), MDbStatusOk);
    ASSERT_EQ(seconds, second);
  }
}

TEST(TimeReference, RandomTextsAreReadAlike) {
  constexpr uint32_t kSeed = 235959;
  std::printf("seed %u\n", kSeed);
  RandomTexts random(kSeed);
  std::array<int, 5> states{};
  for (int i = 0; i < 120000; ++i) {
    const TimeFormat format = random.TimeFormatOfAnyKind();
    const std::u16string text = random.Time(format);
    const bool strict = random.OneIn(3);
    const bool normalize = random.OneIn(2);
    std::vector<uint16_t> digits(3 * 256, 0);
    TimeRec time;
    ParseTime(ExactText(text), &time, format, strict, normalize, digits.data());
    const reference::ParsedTime expected = reference::ParseTime(text, format, strict, normalize);
    const std::string what = "text " + std::to_string(i) + " of seed " + std::to_string(kSeed) + ": " +
                             ::Describe(text) + ", " + Describe(format) + (strict ? ", strict" : "") +
                             (normalize ? ", normalized" : "");
    ASSERT_TRUE(Same(time, expected.time))
        << what << "\n  read " << ::Describe(time) << "\n  not  " << ::Describe(expected.time);
    for (std::size_t part = 0; part < 3; ++part) ASSERT_EQ(Captured(digits, part), expected.digits[part]) << what;
    ++states[static_cast<std::size_t>(expected.time.state)];
  }
  for (std::size_t state = 0; state < states.size(); ++state) {
    EXPECT_GT(states[state], 1000) << "too few texts of state " << state << " for a fair comparison";
  }
}

TEST(TimeReference, RandomRecordsAreWrittenAlike) {
  constexpr uint32_t kSeed = 606060;
  std::printf("seed %u\n", kSeed);
  RandomTexts random(kSeed);
  for (int i = 0; i < 60000; ++i) {
    const TimeFormat format = random.TimeFormatOfAnyKind();
    const int sign = random.OneIn(4) ? -1 : 1;
    const auto number = [&](int limit) { return static_cast<int16_t>(sign * random.Below(limit)); };
    const bool large = random.OneIn(4);
    const TimeRec time = {number(large ? 32768 : 26), number(large ? 32768 : 63), number(large ? 32768 : 63),
                          random.Below(5), random.Below(3)};
    ASSERT_EQ(Format(time, format), reference::FormatTime(time, format))
        << "record " << i << " of seed " << kSeed << ": " << ::Describe(time) << ", " << Describe(format);
  }
}

TEST(TimeReference, RandomTextsCompareAlike) {
  constexpr uint32_t kSeed = 120000;
  std::printf("seed %u\n", kSeed);
  RandomTexts random(kSeed);
  std::array<int, 3> results{};
  for (int i = 0; i < 20000; ++i) {
    const TimeFormat format = random.TimeFormatOfAnyKind();
    const std::u16string a = random.OneIn(10) ? u"" : random.Time(format);
    const std::u16string b = random.OneIn(5) ? random.CaseChanged(a) : random.OneIn(10) ? u"" : random.Time(format);
    const int order = CompareTimeText(ExactText(a), ExactText(b), format);
    ASSERT_EQ(order, reference::CompareTimes(a, b, format))
        << "pair " << i << " of seed " << kSeed << ": " << ::Describe(a) << " and " << ::Describe(b) << ", "
        << Describe(format);
    ++results[static_cast<std::size_t>(order + 1)];
  }
  for (const int count : results) EXPECT_GT(count, 1000);
}

}  // namespace
}  // namespace mdb
