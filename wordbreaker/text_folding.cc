// The foldings are looked up in pages of 256 characters, each computed when the first of its characters is met and kept
// until the program ends. Threads that meet a page at the same time each compute it; the first one's is kept. What texts
// are mostly made of stands in one more table, unit by unit.
#include "text_folding.h"

#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <array>
#include <atomic>
#include <bit>
#include <memory>

#include "icu_failure.h"
#include "unit_scan.h"

namespace wordbreaker {
namespace {

constexpr char32_t kPageSize = 256;
constexpr char32_t kFirstComplexCharacter = 0x590;  // Hebrew, where quotation marks join letters

// The foldings of the characters below the complex ones that fold to one unit; 0 for the others.
using SimpleFoldings = std::array<char16_t, kFirstComplexCharacter>;

struct Entry {
  uint16_t start;
  uint8_t length;
  bool solid;
};

struct Page {
  std::array<Entry, kPageSize> entries;
  std::u16string units;
};

constinit std::array<std::atomic<const Page*>, 0x110000 / kPageSize> pages{};

bool IsMark(char32_t character) {
  const auto point = static_cast<UChar32>(character);
  if (u_charType(point) == U_NON_SPACING_MARK || u_getCombiningClass(point) != 0) return true;
  return u_charType(point) == U_FORMAT_CHAR && u_hasBinaryProperty(point, UCHAR_DEFAULT_IGNORABLE_CODE_POINT);
}

bool IsSolid(char32_t character) {
  if (character >= kFirstComplexCharacter) return false;
  const int32_t word_break = u_getIntPropertyValue(static_cast<UChar32>(character), UCHAR_WORD_BREAK);
  return word_break == U_WB_ALETTER || word_break == U_WB_NUMERIC;
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

const Page* MakePage(char32_t first) {
  auto page = std::make_unique<Page>();
  for (char32_t i = 0; i < kPageSize; ++i) {
    const std::u16string folded = WithoutCase(WithoutMarks(Decomposed(first + i)));
    page->entries[i] =
        Entry{static_cast<uint16_t>(page->units.size()), static_cast<uint8_t>(folded.size()), IsSolid(first + i)};
    page->units += folded;
  }
  const Page* present = nullptr;
  if (pages[first / kPageSize].compare_exchange_strong(present, page.get(), std::memory_order_acq_rel)) {
    return page.release();
  }
  return present;
}

SimpleFoldings MakeSimpleFoldings() {
  SimpleFoldings foldings{};
  for (char32_t character = 0; character < foldings.size(); ++character) {
    const std::u16string_view units = FoldCharacter(character).units;
    if (units.size() == 1) foldings[character] = units[0];
  }
  return foldings;
}

// 0 unless the unit is a simple character.
char16_t FoldSimple(const SimpleFoldings& foldings, char16_t unit) {
  return unit < foldings.size() ? foldings[unit] : u'\0';
}

// Folds text from place to end, or to the first character that is not simple, and returns where that is.
size_t FoldSimpleUnits(const SimpleFoldings& foldings, std::u16string_view text, size_t place, size_t end,
                       char16_t* folded) {
  for (; place < end; ++place) {
    const char16_t folding = FoldSimple(foldings, text[place]);
    if (folding == 0) break;
    folded[place] = folding;
  }
  return place;
}

// The same over the whole text, by blocks.
size_t FoldSimpleText(const SimpleFoldings& foldings, std::u16string_view text, char16_t* folded) {
  size_t place = 0;
  for (; place + kBlock <= text.size(); place += kBlock) {
    uint32_t others = FoldAsciiOfBlock(text.data() + place, folded + place);
    // Three in a row are another script's, and there are more of them.
    if ((others & others >> 1 & others >> 2) != 0) {
      const size_t end = FoldSimpleUnits(foldings, text, place, place + kBlock, folded);
      if (end < place + kBlock) return end;
      continue;
    }
    for (; others != 0; others &= others - 1) {
      const size_t other = place + static_cast<size_t>(std::countr_zero(others));
      folded[other] = FoldSimple(foldings, text[other]);
      if (folded[other] == 0) return other;
    }
  }
  return FoldSimpleUnits(foldings, text, place, text.size(), folded);
}

}  // namespace

FoldedCharacter FoldCharacter(char32_t character) {
  const Page* page = pages[character / kPageSize].load(std::memory_order_acquire);
  if (page == nullptr) page = MakePage(character - character % kPageSize);
  const Entry& entry = page->entries[character % kPageSize];
  return FoldedCharacter{std::u16string_view(page->units.data() + entry.start, entry.length), entry.solid};
}

char32_t NextCharacter(std::u16string_view text, size_t& position) {
  const char32_t first = text[position++];
  if (!U16_IS_LEAD(first) || position == text.size() || !U16_IS_TRAIL(text[position])) return first;
  const char32_t second = text[position++];
  return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

bool FoldText(std::u16string_view text, std::u16string& folded) {
  static const SimpleFoldings kSimple = MakeSimpleFoldings();
  // Most texts fold to their own length or less: that much is written without asking for room.
  folded.resize(text.size());
  size_t length = 0;
  bool unit_by_unit = true;
  for (size_t position = 0; position < text.size();) {
    const size_t simple =
        FoldSimpleText(kSimple, text.substr(position, folded.size() - length), folded.data() + length);
    position += simple;
    length += simple;
    if (position == text.size()) break;
    const size_t start = position;
    const std::u16string_view units = FoldCharacter(NextCharacter(text, position)).units;
    unit_by_unit = unit_by_unit && position == start + 1 && units.size() == 1;
    if (units.size() > folded.size() - length) folded.resize(2 * folded.size() + units.size());
    for (const char16_t unit : units) folded[length++] = unit;
  }
  folded.resize(length);
  return unit_by_unit;
}

}  // namespace wordbreaker
