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

using Block = __m128i;

// Four blocks, which begin at a multiple of their length and so lie in one page.
constexpr size_t kPieceBlocks = 4;
constexpr size_t kPieceBytes = kPieceBlocks * sizeof(Block);

READS_WHOLE_BLOCKS Block ZerosOf(const Block* block) { return _mm_cmpeq_epi16(*block, _mm_setzero_si128()); }
uint32_t Bits(Block bytes) { return static_cast<uint32_t>(_mm_movemask_epi8(bytes)); }

// A bit for each unit of a piece.
uint32_t ZerosOfPiece(const Block* piece) {
  return Bits(_mm_packs_epi16(ZerosOf(piece), ZerosOf(piece + 1))) |
         Bits(_mm_packs_epi16(ZerosOf(piece + 2), ZerosOf(piece + 3))) << 16;
}

// The first of the pieces from here on that holds a zero.
const Block* PieceWithZero(const Block* piece) {
  while (Bits(_mm_or_si128(_mm_or_si128(ZerosOf(piece), ZerosOf(piece + 1)),
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

size_t LengthFrom(uintptr_t address, const Block* piece) {
  piece = NextPieceWithZero(piece);
  const auto units = static_cast<size_t>(std::countr_zero(ZerosOfPiece(piece)));
  return (reinterpret_cast<uintptr_t>(piece) - address) / sizeof(WCHAR) + units;
}

}  // namespace

// The piece that the text begins in is looked at whole; what stands in it before the text is left out. What is read may reach
// beyond the text, but not into another page. A text at an odd address is never aligned.
size_t wcslen(const WCHAR* text) {
  const auto address = reinterpret_cast<uintptr_t>(text);
  if (address % sizeof(WCHAR) != 0) return LengthUnitByUnit(text);
  const size_t before = address % kPieceBytes;
  const auto* const piece = reinterpret_cast<const Block*>(address - before);
  const uint32_t zeros = ZerosOfPiece(piece) >> before / sizeof(WCHAR);
  if (zeros != 0) return static_cast<size_t>(std::countr_zero(zeros));
  return LengthFrom(address, piece + kPieceBlocks);
}

#else

size_t wcslen(const WCHAR* text) { return LengthUnitByUnit(text); }

#endif
