// See body_codec.h.
#include "body_codec.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace objectstore {

namespace {

constexpr size_t kChecksumBytes = 8;

uint64_t Checksum(std::span<const uint8_t> bytes, int64_t key) {
  return XXH3_64bits_withSeed(bytes.data(), bytes.size(), static_cast<uint64_t>(key));
}

}  // namespace

void BodyWriter::Start(BodyKind kind) {
  bytes_.assign(kChecksumBytes, 0);
  Put8(static_cast<uint8_t>(kind));
}

void BodyWriter::PutText(const WCHAR* text, size_t length) {
  for (size_t i = 0; i < length; ++i) Put16(static_cast<uint16_t>(text[i]));
}

void BodyWriter::PutBytes(const uint8_t* bytes, size_t count) { bytes_.insert(bytes_.end(), bytes, bytes + count); }

std::span<const uint8_t> BodyWriter::Seal(int64_t key) {
  uint64_t checksum = Checksum(std::span<const uint8_t>(bytes_).subspan(kChecksumBytes), key);
  for (size_t i = 0; i < kChecksumBytes; ++i, checksum >>= 8) bytes_[i] = static_cast<uint8_t>(checksum);
  return bytes_;
}

void BodyWriter::PutNumber(uint64_t number, int bytes) {
  for (; bytes > 0; --bytes, number >>= 8) bytes_.push_back(static_cast<uint8_t>(number));
}

BodyReader::BodyReader(std::span<const uint8_t> body, BodyKind kind, int64_t key) : rest_(body) {
  const uint64_t checksum = Get64();
  if (!ok_ || checksum != Checksum(rest_, key) || Get8() != static_cast<uint8_t>(kind)) Fail();
}

std::span<const uint8_t> BodyReader::GetBytes(size_t count) {
  if (count > rest_.size()) {
    Fail();
    return {};
  }
  const auto bytes = rest_.first(count);
  rest_ = rest_.subspan(count);
  return bytes;
}

uint64_t BodyReader::GetNumber(size_t bytes) {
  uint64_t number = 0;
  int shift = 0;
  for (const uint8_t byte : GetBytes(bytes)) {
    number |= uint64_t{byte} << shift;
    shift += 8;
  }
  return number;
}

void BodyReader::Fail() {
  ok_ = false;
  rest_ = {};
}

}  // namespace objectstore
