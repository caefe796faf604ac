#include "slow_search.h"

#include <unicode/brkiter.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <map>
#include <memory>
#include <stdexcept>

namespace {

void Check(UErrorCode status) {
  if (U_FAILURE(status)) throw std::runtime_error(u_errorName(status));
}

icu::UnicodeString Icu(std::u16string_view text) {
  return icu::UnicodeString(text.data(), static_cast<int32_t>(text.size()));
}

bool IsAside(UChar32 character) {
  return u_charType(character) == U_NON_SPACING_MARK || u_getCombiningClass(character) != 0 ||
         (u_charType(character) == U_FORMAT_CHAR && u_hasBinaryProperty(character, UCHAR_DEFAULT_IGNORABLE_CODE_POINT));
}

icu::BreakIterator& Iterator(const std::string& locale) {
  static std::map<std::string, std::unique_ptr<icu::BreakIterator>> iterators;
  auto& iterator = iterators[locale];
  if (iterator == nullptr) {
    UErrorCode status = U_ZERO_ERROR;
    iterator.reset(icu::BreakIterator::createWordInstance(icu::Locale(locale.c_str()), status));
    Check(status);
  }
  return *iterator;
}

}  // namespace

std::u16string SlowFold(std::u16string_view text) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::UnicodeString decomposed = icu::Normalizer2::getNFKDInstance(status)->normalize(Icu(text), status);
  Check(status);
  icu::UnicodeString folded;
  for (int32_t i = 0; i < decomposed.length(); i = decomposed.moveIndex32(i, 1)) {
    if (!IsAside(decomposed.char32At(i))) folded.append(decomposed.char32At(i));
  }
  folded.foldCase();
  return std::u16string(folded.getBuffer(), static_cast<size_t>(folded.length()));
}

std::vector<std::u16string> SlowWords(std::u16string_view text, const char* locale) {
  std::vector<std::u16string> words;
  icu::BreakIterator& iterator = Iterator(locale);
  const icu::UnicodeString whole = Icu(text);
  iterator.setText(whole);
  int32_t start = iterator.first();
  for (int32_t end = iterator.next(); end != icu::BreakIterator::DONE; start = end, end = iterator.next()) {
    if (iterator.getRuleStatus() < UBRK_WORD_NONE_LIMIT) continue;
    words.push_back(SlowFold(text.substr(static_cast<size_t>(start), static_cast<size_t>(end - start))));
  }
  words.erase(std::remove(words.begin(), words.end(), std::u16string()), words.end());
  return words;
}

bool SlowFinds(std::u16string_view search, std::u16string_view text, const char* locale) {
  const std::vector<std::u16string> wanted = SlowWords(search, locale);
  const std::vector<std::u16string> present = SlowWords(text, locale);
  return std::all_of(wanted.begin(), wanted.end(), [&](const std::u16string& word) {
    return std::any_of(present.begin(), present.end(),
                       [&](const std::u16string& candidate) { return candidate.compare(0, word.size(), word) == 0; });
  });
}
