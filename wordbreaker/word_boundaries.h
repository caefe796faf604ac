// Where the words of a text begin and end, by one locale's rules. One of two implementations is linked: icu/ knows all
// locales and cuts scripts without spaces by dictionary, tables/ has the root locale's rules for all of Unicode (UAX #29).
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace wordbreaker {

// For one thread at a time. Every call may throw std::bad_alloc or, with ICU, IcuFailure; the next one works again.
class WordBoundaries {
 public:
  static constexpr size_t kEnd = static_cast<size_t>(-1);

  explicit WordBoundaries(const std::string& locale);
  WordBoundaries(const WordBoundaries& other);  // without its text
  WordBoundaries& operator=(const WordBoundaries&) = delete;
  ~WordBoundaries();

  // The text must stay until the last question about it. Throws for texts of 2^31 units.
  void SetText(std::u16string_view text);

  // Whether there is a boundary; if so, Next goes on from there.
  bool IsBoundary(size_t position);

  // The next boundary: behind the one before, behind 0 for a new text, or kEnd behind the last.
  size_t Next();

  // What Next has passed is no mere space, punctuation or symbols.
  bool HasPassedWord() const;

 private:
  struct Rules;
  std::unique_ptr<Rules> rules_;
};

}  // namespace wordbreaker
