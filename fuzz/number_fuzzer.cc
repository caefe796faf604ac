// Numbers in texts, as sorting and searching take them out; and the conversion of digits in any base beneath that.
//
// Input: base, then one text.
#include <algorithm>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>

#include "field_value.h"
#include "input_bytes.h"
#include "requirement.h"
#include "wide_text.h"

namespace {

constexpr size_t kLongestText = 256;

using Limits = std::numeric_limits<int32_t>;

struct Number {
  MDbStatus status;
  int64_t value;
};

// The rule read a second time, without a limit on digits: whole numbers by growing a 64-bit one that stops at its cap.
Number Expected(const std::u16string& text) {
  constexpr int64_t kCap = int64_t{1} << 40;
  const std::u16string whole = text.substr(0, text.find(u'.'));
  const size_t first_digit = whole.find_first_of(u"0123456789");
  if (first_digit == std::u16string::npos) return {MDbStatusEmptyNumber, 0};
  const bool negative = whole.substr(0, first_digit).find(u'-') != std::u16string::npos;
  int64_t value = 0;
  for (const char16_t unit : whole) {
    if (unit >= u'0' && unit <= u'9') value = std::min(kCap, value * 10 + (unit - u'0'));
  }
  if (negative) value = -value;
  if (value >= Limits::max() || value <= Limits::min()) return {MDbStatusNumberOutOfRange, 0};
  return {MDbStatusOk, value};
}

std::u16string Extracted(const std::u16string& text) {
  MDbChar number[mdb::kNumberTextLength + 1];
  std::fill(std::begin(number), std::end(number), u'#');
  mdb::ExtractNumberText(text.c_str(), number);
  const auto end = std::find(std::begin(number), std::end(number), u'\0');
  FUZZ_REQUIRE(end != std::end(number), "the number's text ends within its room");
  return std::u16string(std::begin(number), end);
}

void CheckValue(const std::u16string& text) {
  mdb::ValueFormat format;
  format.type = MDbFieldNumber;
  constexpr int32_t kUntouched = 77;
  int32_t value = kUntouched;
  const MDbStatus status = mdb::TextToValue(text.c_str(), format, &value);
  const Number expected = Expected(text);
  FUZZ_REQUIRE(status == expected.status, "both ways of reading agree on what is a number");
  FUZZ_REQUIRE(value == (status == MDbStatusOk ? expected.value : kUntouched), "both ways of reading agree");
  if (status != MDbStatusOk) return;
  const std::string digits = std::to_string(value);
  int32_t back = kUntouched;
  FUZZ_REQUIRE(mdb::TextToValue(std::u16string(digits.begin(), digits.end()).c_str(), format, &back) == MDbStatusOk,
               "a value that was read can be written");
  FUZZ_REQUIRE(back == value, "and read again");
}

void CheckExtract(const std::u16string& text) {
  const std::u16string number = Extracted(text);
  FUZZ_REQUIRE(Extracted(number) == number, "what was taken out is its own number");
  if (number.empty()) return;
  const size_t sign = number[0] == u'-' ? 1 : 0;
  FUZZ_REQUIRE(number.size() > sign, "a sign alone is no number");
  FUZZ_REQUIRE(number.find_first_not_of(u"0123456789", sign) == std::u16string::npos, "nothing but a sign and digits");
  FUZZ_REQUIRE(number[sign] != u'0' || number.size() == sign + 1, "no leading zero");
}

// Against the host's own conversion, which takes 64 bits, of the same characters.
void CheckConversion(const std::u16string& text, int base) {
  if (base == 1 || !std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; })) return;
  const std::string narrow(text.begin(), text.end());
  char* narrow_end = nullptr;
  const long long wide_value = std::strtoll(narrow.c_str(), &narrow_end, base);
  WCHAR* end = nullptr;
  const int32_t value = wcstol(text.c_str(), &end, base);
  const auto expected = std::clamp<long long>(wide_value, Limits::min(), Limits::max());
  FUZZ_REQUIRE(value == expected, "the value is the host's, within 32 bits");
  FUZZ_REQUIRE(end - text.c_str() == narrow_end - narrow.c_str(), "the number ends where the host's ends");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::InputBytes input(data, size);
  const int base = input.Byte() % 37;
  const std::u16string text = input.Text(kLongestText);
  CheckValue(text);
  CheckExtract(text);
  CheckConversion(text, base);
  return 0;
}
