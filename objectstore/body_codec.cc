// See body_codec.h.
#include "body_codec.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace objectstore {

namespace {

constexpr size_t kChecksumBytes = 8;

uint64_t Checksum(std::span<const uint8_t> bytes, int64_t key) {
  return XXH3_64bits_withSeed(bytes.data(), bytes.size(), static_cast<uint64_t>(key));
}

}  // namespace

void BodyWriter::Start(BodyKind kind, Layout layout) {
  size_ = 0;
  Put64(0);  // the checksum's place
  Put8(KindByte(kind, layout));
}

void BodyWriter::PutText(const WCHAR* text, size_t length) {
  if constexpr (std::endian::native == std::endian::little) {
    PutBytes(reinterpret_cast<const uint8_t*>(text), length * sizeof(WCHAR));
  } else {
    for (size_t i = 0; i < length; ++i) Put16(static_cast<uint16_t>(text[i]));
  }
}

void BodyWriter::PutBytes(const uint8_t* bytes, size_t count) {
  if (count != 0) std::memcpy(Room(count), bytes, count);
  size_ += count;
}

std::span<const uint8_t> BodyWriter::Seal(int64_t key) {
  const std::span<uint8_t> body(bytes_.get(), size_);
  uint64_t checksum = Checksum(body.subspan(kChecksumBytes), key);
  for (size_t i = 0; i < kChecksumBytes; ++i, checksum >>= 8) body[i] = static_cast<uint8_t>(checksum);
  return body;
}

void BodyWriter::Grow(size_t count) {
  constexpr size_t kSmallest = 256;
  const size_t capacity = std::max({kSmallest, size_ + count, capacity_ * 2});
  std::unique_ptr<uint8_t[]> bytes(new uint8_t[capacity]);
  if (size_ != 0) std::memcpy(bytes.get(), bytes_.get(), size_);
  bytes_ = std::move(bytes);
  capacity_ = capacity;
}

void BodyWriter::PutNumber(uint64_t number, size_t count) {
  uint8_t* next = Room(sizeof number);
  for (size_t i = 0; i < count; ++i, number >>= 8) *next++ = static_cast<uint8_t>(number);
  size_ += count;
}

BodyReader::BodyReader(std::span<const uint8_t> body, BodyKind kind, int64_t key, Layout newest) : rest_(body) {
  const uint64_t checksum = Get64();
  if (!ok_ || checksum != Checksum(rest_, key)) {
    Fail();
    return;
  }
  const uint8_t byte = Get8();
  for (const Layout layout : {Layout::kRuns, Layout::kCompact, Layout::kFirst}) {
    layout_ = layout;
    if (layout <= newest && byte == KindByte(kind, layout)) return;
  }
  Fail();
}

uint64_t BodyReader::GetLongCount(uint64_t largest) {
  uint64_t number = 0;
  for (int shift = 0; shift < 64; shift += 7) {
    const uint8_t byte = Get8();
    const uint64_t bits = byte & 0x7F;
    if (bits << shift >> shift != bits) break;
    number |= bits << shift;
    if ((byte & 0x80) != 0) continue;
    if (!ok_ || number > largest || (byte == 0 && shift != 0)) break;
    return number;
  }
  Fail();
  return 0;
}

bool BodyReader::GetText(WCHAR* text, size_t length) {
  const auto bytes = GetBytes(length * sizeof(WCHAR));
  if (bytes.size() != length * sizeof(WCHAR)) return false;
  if constexpr (std::endian::native == std::endian::little) {
    if (length != 0) std::memcpy(text, bytes.data(), bytes.size());
  } else {
    for (size_t i = 0; i < length; ++i) text[i] = static_cast<WCHAR>(bytes[2 * i] | bytes[2 * i + 1] << 8);
  }
  return true;
}

uint64_t BodyReader::GetNumber(size_t count) {
  const auto bytes = GetBytes(count);
  uint64_t number = 0;
  for (size_t i = bytes.size(); i > 0; --i) number = number << 8 | bytes[i - 1];
  return number;
}

}  // namespace objectstore
