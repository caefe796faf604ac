// A fuzzer's input, taken apart from its front. Past its end there are zeros, so that every input means something.
//
// A text is one character a byte, up to a zero byte or the end: Latin-1, and 0xFF before the two bytes, low byte first,
// of any other unit. So a byte that is changed is a character that is changed.
#ifndef XKRDB_FUZZ_INPUT_BYTES_H
#define XKRDB_FUZZ_INPUT_BYTES_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "mdb_types.h"

namespace fuzz {

class InputBytes {
 public:
  InputBytes(const uint8_t* data, size_t size) : rest_(data, size) {}

  uint8_t Byte() {
    if (rest_.empty()) return 0;
    const uint8_t first = rest_.front();
    rest_ = rest_.subspan(1);
    return first;
  }
  uint16_t Word() {
    const uint8_t low = Byte();
    return static_cast<uint16_t>(low | Byte() << 8);
  }
  uint32_t Number() {
    const uint32_t low = Word();
    return low | static_cast<uint32_t>(Word()) << 16;
  }
  // At most so many units; the rest of a longer text is passed over.
  std::u16string Text(size_t longest) {
    std::u16string text;
    while (!rest_.empty()) {
      const uint8_t byte = Byte();
      if (byte == 0) break;
      const auto unit = static_cast<char16_t>(byte == 0xFF ? Word() : byte);
      if (unit != 0 && text.size() < longest) text.push_back(unit);
    }
    return text;
  }
  std::span<const uint8_t> rest() const { return rest_; }

 private:
  std::span<const uint8_t> rest_;
};

// A number that hangs on every byte of the input: what is too slow for each execution is done for one input in many,
// and the same input is always among those.
inline uint32_t HashOf(const uint8_t* data, size_t size) {
  uint32_t hash = 2166136261u;
  for (size_t i = 0; i < size; ++i) hash = (hash ^ data[i]) * 16777619u;
  return hash ^ hash >> 15;
}

}  // namespace fuzz

#endif
