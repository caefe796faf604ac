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

constexpr size_t kBlockUnits = sizeof(__m128i) / sizeof(char16_t);
constexpr size_t kPieceBlocks = 4;

__m128i Load(const void* units) { return _mm_loadu_si128(static_cast<const __m128i*>(units)); }

// Sixteen units of a text against one unit: a byte of ones for each that is equal.
struct InFolded {
  using Text = char16_t;
  static bool Equal(char16_t text, char16_t unit) { return text == unit; }
  static __m128i Spread(char16_t unit) { return _mm_set1_epi16(static_cast<int16_t>(unit)); }
  static __m128i EqualOf16(const char16_t* text, __m128i spread) {
    return _mm_packs_epi16(_mm_cmpeq_epi16(Load(text), spread), _mm_cmpeq_epi16(Load(text + kBlockUnits), spread));
  }
};

// The same without regard to case. ASCII's units keep their values when they are packed into bytes.
struct InAscii {
  using Text = char16_t;
  static bool Equal(char16_t text, char16_t unit) { return (text | kCaseBit) == (unit | kCaseBit); }
  static __m128i Spread(char16_t unit) { return _mm_set1_epi8(static_cast<char>(unit | kCaseBit)); }
  static __m128i EqualOf16(const char16_t* text, __m128i spread) {
    const __m128i packed = _mm_packus_epi16(Load(text), Load(text + kBlockUnits));
    return _mm_cmpeq_epi8(_mm_or_si128(packed, _mm_set1_epi8(kCaseBit)), spread);
  }
};

// The same where they have been packed and have the bit of their case.
struct InPacked {
  using Text = char;
  static bool Equal(char text, char16_t unit) { return text == static_cast<char>(unit | kCaseBit); }
  static __m128i Spread(char16_t unit) { return InAscii::Spread(unit); }
  static __m128i EqualOf16(const char* text, __m128i spread) { return _mm_cmpeq_epi8(Load(text), spread); }
};

// Of a block in which the text ends there may be units that belong to something else, which the sanitizers would
// not have anybody read.
__attribute__((no_sanitize("address", "thread"))) __m128i LoadAligned(const __m128i* block) { return *block; }

void Store(void* place, __m128i units) { _mm_storeu_si128(static_cast<__m128i*>(place), units); }

uint32_t Bits(__m128i bytes) { return static_cast<uint32_t>(_mm_movemask_epi8(bytes)); }

__m128i AreZero(__m128i units) { return _mm_cmpeq_epi16(units, _mm_setzero_si128()); }
uint32_t Zeros(__m128i units) { return Bits(AreZero(units)); }

// Four blocks, a byte for each unit.
struct PackedPiece {
  __m128i first;
  __m128i second;
};

PackedPiece PackPiece(const __m128i* block) {
  return {_mm_packus_epi16(LoadAligned(block), LoadAligned(block + 1)),
          _mm_packus_epi16(LoadAligned(block + 2), LoadAligned(block + 3))};
}

// Whether all its units are ASCII and none ends the text. Packed with saturation, a byte has its highest bit for any
// other unit below 0x8000, and is zero for the units from there on and for zero itself.
bool IsAscii(const PackedPiece& piece) {
  const __m128i zeros = _mm_cmpeq_epi8(_mm_min_epu8(piece.first, piece.second), _mm_setzero_si128());
  return Bits(_mm_or_si128(zeros, _mm_or_si128(piece.first, piece.second))) == 0;
}

// Ones for each unit that is ASCII.
__m128i AreAscii(__m128i units) { return AreZero(_mm_and_si128(units, _mm_set1_epi16(static_cast<int16_t>(0xFF80)))); }
uint32_t BeyondAscii(__m128i units) { return Bits(AreAscii(units)) ^ 0xFFFF; }

#else

struct InFolded {
  using Text = char16_t;
  static bool Equal(char16_t text, char16_t unit) { return text == unit; }
};

struct InAscii {
  using Text = char16_t;
  static bool Equal(char16_t text, char16_t unit) { return (text | kCaseBit) == (unit | kCaseBit); }
};

struct InPacked {
  using Text = char;
  static bool Equal(char text, char16_t unit) { return text == static_cast<char>(unit | kCaseBit); }
};

#endif

}  // namespace

#if defined(__SSE2__)

// Read in aligned blocks of eight units, four at a time where they lie in one aligned piece, so that none is in a page
// where the text has nothing. Units before the text and behind its end take no part in the answer. A text at an odd
// address is never aligned and is read unit by unit.
//
// take_piece and take_block are given what was read, one after the other, and say whether they have room for it.
template <typename TakePiece, typename TakeBlock>
std::optional<TextExtent> Scan(const char16_t* text, TakePiece take_piece, TakeBlock take_block) {
  const auto address = reinterpret_cast<uintptr_t>(text);
  const size_t before = address % sizeof(__m128i);
  uint32_t in_text = ~uint32_t{0} << before;  // two bits a unit
  bool ascii = true;
  for (const auto* block = reinterpret_cast<const __m128i*>(address - before);; ++block) {
    if (reinterpret_cast<uintptr_t>(block) % (kPieceBlocks * sizeof(__m128i)) == 0) {
      const __m128i* const first = block;
      for (PackedPiece piece = PackPiece(block); IsAscii(piece); piece = PackPiece(block)) {
        if (!take_piece(piece)) return std::nullopt;
        block += kPieceBlocks;
      }
      if (block != first) in_text = ~uint32_t{0};
    }
    const __m128i units = LoadAligned(block);
    if (!take_block(units)) return std::nullopt;
    const uint32_t ends = Zeros(units) & in_text;
    if (ends != 0) in_text &= (ends & ~(ends - 1)) - 1;
    ascii = ascii && (BeyondAscii(units) & in_text) == 0;
    if (ends != 0) {
      const uintptr_t end = reinterpret_cast<uintptr_t>(block) + static_cast<size_t>(std::countr_zero(ends));
      return TextExtent{(end - address) / sizeof(char16_t), ascii};
    }
    in_text = ~uint32_t{0};
  }
}

TextExtent ExtentOf(const char16_t* text) {
  if (reinterpret_cast<uintptr_t>(text) % sizeof(char16_t) != 0) return ExtentUnitByUnit(text);
  return *Scan(
      text, [](const PackedPiece&) { return true; }, [](__m128i) { return true; });
}

std::optional<PackedText> PackTerminated(const char16_t* text, std::span<char> room) {
  const auto address = reinterpret_cast<uintptr_t>(text);
  if (address % sizeof(char16_t) != 0 || room.size() < kPieceBlocks * kBlockUnits) return std::nullopt;
  const __m128i case_bits = _mm_set1_epi8(kCaseBit);
  char* next = room.data();
  const char* const last_piece = next + room.size() - kPieceBlocks * kBlockUnits;
  const auto take_piece = [&next, last_piece, case_bits](const PackedPiece& piece) {
    if (next > last_piece) return false;
    Store(next, _mm_or_si128(piece.first, case_bits));
    Store(next + sizeof(__m128i), _mm_or_si128(piece.second, case_bits));
    next += kPieceBlocks * kBlockUnits;
    return true;
  };
  const auto take_block = [&next, last_piece, case_bits](__m128i units) {
    if (next > last_piece) return false;
    const __m128i bytes = _mm_or_si128(_mm_packus_epi16(units, units), case_bits);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(next), bytes);
    next += kBlockUnits;
    return true;
  };
  const std::optional<TextExtent> extent = Scan(text, take_piece, take_block);
  if (!extent) return std::nullopt;
  const size_t first = address % sizeof(__m128i) / sizeof(char16_t);
  return PackedText{*extent, std::string_view(room.data() + first, extent->size)};
}

uint32_t FoldAsciiOfBlock(const char16_t* text, char16_t* folded) {
  const auto lower = [](__m128i units) {
    const __m128i capital = _mm_and_si128(_mm_cmpgt_epi16(units, _mm_set1_epi16(u'A' - 1)),
                                          _mm_cmplt_epi16(units, _mm_set1_epi16(u'Z' + 1)));
    return _mm_or_si128(units, _mm_and_si128(capital, _mm_set1_epi16(kCaseBit)));
  };
  const __m128i first = Load(text);
  const __m128i second = Load(text + 8);
  Store(folded, lower(first));
  Store(folded + 8, lower(second));
  return Bits(_mm_packs_epi16(AreAscii(first), AreAscii(second))) ^ 0xFFFF;
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

std::optional<PackedText> PackTerminated(const char16_t*, std::span<char>) { return std::nullopt; }

#endif

WordFilter::WordFilter(std::u16string_view word) : word_size_(word.size()), units_{{{0, word[0]}, {0, word[0]}}} {
  for (size_t i = 1; i < word.size(); ++i) {
    Unit& commoner = Rarity(units_[0].unit) < Rarity(units_[1].unit) ? units_[0] : units_[1];
    if (units_[0].offset == units_[1].offset || Rarity(word[i]) > Rarity(commoner.unit)) commoner = {i, word[i]};
  }
}

size_t WordFilter::NextInFolded(std::u16string_view folded, size_t from) const { return Next<InFolded>(folded, from); }

size_t WordFilter::NextInAscii(std::u16string_view text, size_t from) const { return Next<InAscii>(text, from); }

size_t WordFilter::NextInPacked(std::string_view packed, size_t from) const { return Next<InPacked>(packed, from); }

template <typename Comparison>
size_t WordFilter::Next(std::basic_string_view<typename Comparison::Text> text, size_t from) const {
  if (text.size() < word_size_) return kNowhere;
  const size_t starts = text.size() - word_size_ + 1;
  const auto* const first = text.data() + units_[0].offset;
  const auto* const second = text.data() + units_[1].offset;
#if defined(__SSE2__)
  const __m128i first_unit = Comparison::Spread(units_[0].unit);
  const __m128i second_unit = Comparison::Spread(units_[1].unit);
  const auto both = [&](size_t start) {
    return _mm_and_si128(Comparison::EqualOf16(first + start, first_unit),
                         Comparison::EqualOf16(second + start, second_unit));
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
