// Date texts under any format: reading, writing, day numbers and order.
//
// Input: order, switches, separator (2), current year (2), a date record for writing (6 + 1), a day number (4), then
// three texts. Switches: 1 month and 2 day with leading zeros, 4 own separator, 8 base 1900, 16 four digits required.
#include <array>
#include <memory>

#include "date_text.h"
#include "datetime_samples.h"
#include "fixed_year.h"
#include "input_bytes.h"
#include "reference_date.h"
#include "requirement.h"

namespace {

constexpr size_t kLongestText = 40;
constexpr size_t kDateUnits = 11;
constexpr int kFirstYear = 1601;  // of the platform's clock
constexpr int kLastYear = 30827;

struct Case {
  DateFormat format;
  bool base_1900;
  bool four_digits;
  int current_year;
};

bool Same(const DateRec& a, const DateRec& b) {
  return a.month == b.month && a.day == b.day && a.year == b.year && a.status == b.status &&
         a.fourDigitYear == b.fourDigitYear && a.separator == b.separator;
}

bool IsDay(const DateRec& date) { return date.status == MDbDateValid || date.status == MDbDateThisYear; }

bool IsAscii(const std::u16string& text) {
  for (const char16_t unit : text) {
    if (unit >= 0x80) return false;
  }
  return true;
}

DateRec Parse(const std::u16string& text, const Case& c, bool four_digits) {
  DateRec date;
  mdb::ParseDateText(ExactText(text), &date, c.format, c.base_1900, four_digits);
  return date;
}

void CheckRecord(const std::u16string& text, const DateRec& date) {
  FUZZ_REQUIRE(date.status >= MDbDateValid && date.status <= MDbDateInvalid, "the status is one of five");
  FUZZ_REQUIRE(date.fourDigitYear == 0 || date.fourDigitYear == 1, "a flag is 0 or 1");
  FUZZ_REQUIRE(date.separator == 0 || text.find(static_cast<char16_t>(date.separator)) != std::u16string::npos,
               "a separator that was met stands in the text");
  if (!IsDay(date)) {
    FUZZ_REQUIRE(date.month == 0 && date.day == 0 && date.year == 0, "what is no day has no numbers");
    return;
  }
  int32_t number = 0;
  DateRec back;
  mdb::DateToDayNumber(date, &number);
  mdb::DayNumberToDate(number, &back);
  FUZZ_REQUIRE(
      back.status == MDbDateValid && back.month == date.month && back.day == date.day && back.year == date.year,
      "a day's number leads back to it");
}

// What is written is read as the same day, unless the separator is one that no text can be read with.
void CheckWritten(const DateRec& date, const Case& c) {
  TextBuffer buffer(kDateUnits);
  mdb::FormatDateText(date, buffer, c.format);
  const std::u16string written = buffer.Text();
  FUZZ_REQUIRE(written == reference::FormatDate(date, c.format), "both ways of writing agree");
  const bool recorded = c.format.ownSeparator != 0 && date.separator != 0;
  const char16_t separator = recorded ? static_cast<char16_t>(date.separator) : c.format.separator;
  if (c.format.order > MDbDateOrderYearDayMonth || separator == 0 || (separator >= u'0' && separator <= u'9')) return;
  if (date.status == MDbDateBlank || date.status == MDbDateInvalid) {
    FUZZ_REQUIRE(Parse(written, c, false).status == MDbDateInvalid, "nothing and a question mark are no date");
    return;
  }
  const DateRec back = Parse(written, c, true);
  FUZZ_REQUIRE(back.status == (date.status == MDbDateZero ? MDbDateZero : MDbDateValid), "what was written is read");
  FUZZ_REQUIRE(back.month == date.month && back.day == date.day && back.year == date.year, "it is the same day");
  FUZZ_REQUIRE(back.fourDigitYear == 1 && back.separator == separator, "its year has four digits");
}

void CheckText(const std::u16string& text, const Case& c, bool with_reference) {
  const DateRec date = Parse(text, c, c.four_digits);
  CheckRecord(text, date);
  CheckWritten(date, c);
  FUZZ_REQUIRE(Same(date, Parse(text, c, c.four_digits)), "reading a text twice gives the same");
  if (with_reference) {
    const DateRec expected = reference::ParseDate(text, c.format, c.base_1900, c.four_digits, c.current_year);
    FUZZ_REQUIRE(Same(date, expected), "both ways of reading agree");
  }
  constexpr int32_t kUntouched = -77;
  int32_t number = kUntouched;
  const MDbStatus status = mdb::DateTextToDayNumber(ExactText(text), c.format, c.base_1900, &number);
  const DateRec lenient = Parse(text, c, false);
  FUZZ_REQUIRE(status == (IsDay(lenient) ? MDbStatusOk : MDbStatusBadDateText), "a day has a number");
  int32_t expected = kUntouched;
  if (IsDay(lenient)) mdb::DateToDayNumber(lenient, &expected);
  FUZZ_REQUIRE(number == expected, "the number is the day's, and untouched where there is no day");
}

void CheckOrder(const std::array<std::u16string, 3>& texts, const Case& c, bool with_reference) {
  std::array<std::array<int, 3>, 3> order;
  for (size_t i = 0; i < 3; ++i) {
    for (size_t j = 0; j < 3; ++j) {
      order[i][j] = mdb::CompareDateText(ExactText(texts[i]), ExactText(texts[j]), c.format, c.base_1900);
      FUZZ_REQUIRE(order[i][j] >= -1 && order[i][j] <= 1, "an order is -1, 0 or 1");
      if (!with_reference || !IsAscii(texts[i]) || !IsAscii(texts[j])) continue;
      FUZZ_REQUIRE(order[i][j] == reference::CompareDates(texts[i], texts[j], c.format, c.base_1900, c.current_year),
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
void WriteAnyRecord(const DateRec& date, const Case& c) {
  TextBuffer buffer(kDateUnits);
  mdb::FormatDateText(date, buffer, c.format);
  const bool known = date.status >= MDbDateValid && date.status <= MDbDateInvalid;
  FUZZ_REQUIRE(known || buffer.Unit(0) == u'#', "a record that no call filled leaves the buffer as it was");
  int32_t number = 0;
  mdb::DateToDayNumber(date, &number);
}

void CheckDayNumber(int32_t number) {
  DateRec date;
  mdb::DayNumberToDate(number, &date);
  FUZZ_REQUIRE(Same(date, reference::DateOfDayNumber(number)), "both calendars agree");
  int32_t back = 0;
  mdb::DateToDayNumber(date, &back);
  FUZZ_REQUIRE(date.status != MDbDateValid || back == number, "a number's day leads back to it");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::InputBytes input(data, size);
  Case c;
  c.format.order = input.Byte() % 7;
  const uint8_t switches = input.Byte();
  c.format.monthLeadingZero = (switches & 1) != 0;
  c.format.dayLeadingZero = (switches & 2) != 0;
  c.format.ownSeparator = (switches & 4) != 0;
  c.base_1900 = (switches & 8) != 0;
  c.four_digits = (switches & 16) != 0;
  c.format.separator = input.Word();
  c.current_year = kFirstYear + input.Word() % (kLastYear - kFirstYear + 1);
  fuzz::SetCurrentYear(c.current_year);
  const auto number = [&] { return static_cast<int16_t>(input.Word()); };
  DateRec any{};
  any.month = number();
  any.day = number();
  any.year = number();
  any.status = input.Byte() % 7 - 1;
  any.separator = switches >> 5;
  WriteAnyRecord(any, c);
  CheckDayNumber(static_cast<int32_t>(input.Number()));
  std::array<std::u16string, 3> texts;
  for (auto& text : texts) text = input.Text(kLongestText);
  const bool with_reference = FUZZ_EVERY_INPUT_IN_FULL || fuzz::HashOf(data, size) % 64 == 0;
  for (const auto& text : texts) CheckText(text, c, with_reference);
  CheckOrder(texts, c, with_reference);
  return 0;
}
