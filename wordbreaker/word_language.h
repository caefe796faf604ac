// One locale's rules of where words begin and end.
#pragma once

#include <unicode/ubrk.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "ascii_words.h"

namespace wordbreaker {

struct CloseBreakIterator {
  void operator()(UBreakIterator* iterator) const { ubrk_close(iterator); }
};
using BreakIterator = std::unique_ptr<UBreakIterator, CloseBreakIterator>;

// Points the iterator at text, which must stay until the last question about it. Throws for texts of 2^31 units.
void SetText(UBreakIterator* iterator, std::u16string_view text);

// The ICU locale that a name stands for: a language tag (BCP 47), whose parts may be divided by - or _. Empty is the
// root locale, as null is. Nothing for what does not have the shape of a language tag or is longer than ICU's names; a
// well shaped tag of a language without rules of its own has the root's.
std::optional<std::string> LocaleOfName(const char* name);

class WordLanguage {
 public:
  // May throw std::bad_alloc or IcuFailure.
  explicit WordLanguage(const std::string& locale);

  // An iterator for one thread at a time. May throw std::bad_alloc or IcuFailure.
  BreakIterator NewIterator() const;

  const AsciiRules& ascii() const { return ascii_; }

 private:
  mutable std::mutex lock_;
  BreakIterator original_;
  AsciiRules ascii_;
};

}  // namespace wordbreaker
