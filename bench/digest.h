// A hash over texts and numbers in their order: two stores that read the same have the same digest (FNV-1a, 64 bits).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace bench {

class Digest {
 public:
  void Add(std::string_view text);
  void Add(std::u16string_view text);  // as its UTF-8
  void Add(uint64_t number);
  std::string Hex() const;

 private:
  void AddByte(uint8_t byte) { hash_ = (hash_ ^ byte) * 0x100000001B3u; }
  uint64_t hash_ = 0xCBF29CE484222325u;
};

}  // namespace bench
