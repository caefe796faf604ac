// Numbers are judged by the standard library's conversion, dates and times by the database library's.
#include "value_rules.h"

#include <fmt/format.h>

#include <array>
#include <charconv>
#include <limits>
#include <string_view>

#include "database_formats.h"
#include "safe_text.h"
#include "utf_text.h"

namespace xkrdb {
namespace {

constexpr std::array<const char*, 5> kTypeNames = {"none", "text", "number", "date", "time"};

std::optional<int32_t> NumberOf(const std::string& text) {
  int32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  const bool extreme = value == std::numeric_limits<int32_t>::max() || value == std::numeric_limits<int32_t>::min();
  if (error != std::errc() || end != text.data() + text.size() || extreme) return std::nullopt;
  return value;
}

// The order of the database's dates, which the library gives out while it reads one.
uint8_t DateOrder(MDbEnv* env) {
  DateRec date{};
  DateFormat format{};
  (void)MDbRecsetDateStrToDateRec(env, u"", &date, 0, &format);  // the empty text is no date; the format is filled
  return format.order;
}

std::string Narrow(const std::u16string& text) { return ToUtf8(text).value_or(std::string()); }

}  // namespace

bool IsCanonicalNumber(const std::u16string& text) {
  const std::string narrow = Narrow(text);
  const std::optional<int32_t> value = NumberOf(narrow);
  return value && fmt::to_string(*value) == narrow;
}

bool IsNumber(const std::u16string& text) { return NumberOf(Narrow(text)).has_value(); }

std::optional<DateRec> ReadDate(MDbEnv* env, const std::u16string& text) {
  DateRec date{};
  if (MDbRecsetDateStrToDateRec(env, text.c_str(), &date, 0, nullptr) != MDbStatusOk) return std::nullopt;
  return date;
}

std::optional<TimeText> ReadTime(MDbEnv* env, const std::u16string& text) {
  constexpr size_t kDigitRoom = 256;
  TimeText read{};
  uint16_t digits[3 * kDigitRoom] = {};
  if (MDbRecsetTimeStrToTRec(env, text.c_str(), &read.time, 0, nullptr, digits) != MDbStatusOk) return std::nullopt;
  read.clock_digits = true;
  const int32_t parts[] = {read.time.minutes, read.time.seconds};
  for (size_t part = 1; part <= 2 && static_cast<int32_t>(part) <= read.time.components; ++part) {
    const uint16_t* typed = digits + part * kDigitRoom;
    const bool two_digits = typed[0] != 0 && typed[1] != 0 && typed[2] == 0;
    if (!two_digits || parts[part - 1] > 59 || parts[part - 1] < -59) read.clock_digits = false;
  }
  return read;
}

bool FitsType(MDbEnv* env, uint8_t type, const std::u16string& text) {
  if (text.empty()) return true;
  switch (type) {
    case MDbFieldNumber:
      return IsNumber(text);
    case MDbFieldDate:
      return ReadDate(env, text).has_value();
    case MDbFieldTime:
      return ReadTime(env, text).has_value();
    default:
      return true;
  }
}

std::optional<std::string> ValueProblem(MDbEnv* env, uint8_t type, uint32_t max_size, const std::u16string& text,
                                        bool any_value) {
  const size_t size = (text.size() + 1) * sizeof(MDbChar);
  if (max_size > 0 && size > max_size) {
    return fmt::format("{} characters, but the field holds at most {}", text.size(), max_size / sizeof(MDbChar) - 1);
  }
  if (any_value || FitsType(env, type, text)) return std::nullopt;
  switch (type) {
    case MDbFieldNumber:
      return fmt::format("{} is not a number (a whole one of 32 bits)", Quoted(text));
    case MDbFieldDate:
      return fmt::format("{} is not a date in the order {}", Quoted(text), DateOrderName(DateOrder(env)));
    default:
      return fmt::format("{} is not a {}", Quoted(text), TypeName(type));
  }
}

const char* TypeName(uint8_t type) { return type < kTypeNames.size() ? kTypeNames[type] : "unknown"; }

std::optional<uint8_t> TypeFromName(const std::string& name) {
  for (size_t type = MDbFieldText; type < kTypeNames.size(); ++type) {
    if (name == kTypeNames[type]) return static_cast<uint8_t>(type);
  }
  return std::nullopt;
}

}  // namespace xkrdb
