// The length of a text (see wide_text.h): everybody asks for it, for every text that is handed on.
#include <bit>
#include <cstdint>

#include "text_vectors.h"
#include "wide_text.h"

namespace {

size_t LengthUnitByUnit(const WCHAR* text) {
  const WCHAR* end = text;
  while (*end != 0) ++end;
  return static_cast<size_t>(end - text);
}

}  // namespace

#if TEXT_VECTORS >= 1

namespace {

using Block = __m128i;  // eight units

READS_WHOLE_BLOCKS Block ZerosOf(const Block* block) { return _mm_cmpeq_epi16(*block, _mm_setzero_si128()); }
unsigned ZeroBytes(Block zeros) { return static_cast<unsigned>(_mm_movemask_epi8(zeros)); }

constexpr size_t kPieceBlocks = 4;

// The first of the pieces from here on that holds a zero.
READS_WHOLE_BLOCKS const Block* PieceWithZero(const Block* piece) {
  while (ZeroBytes(_mm_or_si128(_mm_or_si128(ZerosOf(piece), ZerosOf(piece + 1)),
                                _mm_or_si128(ZerosOf(piece + 2), ZerosOf(piece + 3)))) == 0) {
    piece += kPieceBlocks;
  }
  return piece;
}

#if TEXT_VECTORS >= 2

BY_AVX2 READS_WHOLE_BLOCKS const Block* PieceWithZeroByAvx2(const Block* piece) {
  for (;; piece += kPieceBlocks) {
    const auto* const halves = reinterpret_cast<const __m256i*>(piece);
    const __m256i zeros = _mm256_cmpeq_epi16(_mm256_min_epu16(halves[0], halves[1]), _mm256_setzero_si256());
    if (_mm256_movemask_epi8(zeros) != 0) return piece;
  }
}

const Block* NextPieceWithZero(const Block* piece) {
  return ProcessorHasAvx2() ? PieceWithZeroByAvx2(piece) : PieceWithZero(piece);
}

#else

const Block* NextPieceWithZero(const Block* piece) { return PieceWithZero(piece); }

#endif

}  // namespace

// In aligned blocks, four at a time where they lie in one aligned piece: so many never leave the page of the unit that
// ends the text, but may reach beyond the text, which the sanitizers would not have anybody read. A text at an odd address
// is never aligned.
READS_WHOLE_BLOCKS size_t wcslen(const WCHAR* text) {
  const auto address = reinterpret_cast<uintptr_t>(text);
  if (address % sizeof(WCHAR) != 0) return LengthUnitByUnit(text);
  // The block that the text begins in is looked at whole; what stands in it before the text is left out.
  const size_t before = address % sizeof(Block);
  const auto* block = reinterpret_cast<const Block*>(address - before);
  unsigned zeros = ZeroBytes(ZerosOf(block)) >> before << before;
  while (zeros == 0) {
    ++block;
    if (reinterpret_cast<uintptr_t>(block) % (kPieceBlocks * sizeof(Block)) == 0) {
      block = NextPieceWithZero(block);
    }
    zeros = ZeroBytes(ZerosOf(block));
  }
  const uintptr_t end = reinterpret_cast<uintptr_t>(block) + static_cast<size_t>(std::countr_zero(zeros));
  return (end - address) / sizeof(WCHAR);
}

#else

size_t wcslen(const WCHAR* text) { return LengthUnitByUnit(text); }

#endif
