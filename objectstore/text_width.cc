// See text_width.h. The loops go in steps of a fixed length, which compilers turn into vector instructions.
#include "text_width.h"

#include <bit>
#include <cstring>

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

// The usual step, for which a compiler's own vectors go through memory.
template <>
inline void WidenStep<16>(const uint8_t* narrow, uint8_t* to) {
  using Bytes = uint8_t __attribute__((vector_size(16)));
  constexpr Bytes kZeros{};
  Bytes bytes;
  std::memcpy(&bytes, narrow, sizeof bytes);
  const bool low_byte_first = std::endian::native == std::endian::little;
  const Bytes first = low_byte_first ? bytes : kZeros;
  const Bytes second = low_byte_first ? kZeros : bytes;
  const Bytes front = __builtin_shufflevector(first, second, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
  const Bytes back =
      __builtin_shufflevector(first, second, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
  std::memcpy(to, &front, sizeof front);
  std::memcpy(to + sizeof front, &back, sizeof back);
}

// What does not fill a last step is taken together with units of the step before it.
void Widen(const uint8_t* narrow, size_t units, uint8_t* to) {
  const auto last = [&]<size_t kUnits>() {
    WidenStep<kUnits>(narrow + units - kUnits, to + (units - kUnits) * sizeof(WCHAR));
  };
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

}  // namespace

size_t BoundedTextLength(const WCHAR* text, size_t most, WCHAR& all_bits) {
  size_t length = 0;
  WCHAR bits = 0;
  for (; length <= most && text[length] != 0; ++length) bits = static_cast<WCHAR>(bits | text[length]);
  all_bits = bits;
  return length;
}

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
  } else if constexpr (std::endian::native == std::endian::little) {
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
  for (; done + kStep <= units; done += kStep) {
    for (size_t i = 0; i < kStep; ++i) to[done + i] = static_cast<uint8_t>(text[done + i]);
  }
  for (; done < units; ++done) to[done] = static_cast<uint8_t>(text[done]);
}

void NarrowBytes(const uint8_t* wide, size_t units, uint8_t* to) {
  for (size_t i = 0; i < units; ++i) to[i] = wide[2 * i];
}

}  // namespace objectstore
