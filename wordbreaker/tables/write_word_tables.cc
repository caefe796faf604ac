// Writes the tables of word_tables.h, from the ICU of the machine that builds. Built and run there, for whatever system.
#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/uscript.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "word_tables.h"

namespace {

using wordbreaker::WordClass;

constexpr UChar32 kEnd = 0x110000;

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "write_word_tables: %s\n", what);
  std::exit(1);
}

// The root locale takes the at sign for a letter, and no colon joins letters.
WordClass ClassOf(UChar32 character) {
  if (character == '@') return WordClass::kLetter;
  if (character == ':' || character == 0xFE55 || character == 0xFF1A) return WordClass::kOther;
  UErrorCode error = U_ZERO_ERROR;
  const UScriptCode script = uscript_getScript(character, &error);
  if (script == USCRIPT_HIRAGANA || u_hasBinaryProperty(character, UCHAR_IDEOGRAPHIC) != 0)
    return WordClass::kIdeograph;
  switch (u_getIntPropertyValue(character, UCHAR_WORD_BREAK)) {
    case U_WB_CR:
      return WordClass::kCarriageReturn;
    case U_WB_LF:
      return WordClass::kLineFeed;
    case U_WB_NEWLINE:
      return WordClass::kNewline;
    case U_WB_EXTEND:
    case U_WB_FORMAT:
      return WordClass::kExtend;
    case U_WB_ZWJ:
      return WordClass::kJoiner;
    case U_WB_WSEGSPACE:
      return WordClass::kSpace;
    case U_WB_ALETTER:
      return WordClass::kLetter;
    case U_WB_HEBREW_LETTER:
      return WordClass::kHebrewLetter;
    case U_WB_KATAKANA:
      return WordClass::kKatakana;
    case U_WB_SINGLE_QUOTE:
      return WordClass::kSingleQuote;
    case U_WB_DOUBLE_QUOTE:
      return WordClass::kDoubleQuote;
    case U_WB_MIDLETTER:
      return WordClass::kMidLetter;
    case U_WB_MIDNUM:
      return WordClass::kMidNumber;
    case U_WB_MIDNUMLET:
      return WordClass::kMidNumberOrLetter;
    case U_WB_NUMERIC:
      return WordClass::kNumeric;
    case U_WB_EXTENDNUMLET:
      return WordClass::kExtendNumberOrLetter;
    case U_WB_REGIONAL_INDICATOR:
      return WordClass::kRegionalIndicator;
    default:
      break;
  }
  if (u_getIntPropertyValue(character, UCHAR_LINE_BREAK) == U_LB_COMPLEX_CONTEXT) return WordClass::kLetter;
  return u_hasBinaryProperty(character, UCHAR_EXTENDED_PICTOGRAPHIC) != 0 ? WordClass::kPictograph : WordClass::kOther;
}

void WriteClasses() {
  std::printf("constexpr WordClassRun kWordClassRuns[] = {\n");
  for (UChar32 first = 0; first < kEnd;) {
    const WordClass word_class = ClassOf(first);
    UChar32 end = first + 1;
    while (end < kEnd && ClassOf(end) == word_class) ++end;
    if (word_class != WordClass::kOther) {
      std::printf("{%d,%d,WordClass{%d}},\n", static_cast<int>(first), static_cast<int>(end - 1),
                  static_cast<int>(word_class));
    }
    first = end;
  }
  std::printf("};\n");
}

bool IsMark(UChar32 character) {
  if (u_charType(character) == U_NON_SPACING_MARK || u_getCombiningClass(character) != 0) return true;
  return u_charType(character) == U_FORMAT_CHAR &&
         u_hasBinaryProperty(character, UCHAR_DEFAULT_IGNORABLE_CODE_POINT) != 0;
}

void Append(UChar32 character, std::u16string& text) {
  if (character >= 0x10000) text += static_cast<char16_t>(U16_LEAD(character));
  text += static_cast<char16_t>(character >= 0x10000 ? U16_TRAIL(character) : character);
}

std::u16string FoldingOf(UChar32 character, const UNormalizer2* normalizer) {
  UErrorCode error = U_ZERO_ERROR;
  std::array<char16_t, 64> units;
  int32_t length = unorm2_getDecomposition(normalizer, character, units.data(), 64, &error);
  std::u16string decomposed;
  if (length >= 0) {
    decomposed.assign(units.data(), static_cast<size_t>(length));
  } else {
    Append(character, decomposed);
  }
  std::u16string rest;
  for (int32_t i = 0; i < static_cast<int32_t>(decomposed.size());) {
    UChar32 one;
    U16_NEXT(decomposed.data(), i, static_cast<int32_t>(decomposed.size()), one);
    if (!IsMark(one)) Append(one, rest);
  }
  length = u_strFoldCase(units.data(), 64, rest.data(), static_cast<int32_t>(rest.size()), U_FOLD_CASE_DEFAULT, &error);
  Require(U_SUCCESS(error) != 0, "a folding is too long");
  return {units.data(), static_cast<size_t>(length)};
}

bool IsHangulSyllable(UChar32 character) { return character >= 0xAC00 && character <= 0xD7A3; }

void WriteFoldings() {
  UErrorCode error = U_ZERO_ERROR;
  const UNormalizer2* const normalizer = unorm2_getNFKDInstance(&error);
  Require(U_SUCCESS(error) != 0, "no normalisation");
  std::u16string units;
  std::printf("constexpr FoldingRun kFoldingRuns[] = {\n");
  for (UChar32 first = 0; first < kEnd;) {
    const std::u16string folding = FoldingOf(first, normalizer);
    std::u16string itself;
    Append(first, itself);
    UChar32 end = first + 1;
    if (folding != itself && !IsHangulSyllable(first)) {
      while (end < kEnd && FoldingOf(end, normalizer) == folding) ++end;
      size_t start = units.find(folding);
      if (start == std::u16string::npos) {
        start = units.size();
        units += folding;
      }
      Require(start <= 0xFFFF, "the foldings have too many units");
      std::printf("{%d,%d,%d,%d},\n", static_cast<int>(first), static_cast<int>(end - 1), static_cast<int>(start),
                  static_cast<int>(folding.size()));
    }
    first = end;
  }
  std::printf("};\nconstexpr char16_t kFoldingUnits[] = {");
  for (size_t i = 0; i < units.size(); ++i) std::printf("%s%u,", i % 24 == 0 ? "\n" : "", unsigned{units[i]});
  std::printf("\n};\n");
}

}  // namespace

int main(int count, char** arguments) {
  Require(count == 2 && std::freopen(arguments[1], "w", stdout) != nullptr, "names the file to write");
  WriteClasses();
  WriteFoldings();
  Require(std::fclose(stdout) == 0, "cannot write");
  return 0;
}
