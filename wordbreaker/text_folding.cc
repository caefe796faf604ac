// The foldings are looked up in pages of 256 characters, each computed when the first of its characters is met and kept
// until the program ends. Threads that meet a page at the same time each compute it; the first one's is kept. What texts
// are mostly made of stands in one more table, unit by unit.
#include "text_folding.h"

#include <array>
#include <atomic>
#include <bit>
#include <memory>

#include "character_data.h"
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

bool IsSolid(char32_t character) { return character < kFirstComplexCharacter && IsLetterOrDigit(character); }

const Page* MakePage(char32_t first) {
  auto page = std::make_unique<Page>();
  for (char32_t i = 0; i < kPageSize; ++i) {
    const std::u16string folded = FoldingOf(first + i);
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
  const auto is_half = [](char32_t unit, char32_t kind) { return (unit & 0xFFFFFC00) == kind; };
  if (!is_half(first, 0xD800) || position == text.size() || !is_half(text[position], 0xDC00)) return first;
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
