// The bytes of every body in a volume file: a checksum, a kind, then fields in little-endian order.
//
// Reading is total: a reader never looks past its bytes, and once anything does not fit it answers zero to everything
// and says so in ok(). Whoever decodes asks Finished() once at the end; that is the one place where bytes become
// "corrupt".
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>

#include "object_store.h"
#include "status.h"

namespace objectstore {

// The row keys of records and of packed columns: the database's identifier above, the record's or property's below.
constexpr int64_t RowKey(CEOID database, uint32_t below) {
  return static_cast<int64_t>(uint64_t{database} << 32 | below);
}
constexpr CEOID LowWord(int64_t key) { return static_cast<CEOID>(static_cast<uint64_t>(key)); }

enum class BodyKind : uint8_t { kVolume = 'V', kDatabase = 'D', kRecord = 'R', kPacked = 'P', kBlock = 'B' };

// How the fields behind the kind are laid out. The first version of the format knew one way for each kind; the compact
// way, which its kind's letter in lower case marks, came with the second; with the third, for what holds records, that of
// runs, marked by the top bit as well.
enum class Layout : uint8_t { kFirst = 0, kCompact = 'r' - 'R', kRuns = 0x80 | kCompact };

constexpr uint8_t KindByte(BodyKind kind, Layout layout) {
  return static_cast<uint8_t>(static_cast<uint8_t>(kind) | static_cast<uint8_t>(layout));
}

// The kind that a kind's byte stands for, whatever the layout.
constexpr uint8_t KindWithoutLayout(uint8_t byte) {
  return byte & static_cast<uint8_t>(~KindByte(BodyKind{0}, Layout::kRuns));
}

// A signed number so that small ones, of either sign, have few bits.
constexpr uint64_t ZigZag(int64_t number) {
  return static_cast<uint64_t>(number) << 1 ^ static_cast<uint64_t>(number >> 63);
}
constexpr uint32_t ZigZag32(uint32_t number) { return number << 1 ^ (0u - (number >> 31)); }  // of its 32 bits, signed
constexpr int64_t UnZigZag(uint64_t number) { return static_cast<int64_t>(number >> 1 ^ (~(number & 1) + 1)); }

// Collects one body. The buffer may be used again for the next.
class BodyWriter {
 public:
  void Start(BodyKind kind, Layout layout = Layout::kFirst);
  void Put8(uint8_t number) { PutNumber(number, 1); }
  void Put16(uint16_t number) { PutNumber(number, 2); }
  void Put32(uint32_t number) { PutNumber(number, 4); }
  void Put64(uint64_t number) { PutNumber(number, 8); }
  // Seven bits a byte, the lowest first; the last byte has its top bit clear.
  void PutCount(uint64_t number) { TakeUpTo(AppendCount(Room(kLongestCount), number)); }
  void PutText(const WCHAR* text, size_t length);
  void PutBytes(const uint8_t* bytes, size_t count);

  // For many counts in a row: Room for so many bytes, Append each where the last one ended, and TakeUpTo the last end.
  static constexpr size_t kLongestCount = 10;
  uint8_t* Room(size_t count) {
    if (capacity_ - size_ < count) Grow(count);
    return bytes_.get() + size_;
  }
  static uint8_t* AppendCount(uint8_t* next, uint64_t number) {
    for (; number >= 0x80; number >>= 7) *next++ = static_cast<uint8_t>(number | 0x80);
    *next++ = static_cast<uint8_t>(number);
    return next;
  }
  void TakeUpTo(const uint8_t* next) { size_ = static_cast<size_t>(next - bytes_.get()); }

  // For a byte that depends on what follows it: where the next one will stand, and adding to the one that stands there.
  size_t size() const { return size_; }
  void AddTo(size_t place, uint8_t number) { bytes_[place] = static_cast<uint8_t>(bytes_[place] + number); }

  // Fills in the checksum, which depends on the key of the row, so that a body in another's row is not taken for its.
  std::span<const uint8_t> Seal(int64_t key);

 private:
  void Grow(size_t count);
  void PutNumber(uint64_t number, size_t count);

  std::unique_ptr<uint8_t[]> bytes_;  // of which the first size_ are written
  size_t capacity_ = 0;
  size_t size_ = 0;
};

class BodyReader {
 public:
  // Checks checksum and kind. No layout above the newest of the kind is read.
  BodyReader(std::span<const uint8_t> body, BodyKind kind, int64_t key, Layout newest = Layout::kCompact);

  Layout layout() const { return layout_; }

  uint8_t Get8() {
    const auto byte = GetBytes(1);
    return byte.empty() ? uint8_t{0} : byte[0];
  }
  uint16_t Get16() { return static_cast<uint16_t>(GetNumber(2)); }
  uint32_t Get32() { return static_cast<uint32_t>(GetNumber(4)); }
  uint64_t Get64() { return GetNumber(8); }

  // Such a count, which must be at most largest and must not take more bytes than it needs.
  uint64_t GetCount(uint64_t largest) {
    const bool is_short = !rest_.empty() && rest_[0] < 0x80 && rest_[0] <= largest;
    return is_short ? Get8() : GetLongCount(largest);
  }

  // The next bytes in place; empty when there are not so many.
  std::span<const uint8_t> GetBytes(size_t count) {
    if (count > rest_.size()) {
      Fail();
      return {};
    }
    const auto bytes = rest_.first(count);
    rest_ = rest_.subspan(count);
    return bytes;
  }

  // False when there is no such text.
  bool GetText(WCHAR* text, size_t length);

  // The bytes not yet read.
  size_t remaining() const { return rest_.size(); }

  // A value that was read is not one that may stand there.
  void Reject() { Fail(); }
  bool ok() const { return ok_; }

  // Every byte was read and none was missing.
  Status Finished() const { return ok_ && rest_.empty() ? Status::kOk : Status::kCorrupt; }

 private:
  uint64_t GetNumber(size_t count);
  uint64_t GetLongCount(uint64_t largest);
  void Fail() {
    ok_ = false;
    rest_ = {};
  }

  std::span<const uint8_t> rest_;
  Layout layout_ = Layout::kFirst;
  bool ok_ = true;
};

}  // namespace objectstore
