#include "word_language.h"

#include <unicode/uloc.h>

#include <array>
#include <limits>

#include "icu_failure.h"

namespace wordbreaker {
namespace {

BreakIterator Open(const std::string& locale) {
  UErrorCode status = U_ZERO_ERROR;
  BreakIterator iterator(ubrk_open(UBRK_WORD, locale.c_str(), nullptr, 0, &status));
  ThrowOnFailure(status);
  return iterator;
}

// True when the text's first piece reaches its end.
bool IsOnePiece(UBreakIterator* iterator, std::u16string_view text) {
  SetText(iterator, text);
  return ubrk_first(iterator) == 0 && ubrk_next(iterator) == static_cast<int32_t>(text.size());
}

}  // namespace

void SetText(UBreakIterator* iterator, std::u16string_view text) {
  if (text.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) throw std::bad_alloc();
  UErrorCode status = U_ZERO_ERROR;
  ubrk_setText(iterator, text.data(), static_cast<int32_t>(text.size()), &status);
  ThrowOnFailure(status);
}

std::optional<std::string> LocaleOfName(const char* name) {
  std::string tag;
  for (; name != nullptr && *name != '\0'; ++name) {
    if (tag.size() == ULOC_FULLNAME_CAPACITY) return std::nullopt;
    tag += *name == '_' ? '-' : *name;
  }
  std::array<char, ULOC_FULLNAME_CAPACITY> locale;
  int32_t parsed = 0;
  UErrorCode status = U_ZERO_ERROR;
  const int32_t length = uloc_forLanguageTag(tag.c_str(), locale.data(), ULOC_FULLNAME_CAPACITY, &parsed, &status);
  if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
  const bool whole =
      U_SUCCESS(status) && status != U_STRING_NOT_TERMINATED_WARNING && parsed == static_cast<int32_t>(tag.size());
  return whole ? std::optional(std::string(locale.data(), static_cast<size_t>(length))) : std::nullopt;
}

WordLanguage::WordLanguage(const std::string& locale)
    : original_(Open(locale)), ascii_([this](std::u16string_view text) { return IsOnePiece(original_.get(), text); }) {}

BreakIterator WordLanguage::NewIterator() const {
  const std::lock_guard<std::mutex> hold(lock_);
  UErrorCode status = U_ZERO_ERROR;
  BreakIterator iterator(ubrk_clone(original_.get(), &status));
  ThrowOnFailure(status);
  return iterator;
}

}  // namespace wordbreaker
