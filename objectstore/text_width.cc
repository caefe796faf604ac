// See text_width.h. The loops go in steps of a fixed length, which compilers turn into vector instructions.
#include "text_width.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "text_vectors.h"

namespace objectstore {

namespace {

WCHAR UnitAt(const uint8_t* wide, size_t index) {
  return static_cast<WCHAR>(wide[2 * index] | wide[2 * index + 1] << 8);
}

template <size_t kUnits>
void WidenStep(const uint8_t* narrow, uint8_t* to) {
  WCHAR step[kUnits];
  for (size_t i = 0; i < kUnits; ++i) step[i] = narrow[i];
  std::memcpy(to, step, sizeof step);
}

// The usual steps, for which a compiler's own vectors go through memory, or write in two pieces what will be read in
// one.
template <>
inline void WidenStep<8>(const uint8_t* narrow, uint8_t* to) {
  uint64_t number = 0;
  std::memcpy(&number, narrow, sizeof number);
  WidenEight(number, to);
}

template <>
inline void WidenStep<16>(const uint8_t* narrow, uint8_t* to) {
  ByteVector bytes;
  std::memcpy(&bytes, narrow, sizeof bytes);
  const ByteVector first = kLowByteFirst ? bytes : ByteVector{};
  const ByteVector second = kLowByteFirst ? ByteVector{} : bytes;
  const ByteVector front =
      __builtin_shufflevector(first, second, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
  const ByteVector back =
      __builtin_shufflevector(first, second, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
  std::memcpy(to, &front, sizeof front);
  std::memcpy(to + sizeof front, &back, sizeof back);
}

#if TEXT_VECTORS >= 2

BY_AVX2 void Widen16ByAvx2(const uint8_t* narrow, uint8_t* to) {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(narrow));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm256_cvtepu8_epi16(bytes));
}

// At least 32 units.
BY_AVX2 void WidenByAvx2(const uint8_t* narrow, size_t units, uint8_t* to) {
  for (size_t done = 0; done + 32 < units; done += 32) {
    Widen16ByAvx2(narrow + done, to + done * sizeof(WCHAR));
    Widen16ByAvx2(narrow + done + 16, to + (done + 16) * sizeof(WCHAR));
  }
  Widen16ByAvx2(narrow + units - 32, to + (units - 32) * sizeof(WCHAR));
  Widen16ByAvx2(narrow + units - 16, to + (units - 16) * sizeof(WCHAR));
}

#endif

// What does not fill a last step is taken together with units of the step before it.
void Widen(const uint8_t* narrow, size_t units, uint8_t* to) {
  const auto last = [&]<size_t kUnits>() {
    WidenStep<kUnits>(narrow + units - kUnits, to + (units - kUnits) * sizeof(WCHAR));
  };
#if TEXT_VECTORS >= 2
  if (units >= 32 && ProcessorHasAvx2()) return WidenByAvx2(narrow, units, to);
#endif
  if (units >= 16) {
    for (size_t done = 0; done + 16 < units; done += 16) WidenStep<16>(narrow + done, to + done * sizeof(WCHAR));
    last.operator()<16>();
  } else if (units >= 8) {
    WidenStep<8>(narrow, to);
    last.operator()<8>();
  } else if (units >= 4) {
    WidenStep<4>(narrow, to);
    last.operator()<4>();
  } else {
    for (size_t i = 0; i < units; ++i) WidenStep<1>(narrow + i, to + i * sizeof(WCHAR));
  }
}

size_t LengthUnitByUnit(const WCHAR* text, size_t most, WCHAR& all_bits) {
  size_t length = 0;
  WCHAR bits = 0;
  for (; length <= most && text[length] != 0; ++length) bits = static_cast<WCHAR>(bits | text[length]);
  all_bits = bits;
  return length;
}

#if TEXT_VECTORS >= 1

using Block = __m128i;  // eight units

READS_WHOLE_BLOCKS inline unsigned ZeroBytes(Block block) {
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(block, _mm_setzero_si128())));
}

// Ones everywhere but in so many first bytes.
READS_WHOLE_BLOCKS inline Block AllBut(size_t bytes) {
  alignas(Block) static constexpr uint64_t kBits[] = {0, 0, ~uint64_t{0}, ~uint64_t{0}};
  Block block;
  std::memcpy(&block, reinterpret_cast<const uint8_t*>(kBits) + sizeof(Block) - bytes, sizeof block);
  return block;
}

// What occurs in any of the units.
READS_WHOLE_BLOCKS inline WCHAR BitsOf(Block block) {
  block = _mm_or_si128(block, _mm_srli_si128(block, 8));
  block = _mm_or_si128(block, _mm_srli_si128(block, 4));
  block = _mm_or_si128(block, _mm_srli_si128(block, 2));
  return static_cast<WCHAR>(_mm_cvtsi128_si32(block));
}

#endif

// Sixteen units that fit into a byte each.
inline void NarrowStep(const WCHAR* units, uint8_t* to) {
  ByteVector first;
  ByteVector second;
  std::memcpy(&first, units, sizeof first);
  std::memcpy(&second, units + sizeof first / sizeof(WCHAR), sizeof second);
  ByteVector step;
  if constexpr (kLowByteFirst) {
    step = __builtin_shufflevector(first, second, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
  } else {
    step = __builtin_shufflevector(first, second, 1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31);
  }
  std::memcpy(to, &step, sizeof step);
}

}  // namespace

#if TEXT_VECTORS >= 1

// In aligned blocks: one never leaves the page of a unit that is to be read, but may reach beyond the text, which the
// sanitizers would not have anybody read. A text at an odd address is never aligned.
READS_WHOLE_BLOCKS size_t BoundedTextLength(const WCHAR* text, size_t most, WCHAR& all_bits) {
  const auto address = reinterpret_cast<uintptr_t>(text);
  if (address % sizeof(WCHAR) != 0) return LengthUnitByUnit(text, most, all_bits);
  const size_t before = address % sizeof(Block);
  const auto* block = reinterpret_cast<const Block*>(address - before);
  const auto* const last =
      reinterpret_cast<const Block*>((address + most * sizeof(WCHAR)) / sizeof(Block) * sizeof(Block));
  Block units = _mm_and_si128(*block, AllBut(before));
  unsigned zeros = ZeroBytes(*block) >> before << before;
  Block bits = _mm_setzero_si128();
  while (zeros == 0 && block != last) {
    bits = _mm_or_si128(bits, units);
    units = *++block;
    zeros = ZeroBytes(units);
  }
  const size_t counted = zeros != 0 ? static_cast<size_t>(std::countr_zero(zeros)) : sizeof(Block);
  all_bits = BitsOf(_mm_or_si128(bits, _mm_andnot_si128(AllBut(counted), units)));
  const size_t length = (reinterpret_cast<uintptr_t>(block) + counted - address) / sizeof(WCHAR);
  return std::min(length, most + 1);
}

#else

size_t BoundedTextLength(const WCHAR* text, size_t most, WCHAR& all_bits) {
  return LengthUnitByUnit(text, most, all_bits);
}

#endif

bool CouldBeNarrow(const uint8_t* wide, size_t units) {
  uint8_t high = 0;
  for (size_t i = 0; i < units; ++i) high = static_cast<uint8_t>(high | wide[2 * i + 1]);
  return high == 0;
}

bool HoldsZero(const uint8_t* text, size_t units, bool narrow) {
  if (narrow) return units != 0 && std::memchr(text, 0, units) != nullptr;
  for (size_t i = 0; i < units; ++i) {
    if (UnitAt(text, i) == 0) return true;
  }
  return false;
}

void CopyUnits(const uint8_t* text, size_t units, bool narrow, void* to) {
  auto* bytes = static_cast<uint8_t*>(to);
  if (units == 0) return;
  if (narrow) {
    Widen(text, units, bytes);
  } else if constexpr (kLowByteFirst) {
    std::memcpy(bytes, text, units * sizeof(WCHAR));
  } else {
    for (size_t i = 0; i < units; ++i) {
      const WCHAR unit = UnitAt(text, i);
      std::memcpy(bytes + i * sizeof(WCHAR), &unit, sizeof unit);
    }
  }
}

void StoreUnits(const WCHAR* text, size_t units, bool narrow, uint8_t* to) {
  size_t done = 0;
  if (!narrow) {
    for (; done < units; ++done) {
      to[2 * done] = static_cast<uint8_t>(text[done]);
      to[2 * done + 1] = static_cast<uint8_t>(text[done] >> 8);
    }
    return;
  }
  constexpr size_t kStep = 16;
  for (; done + kStep <= units; done += kStep) NarrowStep(text + done, to + done);
  if (units >= kStep && done < units) return NarrowStep(text + units - kStep, to + units - kStep);
  for (; done < units; ++done) to[done] = static_cast<uint8_t>(text[done]);
}

void NarrowBytes(const uint8_t* wide, size_t units, uint8_t* to) {
  for (size_t i = 0; i < units; ++i) to[i] = wide[2 * i];
}

}  // namespace objectstore
