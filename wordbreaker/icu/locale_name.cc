// See word_language.h: names of locales, as ICU reads them.
#include <unicode/uloc.h>

#include <array>
#include <new>

#include "word_language.h"

namespace wordbreaker {

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

}  // namespace wordbreaker
