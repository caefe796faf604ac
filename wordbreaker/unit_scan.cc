#include "unit_scan.h"

#include <algorithm>
#include <bit>
#include <string>

#include "text_folding.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace wordbreaker {
namespace {

constexpr char16_t kCaseBit = 0x20;  // what an ASCII letter's two cases differ in

// From the commonest to the rarest, roughly, over the languages that write with them. Whatever else stands in a word is
// taken for rarer.
constexpr std::u16string_view kLettersByFrequency = u"eaintrosldumcpghbvfkzwyjxq";

TextExtent ExtentUnitByUnit(const char16_t* text) {
  unsigned sum = 0;
  size_t size = 0;
  for (; text[size] != 0; ++size) sum |= text[size];
  return {size, sum < 0x80};
}

size_t Rarity(char16_t unit) { return std::min(kLettersByFrequency.find(unit), kLettersByFrequency.size()); }

#if defined(__SSE2__)

// Sixteen units of a text against one unit: a byte of ones for each that is equal.
struct InFolded {
  static bool Equal(char16_t text, char16_t unit) { return text == unit; }
  static __m128i Spread(char16_t unit) { return _mm_set1_epi16(static_cast<int16_t>(unit)); }
  static __m128i Equal(__m128i first, __m128i second, __m128i spread) {
    return _mm_packs_epi16(_mm_cmpeq_epi16(first, spread), _mm_cmpeq_epi16(second, spread));
  }
};

// The same without regard to case. ASCII's units keep their values when they are packed into bytes.
struct InAscii {
  static bool Equal(char16_t text, char16_t unit) { return (text | kCaseBit) == (unit | kCaseBit); }
  static __m128i Spread(char16_t unit) { return _mm_set1_epi8(static_cast<char>(unit | kCaseBit)); }
  static __m128i Equal(__m128i first, __m128i second, __m128i spread) {
    return _mm_cmpeq_epi8(_mm_or_si128(_mm_packus_epi16(first, second), _mm_set1_epi8(kCaseBit)), spread);
  }
};

__m128i Load(const char16_t* units) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(units)); }

// Of a block in which the text ends there may be units that belong to something else, which the sanitizers would
// not have anybody read.
__attribute__((no_sanitize("address", "thread"))) __m128i LoadAligned(const __m128i* block) { return *block; }

void Store(char16_t* place, __m128i units) { _mm_storeu_si128(reinterpret_cast<__m128i*>(place), units); }

template <typename Comparison>
__m128i Equal(const char16_t* units, __m128i spread) {
  return Comparison::Equal(Load(units), Load(units + 8), spread);
}

uint32_t Bits(__m128i bytes) { return static_cast<uint32_t>(_mm_movemask_epi8(bytes)); }

__m128i AreZero(__m128i units) { return _mm_cmpeq_epi16(units, _mm_setzero_si128()); }
uint32_t Zeros(__m128i units) { return Bits(AreZero(units)); }

// Whether all of 32 units are ASCII and none ends the text. Packed with saturation, a byte has its highest bit for any
// other unit below 0x8000, and is zero for the units from there on and for zero itself.
bool IsAsciiPiece(const __m128i* block) {
  const __m128i first = _mm_packus_epi16(LoadAligned(block), LoadAligned(block + 1));
  const __m128i second = _mm_packus_epi16(LoadAligned(block + 2), LoadAligned(block + 3));
  const __m128i zeros = _mm_cmpeq_epi8(_mm_min_epu8(first, second), _mm_setzero_si128());
  return Bits(_mm_or_si128(zeros, _mm_or_si128(first, second))) == 0;
}

uint32_t BeyondAscii(__m128i units) {
  return Zeros(_mm_and_si128(units, _mm_set1_epi16(static_cast<int16_t>(0xFF80)))) ^ 0xFFFF;
}

#else

struct InFolded {
  static bool Equal(char16_t text, char16_t unit) { return text == unit; }
};

struct InAscii {
  static bool Equal(char16_t text, char16_t unit) { return (text | kCaseBit) == (unit | kCaseBit); }
};

#endif

}  // namespace

#if defined(__SSE2__)

// Read in aligned blocks of eight units, four at a time where they lie in one aligned piece, so that none is in a page
// where the text has nothing. Units before the text and behind its end take no part in the answer. A text at an odd
// address is never aligned and is read unit by unit.
TextExtent ExtentOf(const char16_t* text) {
  constexpr size_t kPieceBlocks = 4;
  const auto address = reinterpret_cast<uintptr_t>(text);
  if (address % sizeof(char16_t) != 0) return ExtentUnitByUnit(text);
  const size_t before = address % sizeof(__m128i);
  const auto* block = reinterpret_cast<const __m128i*>(address - before);
  uint32_t in_text = ~uint32_t{0} << before;  // two bits a unit
  bool ascii = true;
  for (;; ++block) {
    const bool is_piece = reinterpret_cast<uintptr_t>(block) % (kPieceBlocks * sizeof(__m128i)) == 0;
    while (is_piece && IsAsciiPiece(block)) {
      block += kPieceBlocks;
      in_text = ~uint32_t{0};
    }
    const __m128i units = LoadAligned(block);
    const uint32_t ends = Zeros(units) & in_text;
    if (ends != 0) in_text &= (ends & ~(ends - 1)) - 1;
    ascii = ascii && (BeyondAscii(units) & in_text) == 0;
    if (ends != 0) {
      const uintptr_t end = reinterpret_cast<uintptr_t>(block) + static_cast<size_t>(std::countr_zero(ends));
      return {(end - address) / sizeof(char16_t), ascii};
    }
    in_text = ~uint32_t{0};
  }
}

uint32_t FoldAsciiOfBlock(const char16_t* text, char16_t* folded) {
  const __m128i beyond_ascii = _mm_set1_epi16(static_cast<int16_t>(0xFF80));
  const auto lower = [](__m128i units) {
    const __m128i capital = _mm_and_si128(_mm_cmpgt_epi16(units, _mm_set1_epi16(u'A' - 1)),
                                          _mm_cmplt_epi16(units, _mm_set1_epi16(u'Z' + 1)));
    return _mm_or_si128(units, _mm_and_si128(capital, _mm_set1_epi16(kCaseBit)));
  };
  const auto ascii = [beyond_ascii](__m128i units) {
    return _mm_cmpeq_epi16(_mm_and_si128(units, beyond_ascii), _mm_setzero_si128());
  };
  const __m128i first = Load(text);
  const __m128i second = Load(text + 8);
  Store(folded, lower(first));
  Store(folded + 8, lower(second));
  return Bits(_mm_packs_epi16(ascii(first), ascii(second))) ^ 0xFFFF;
}

#else

uint32_t FoldAsciiOfBlock(const char16_t* text, char16_t* folded) {
  uint32_t others = 0;
  for (size_t i = 0; i < kBlock; ++i) {
    folded[i] = FoldAscii(text[i]);
    others |= (text[i] < 0x80 ? 0U : 1U) << i;
  }
  return others;
}

TextExtent ExtentOf(const char16_t* text) { return ExtentUnitByUnit(text); }

#endif

WordFilter::WordFilter(std::u16string_view word) : word_size_(word.size()), units_{{{0, word[0]}, {0, word[0]}}} {
  for (size_t i = 1; i < word.size(); ++i) {
    Unit& commoner = Rarity(units_[0].unit) < Rarity(units_[1].unit) ? units_[0] : units_[1];
    if (units_[0].offset == units_[1].offset || Rarity(word[i]) > Rarity(commoner.unit)) commoner = {i, word[i]};
  }
}

size_t WordFilter::NextInFolded(std::u16string_view folded, size_t from) const { return Next<InFolded>(folded, from); }

size_t WordFilter::NextInAscii(std::u16string_view text, size_t from) const { return Next<InAscii>(text, from); }

template <typename Comparison>
size_t WordFilter::Next(std::u16string_view text, size_t from) const {
  if (text.size() < word_size_) return kNowhere;
  const size_t starts = text.size() - word_size_ + 1;
  const char16_t* const first = text.data() + units_[0].offset;
  const char16_t* const second = text.data() + units_[1].offset;
#if defined(__SSE2__)
  const __m128i first_unit = Comparison::Spread(units_[0].unit);
  const __m128i second_unit = Comparison::Spread(units_[1].unit);
  const auto both = [&](size_t start) {
    return _mm_and_si128(Equal<Comparison>(first + start, first_unit), Equal<Comparison>(second + start, second_unit));
  };
  for (; from + 32 <= starts; from += 32) {
    const __m128i here = both(from);
    const __m128i behind = both(from + 16);
    if (Bits(_mm_or_si128(here, behind)) != 0) [[unlikely]] {
      return from + static_cast<size_t>(std::countr_zero(Bits(here) | Bits(behind) << 16));
    }
  }
  // The last block ends where the starts end and so may begin before from.
  while (starts >= 16 && from < starts) {
    const size_t block = std::min(from, starts - 16);
    const uint32_t found = Bits(both(block)) >> (from - block);
    if (found != 0) return from + static_cast<size_t>(std::countr_zero(found));
    from = block + 16;
  }
#endif
  for (; from < starts; ++from) {
    if (Comparison::Equal(first[from], units_[0].unit) && Comparison::Equal(second[from], units_[1].unit)) return from;
  }
  return kNowhere;
}

}  // namespace wordbreaker
