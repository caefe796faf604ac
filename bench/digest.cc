// See digest.h.
#include "digest.h"

#include <fmt/format.h>
#include <unicode/unistr.h>

namespace bench {

void Digest::Add(std::string_view text) {
  for (const char byte : text) AddByte(static_cast<uint8_t>(byte));
  AddByte(0xFF);  // in no UTF-8: "ab", "c" and "a", "bc" differ
}

void Digest::Add(std::u16string_view text) {
  std::string bytes;
  icu::UnicodeString(text.data(), static_cast<int32_t>(text.size())).toUTF8String(bytes);
  Add(bytes);
}

void Digest::Add(uint64_t number) {
  for (int shift = 0; shift < 64; shift += 8) AddByte(static_cast<uint8_t>(number >> shift));
}

std::string Digest::Hex() const { return fmt::format("{:016x}", hash_); }

}  // namespace bench
