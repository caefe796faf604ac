// See word_boundaries.h: ICU's iterators over words.
#include "word_boundaries.h"

#include <unicode/ubrk.h>

#include <limits>
#include <new>

#include "icu_failure.h"

namespace wordbreaker {

struct CloseIterator {
  void operator()(UBreakIterator* iterator) const { ubrk_close(iterator); }
};

struct WordBoundaries::Rules {
  std::unique_ptr<UBreakIterator, CloseIterator> iterator;
};

WordBoundaries::WordBoundaries(const std::string& locale) : rules_(std::make_unique<Rules>()) {
  UErrorCode status = U_ZERO_ERROR;
  rules_->iterator.reset(ubrk_open(UBRK_WORD, locale.c_str(), nullptr, 0, &status));
  ThrowOnFailure(status);
}

WordBoundaries::WordBoundaries(const WordBoundaries& other) : rules_(std::make_unique<Rules>()) {
  UErrorCode status = U_ZERO_ERROR;
  rules_->iterator.reset(ubrk_clone(other.rules_->iterator.get(), &status));
  ThrowOnFailure(status);
}

WordBoundaries::~WordBoundaries() = default;

void WordBoundaries::SetText(std::u16string_view text) {
  if (text.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) throw std::bad_alloc();
  UErrorCode status = U_ZERO_ERROR;
  ubrk_setText(rules_->iterator.get(), text.data(), static_cast<int32_t>(text.size()), &status);
  ThrowOnFailure(status);
}

bool WordBoundaries::IsBoundary(size_t position) {
  return ubrk_isBoundary(rules_->iterator.get(), static_cast<int32_t>(position)) != 0;
}

size_t WordBoundaries::Next() {
  const int32_t next = ubrk_next(rules_->iterator.get());
  return next == UBRK_DONE ? kEnd : static_cast<size_t>(next);
}

bool WordBoundaries::HasPassedWord() const {
  return ubrk_getRuleStatus(rules_->iterator.get()) >= UBRK_WORD_NONE_LIMIT;
}

}  // namespace wordbreaker
