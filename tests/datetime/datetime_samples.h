// Texts, formats and records for date and time tests, and how failing rows show them.
#pragma once

#include <memory>
#include <string>

#include "mdb_types.h"

// A text in a heap block that ends with its terminator, so that the address sanitizer sees any step beyond it.
class ExactText {
 public:
  explicit ExactText(const std::u16string& text);
  operator const MDbChar*() const { return units_.get(); }

 private:
  std::unique_ptr<MDbChar[]> units_;
};

// A heap block of just so many units, filled with '#', for a text to be written into.
class TextBuffer {
 public:
  explicit TextBuffer(std::size_t units);
  operator MDbChar*() { return units_.get(); }
  std::u16string Text() const { return units_.get(); }
  MDbChar Unit(std::size_t i) const { return units_[i]; }

 private:
  std::unique_ptr<MDbChar[]> units_;
};

// No leading zeros; the text's own separator is not kept.
DateFormat DateFormatOf(int order, char16_t separator = u'/');

// Separator ':', suffixes AM, PM and h, no leading zero, 24-hour clock. A suffix has at most 6 units.
TimeFormat TimeFormatOf(const std::u16string& morning = u"AM", const std::u16string& afternoon = u"PM",
                        const std::u16string& twenty_four_hour = u"h", char16_t separator = u':');

std::string Describe(const std::u16string& text);
std::string Describe(const DateRec& date);
std::string Describe(const TimeRec& time);
