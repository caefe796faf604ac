// One record of the image: its properties in one contiguous allocation, laid out as a client's read of the whole record
// delivers them, so that such a read is one copy.
//
// A record is never changed once it is built: a write builds another and puts it in its place. Records are counted
// references because a pointer of an open database may still stand in the gap that a deleted record left.
#pragma once

#include <array>
#include <memory>
#include <span>
#include <utility>

#include "stored_property.h"

namespace objectstore {

class RecordRef;

// What a record's row in the file lacks: nothing, the value of one property of four bytes (its identifier), or more.
inline constexpr CEPROPID kUnchanged = 0;
inline constexpr CEPROPID kChangedWhole = 0xFFFFFFFF;

class Record {
 public:
  // The values are measured; their pointers may point anywhere.
  static RecordRef Create(CEOID oid, std::span<const CEPROPVAL> values);

  CEOID oid() const { return oid_; }
  std::span<const CEPROPVAL> properties() const { return {Values(), property_count_}; }
  const CEPROPVAL* Find(CEPROPID id) const;

  const BYTE* block() const { return reinterpret_cast<const BYTE*>(this + 1); }
  uint32_t block_bytes() const { return block_bytes_; }

  // What the record counts for in its database's size and against the limit of one record.
  uint32_t counted_bytes() const { return counted_bytes_; }

  // Replaces a value of fixed width while the record is being loaded, before anybody has seen it.
  void PatchFixed(const CEPROPVAL* value, uint32_t number);

  // The text sort key of each order, once an order has needed it. It belongs to the record's text, so it is no change.
  std::array<std::unique_ptr<uint8_t[]>, CEDB_MAXSORTORDER> text_keys;

  bool in_file = false;              // a row of the file holds this record or an older state of it
  CEPROPID changed = kChangedWhole;  // kUnchanged, a property's identifier, or kChangedWhole

  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;

 private:
  friend class RecordRef;
  Record(CEOID oid, uint32_t property_count, uint32_t block_bytes, uint32_t counted_bytes)
      : oid_(oid), property_count_(property_count), block_bytes_(block_bytes), counted_bytes_(counted_bytes) {}
  ~Record() = default;

  const CEPROPVAL* Values() const { return reinterpret_cast<const CEPROPVAL*>(this + 1); }
  void Release();

  CEOID oid_;
  uint32_t references_ = 0;
  uint32_t property_count_;
  uint32_t block_bytes_;
  uint32_t counted_bytes_;
};
static_assert(sizeof(Record) % alignof(CEPROPVAL) == 0);

// What a record of these values counts for.
uint64_t CountedBytes(std::span<const CEPROPVAL> values);

// Which change makes one record's properties into the other's.
CEPROPID ChangeBetween(const Record& before, const Record& after);

// A counted reference to a record.
class RecordRef {
 public:
  RecordRef() = default;
  explicit RecordRef(Record* record) : record_(record) {
    if (record_ != nullptr) ++record_->references_;
  }
  RecordRef(const RecordRef& other) : RecordRef(other.record_) {}
  RecordRef(RecordRef&& other) noexcept : record_(std::exchange(other.record_, nullptr)) {}
  RecordRef& operator=(RecordRef other) noexcept {
    std::swap(record_, other.record_);
    return *this;
  }
  ~RecordRef() {
    if (record_ != nullptr) record_->Release();
  }

  Record* get() const { return record_; }
  Record* operator->() const { return record_; }
  Record& operator*() const { return *record_; }
  explicit operator bool() const { return record_ != nullptr; }

 private:
  Record* record_ = nullptr;
};

}  // namespace objectstore
