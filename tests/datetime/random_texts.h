// Date and time texts by the thousand: well-formed ones, ones with a few mistakes, and garbage. The same seed gives the
// same texts on every machine.
#pragma once

#include <cstdint>
#include <random>
#include <string>

#include "mdb_types.h"

class RandomTexts {
 public:
  explicit RandomTexts(uint32_t seed) : random_(seed) {}

  int Below(int limit) { return static_cast<int>(random_() % static_cast<uint32_t>(limit)); }
  bool OneIn(int count) { return Below(count) == 0; }
  int Between(int first, int last) { return first + Below(last - first + 1); }
  std::u16string OneOf(std::initializer_list<const char16_t*> texts);

  // Mostly a date or nearly one, in the given order of parts.
  std::u16string Date(int order);
  DateFormat DateFormatOfAnyKind();

  // Mostly a time or nearly one, with the format's separator and one of its suffixes.
  std::u16string Time(const TimeFormat& format);
  TimeFormat TimeFormatOfAnyKind();

  // The same text, some of its letters in the other case.
  std::u16string CaseChanged(std::u16string text);

 private:
  std::u16string Number(int value, int width);
  std::u16string Spaces();
  std::u16string YearText();
  std::u16string Hours();
  std::u16string Minutes();
  std::u16string Suffix(const TimeFormat& format);
  char16_t Character();
  std::u16string Garbage();
  std::u16string Mutated(std::u16string text);

  std::mt19937 random_;
};
