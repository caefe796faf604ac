// One open database of a client: an order to go through it, and a pointer that stands on a record, in the gap that a
// deleted record left, or at the end.
//
// The pointer is a record's identity: a record that a write moves within the order takes the pointer along. A position
// is kept beside it for as long as the database's generation says that it still holds.
#pragma once

#include <vector>

#include "database.h"

namespace objectstore {

class Volume;

class OpenDatabase {
 public:
  // Stands on the first record of the order. A null order goes by identifier.
  OpenDatabase(Volume& volume, Database& database, SortOrder* order, bool auto_increment);
  OpenDatabase(const OpenDatabase&) = delete;
  OpenDatabase& operator=(const OpenDatabase&) = delete;
  ~OpenDatabase();

  // Before the handle is given out: so that the database knows it.
  void Join();

  Volume& volume() const { return volume_; }
  Database& database() const { return database_; }
  const SortOrder* order() const { return order_; }

  // Sees to it that all records are there, not only the first ones. On failure nothing has changed.
  Status Complete() { return database_.loaded() ? Status::kOk : LoadRest(); }

  // On failure the pointer stands at the end, except when a parameter was wrong or records could not be read: then it
  // has not moved.
  Status Seek(DWORD type, DWORD_PTR value, CEOID& found, DWORD* index);

  // The usual seeks, by position, to the first of equal numbers and on to the next, and by identifier, as long as they only have to look:
  // the identifier that Seek finds. 0 when it takes more than that, or when there is no such record; nothing has changed then.
  CEOID SeekAtOnce(DWORD type, DWORD_PTR value, DWORD* index) {
    size_t position = static_cast<uint32_t>(value);
    const Record* record = nullptr;
    if (type == CEDB_SEEK_BEGINNING) {
      if (position >= database_.records().size() || !IsSettled()) return 0;
      record = At(position);
      record->Prefetch();
    } else if (type == CEDB_SEEK_VALUENEXTEQUAL) {
      position = position_ + 1;
      record = NextEqualAtOnce(reinterpret_cast<const CEPROPVAL*>(value));
    } else if (type == CEDB_SEEK_VALUEFIRSTEQUAL) {
      record = FirstEqualAtOnce(reinterpret_cast<const CEPROPVAL*>(value), position);
    } else if (type == CEDB_SEEK_CEOID && database_.loaded() && IsSettled()) {
      record = database_.Find(static_cast<CEOID>(value));
      if (record != nullptr) position = PositionOf(*record);
    }
    if (record == nullptr) return 0;
    MoveToRecord(*record, position);
    if (index != nullptr) *index = static_cast<DWORD>(position);
    return oid_;
  }

  // The record under the pointer, if nothing has to be looked up and a read does not move the pointer; else null.
  const Record* CurrentAtOnce() const { return KnowsPosition() && !auto_increment_ ? record_ : nullptr; }

  // The record under the pointer.
  Status Current(const Record*& record) const {
    if (state_ != State::kAtRecord) return state_ == State::kAtEnd ? Status::kNoMoreItems : Status::kKeyDeleted;
    record = generation_ == database_.generation() ? record_ : database_.Find(oid_);
    return Status::kOk;
  }

  // With automatic increment, moves the pointer on. Called after each read that has visited the record.
  void StepAfterRead();

  // Where the property stood that the last read asked for first. Records of a database are mostly alike, so that it is
  // there again.
  size_t property_hint = 0;

  // Room for a record's values while it is written; what was in it is gone.
  std::vector<Value>& EmptyValues() {
    values_.clear();
    return values_;
  }

  // A record has gone, through this handle or another.
  void RecordRemoved(const RecordRef& record, bool through_this_handle);

 private:
  enum class State { kAtRecord, kInGap, kAtEnd };

  // The order, if there is one, holds all records in their places.
  bool IsSettled() const { return order_ == nullptr || order_->settled(); }
  bool KnowsPosition() const { return state_ == State::kAtRecord && generation_ == database_.generation(); }
  // It is a number that the order is by, and the order holds all records in their places.
  bool IsUsualKey(const CEPROPVAL* value) const {
    return value != nullptr && order_ != nullptr && value->propid == order_->spec().propid && !IsText(value->propid) &&
           order_->settled();
  }
  const Record* NextEqualAtOnce(const CEPROPVAL* value) const {
    return IsUsualKey(value) && KnowsPosition() ? order_->EqualAt(position_ + 1, order_->KeyOfNumber(NumberOf(*value)))
                                                : nullptr;
  }
  const Record* FirstEqualAtOnce(const CEPROPVAL* value, size_t& position) const {
    if (!IsUsualKey(value)) return nullptr;
    const SortKey key = order_->KeyOfNumber(NumberOf(*value));
    position = order_->FirstNotBefore(key);
    return order_->EqualAt(position, key);
  }

  size_t count() const { return database_.description().record_count; }
  Status LoadRest();
  const SortOrder& SettledOrder() const {
    order_->Settle(database_.records());
    return *order_;
  }
  Record* At(size_t position) const {
    return order_ != nullptr && database_.loaded() ? SettledOrder().At(position) : database_.RecordAt(position);
  }
  size_t PositionOf(const Record& record) const;

  // Of the record that the pointer is on.
  size_t Position() {
    if (generation_ != database_.generation()) FindPosition();
    return position_;
  }
  void FindPosition();

  // Where one step forward leads.
  int64_t SuccessorPosition() {
    return state_ == State::kAtRecord ? static_cast<int64_t>(Position()) + 1 : PositionBehindNoRecord();
  }
  int64_t PositionBehindNoRecord() const;

  void MoveToEnd();
  void MoveToRecord(CEOID oid) {
    if (state_ == State::kInGap) gap_ = RecordRef();
    state_ = State::kAtRecord;
    automatic_ = false;
    oid_ = oid;
    generation_ = 0;
  }
  void MoveToRecord(const Record& record, size_t position) {
    MoveToRecord(record.oid());
    record_ = &record;
    position_ = position;
    generation_ = database_.generation();
  }
  Status MoveTo(int64_t position) {
    if (static_cast<uint64_t>(position) >= count()) return LeaveOrder();
    const auto index = static_cast<size_t>(position);
    MoveToRecord(*At(index), index);
    return Status::kOk;
  }
  Status LeaveOrder();

  Status Move(DWORD type, DWORD_PTR value);
  Status SeekIdentifier(CEOID oid);
  Status SeekFromCurrent(int32_t steps);
  Status KeyOfClient(const CEPROPVAL& value, SortKey& key);
  Status SeekValue(DWORD type, const CEPROPVAL* value);
  Status SeekEqual(const SortOrder& order, size_t position, const SortKey& key) {
    const Record* record = order.EqualAt(position, key);
    if (record == nullptr) return LeaveOrder();
    MoveToRecord(*record, position);
    return Status::kOk;
  }

  Volume& volume_;
  Database& database_;
  SortOrder* order_;
  bool auto_increment_;

  State state_ = State::kAtEnd;
  bool automatic_ = false;          // the pointer got to its record by an automatic step
  CEOID oid_ = 0;                   // of the record that the pointer is on
  const Record* record_ = nullptr;  // that record, as of generation_
  size_t position_ = 0;             // its position, likewise
  uint64_t generation_ = 0;
  RecordRef gap_;                 // the deleted record, while the pointer is in its gap
  std::vector<uint8_t> scratch_;  // for the key of a value
  std::vector<Value> values_;
};

}  // namespace objectstore
