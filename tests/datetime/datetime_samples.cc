// Records are described by all their fields, texts by their printable characters.
#include "datetime_samples.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

ExactText::ExactText(const std::u16string& text) : units_(new MDbChar[text.size() + 1]) {
  std::copy_n(text.c_str(), text.size() + 1, units_.get());
}

TextBuffer::TextBuffer(std::size_t units) : units_(new MDbChar[units]) { std::fill_n(units_.get(), units, u'#'); }

DateFormat DateFormatOf(int order, char16_t separator) { return {separator, static_cast<uint8_t>(order), 0, 0, 0}; }

TimeFormat TimeFormatOf(const std::u16string& morning, const std::u16string& afternoon,
                        const std::u16string& twenty_four_hour, char16_t separator) {
  TimeFormat format = {};
  format.separator = separator;
  for (std::size_t i = 0; i < morning.size(); ++i) format.morningSuffix[i] = morning[i];
  for (std::size_t i = 0; i < afternoon.size(); ++i) format.afternoonSuffix[i] = afternoon[i];
  for (std::size_t i = 0; i < twenty_four_hour.size(); ++i) format.twentyFourHourSuffix[i] = twenty_four_hour[i];
  return format;
}

std::string Describe(const std::u16string& text) {
  std::string shown = "\"";
  for (const char16_t unit : text) {
    char code[8];
    std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(unit));
    shown += unit >= 0x20 && unit < 0x7F ? std::string(1, static_cast<char>(unit)) : code;
  }
  return shown + "\"";
}

std::string Describe(const DateRec& date) {
  std::ostringstream out;
  out << "month " << date.month << " day " << date.day << " year " << date.year << " status " << date.status
      << " fourDigitYear " << date.fourDigitYear << " separator " << date.separator;
  return out.str();
}

std::string Describe(const TimeRec& time) {
  std::ostringstream out;
  out << "hours " << time.hours << " minutes " << time.minutes << " seconds " << time.seconds << " state " << time.state
      << " components " << time.components;
  return out.str();
}
