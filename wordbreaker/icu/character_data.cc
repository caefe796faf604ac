// See character_data.h: ICU's properties of characters.
#include "character_data.h"

#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <array>

#include "icu_failure.h"
#include "text_folding.h"

namespace wordbreaker {
namespace {

bool IsMark(char32_t character) {
  const auto point = static_cast<UChar32>(character);
  if (u_charType(point) == U_NON_SPACING_MARK || u_getCombiningClass(point) != 0) return true;
  return u_charType(point) == U_FORMAT_CHAR && u_hasBinaryProperty(point, UCHAR_DEFAULT_IGNORABLE_CODE_POINT);
}

std::u16string Decomposed(char32_t character) {
  std::array<char16_t, 32> units;
  UErrorCode status = U_ZERO_ERROR;
  const UNormalizer2* normalizer = unorm2_getNFKDInstance(&status);
  const int32_t length = unorm2_getDecomposition(normalizer, static_cast<UChar32>(character), units.data(),
                                                 static_cast<int32_t>(units.size()), &status);
  ThrowOnFailure(status);
  if (length >= 0) return std::u16string(units.data(), static_cast<size_t>(length));
  if (character < 0x10000) return std::u16string(1, static_cast<char16_t>(character));
  return std::u16string{U16_LEAD(character), U16_TRAIL(character)};
}

std::u16string WithoutMarks(const std::u16string& text) {
  std::u16string rest;
  for (size_t position = 0; position < text.size();) {
    const size_t start = position;
    if (!IsMark(NextCharacter(text, position))) rest.append(text, start, position - start);
  }
  return rest;
}

std::u16string WithoutCase(const std::u16string& text) {
  std::u16string folded(3 * text.size(), u'\0');  // no character's folding is longer than three
  UErrorCode status = U_ZERO_ERROR;
  const int32_t length = u_strFoldCase(folded.data(), static_cast<int32_t>(folded.size()), text.data(),
                                       static_cast<int32_t>(text.size()), U_FOLD_CASE_DEFAULT, &status);
  if (status == U_STRING_NOT_TERMINATED_WARNING) status = U_ZERO_ERROR;
  ThrowOnFailure(status);
  folded.resize(static_cast<size_t>(length));
  return folded;
}

}  // namespace

std::u16string FoldingOf(char32_t character) { return WithoutCase(WithoutMarks(Decomposed(character))); }

bool IsLetterOrDigit(char32_t character) {
  const int32_t word_break = u_getIntPropertyValue(static_cast<UChar32>(character), UCHAR_WORD_BREAK);
  return word_break == U_WB_ALETTER || word_break == U_WB_NUMERIC;
}

}  // namespace wordbreaker
