// One locale's rules of where words begin and end.
#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "ascii_words.h"
#include "word_boundaries.h"

namespace wordbreaker {

// The locale that a name stands for: a language tag (BCP 47), whose parts may be divided by - or _. Empty is the root
// locale, as null is. Nothing for what does not have the shape of a language tag or is longer than ICU's names; a well
// shaped tag of a language without rules of its own has the root's.
std::optional<std::string> LocaleOfName(const char* name);

class WordLanguage {
 public:
  // May throw std::bad_alloc or IcuFailure.
  explicit WordLanguage(const std::string& locale);

  // For one thread at a time. May throw std::bad_alloc or IcuFailure.
  WordBoundaries NewBoundaries() const;

  const AsciiRules& ascii() const { return ascii_; }

 private:
  mutable std::mutex lock_;
  WordBoundaries original_;
  AsciiRules ascii_;
};

}  // namespace wordbreaker
