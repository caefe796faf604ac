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

READS_WHOLE_BLOCKS Block ZerosIn(Block block) { return _mm_cmpeq_epi16(block, _mm_setzero_si128()); }
READS_WHOLE_BLOCKS Block ZerosOf(const Block* block) { return ZerosIn(*block); }
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

// Where the zero is that ends a text, in one of the blocks from here on: in aligned ones, four at a time where they lie
// in one aligned piece. So many never leave the page of the unit that ends the text, but may reach beyond the text,
// which the sanitizers would not have anybody read.
[[gnu::noinline]] READS_WHOLE_BLOCKS uintptr_t EndFrom(const Block* block) {
  for (;; ++block) {
    if (reinterpret_cast<uintptr_t>(block) % (kPieceBlocks * sizeof(Block)) == 0) block = NextPieceWithZero(block);
    const unsigned zeros = ZeroBytes(ZerosOf(block));
    if (zeros != 0) return reinterpret_cast<uintptr_t>(block) + static_cast<size_t>(std::countr_zero(zeros));
  }
}

// A page is no smaller: what begins so far before the end of such a piece of memory lies in one page.
constexpr size_t kLeastPageBytes = 4096;
constexpr size_t kFirstBlocks = 4;

READS_WHOLE_BLOCKS unsigned ZeroBytesAt(const WCHAR* text) {
  return ZeroBytes(ZerosIn(_mm_loadu_si128(reinterpret_cast<const Block*>(text))));
}

// The length of a text that begins close to the end of a page: the block that it begins in is looked at from an aligned
// place before it, and what stands there is left out.
READS_WHOLE_BLOCKS size_t LengthByAlignedBlocks(uintptr_t address) {
  const size_t before = address % sizeof(Block);
  const auto* const block = reinterpret_cast<const Block*>(address - before);
  const unsigned zeros = ZeroBytes(ZerosOf(block)) >> before;
  if (zeros != 0) return static_cast<size_t>(std::countr_zero(zeros)) / sizeof(WCHAR);
  return (EndFrom(block + 1) - address) / sizeof(WCHAR);
}

}  // namespace

// The first blocks are read from the text's own beginning on, two at a time, which is the end of most texts: most texts
// have just been written, in blocks from there, and a processor waits where a block that it reads is not within one
// that it wrote. A text at an odd address is never aligned.
READS_WHOLE_BLOCKS size_t wcslen(const WCHAR* text) {
  const auto address = reinterpret_cast<uintptr_t>(text);
  if (address % sizeof(WCHAR) != 0) return LengthUnitByUnit(text);
  if (address % kLeastPageBytes > kLeastPageBytes - kFirstBlocks * sizeof(Block)) {
    return LengthByAlignedBlocks(address);
  }
  constexpr size_t kUnits = sizeof(Block) / sizeof(WCHAR);
  for (size_t length = 0; length < kFirstBlocks * kUnits; length += 2 * kUnits) {
    const unsigned zeros = ZeroBytesAt(text + length) | ZeroBytesAt(text + length + kUnits) << sizeof(Block);
    if (zeros != 0) return length + static_cast<size_t>(std::countr_zero(zeros)) / sizeof(WCHAR);
  }
  const uintptr_t next = address / sizeof(Block) * sizeof(Block) + kFirstBlocks * sizeof(Block);
  return (EndFrom(reinterpret_cast<const Block*>(next)) - address) / sizeof(WCHAR);
}

#else

size_t wcslen(const WCHAR* text) { return LengthUnitByUnit(text); }

#endif
