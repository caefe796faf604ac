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

  // The seeks that are made again and again: by position, and on to the next of equal numbers. Without a call and
  // without room on the stack. False when it takes more than that; nothing has changed then.
  bool SeekAtOnce(DWORD type, DWORD_PTR value, CEOID& found, DWORD* index) {
    if (type == CEDB_SEEK_VALUENEXTEQUAL) {
      return NextEqualAtOnce(reinterpret_cast<const CEPROPVAL*>(value), found, index);
    }
    const size_t position = static_cast<uint32_t>(value);
    if (type != CEDB_SEEK_BEGINNING || position >= database_.records().size()) return false;
    if (!IsSettled() || state_ == State::kInGap) return false;
    const Record* next = nullptr;
    const Record* const record = order_ != nullptr ? SettledOrder().At(position, next) : database_.RecordAt(position);
    (next != nullptr && position == position_ + 1 ? next : record)->Prefetch();
    StandOn(*record, position);
    return Found(found, index);
  }

  // That to the first of equal numbers, if it is where it was the last time that it was looked for; likewise.
  bool SeekFirstEqualAgain(DWORD_PTR value, CEOID& found, DWORD* index) {
    const auto* const number = reinterpret_cast<const CEPROPVAL*>(value);
    if (!IsUsualKey(number) || !order_->settled() || state_ == State::kInGap) return false;
    const Record* const record = order_->FirstEqualAt(first_equal_, order_->KeyOfUnsigned(number->val.ulVal));
    if (record == nullptr) return false;
    StandOn(*record, first_equal_);
    return Found(found, index);
  }

  // That by identifier, as long as it only has to look and there is such a record; likewise.
  bool SeekIdentifierByLooking(CEOID oid, CEOID& found, DWORD* index) {
    const Record* const record = database_.loaded() && IsSettled() ? database_.Find(oid) : nullptr;
    if (record == nullptr) return false;
    MoveToRecord(*record, PositionOf(*record));
    return Found(found, index);
  }

  // The pointer is on a record, and nothing has to be looked up to say which. Then KnownRecord is that record.
  bool KnowsPosition() const { return generation_ == database_.generation(); }
  const Record& KnownRecord() const { return *record_; }

  // Reading moves the pointer on.
  bool auto_increment() const { return auto_increment_; }

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
  // The order is by unsigned numbers of four bytes, and the value is one.
  bool IsUsualKey(const CEPROPVAL* value) const { return value != nullptr && value->propid == usual_key_; }

  // Whoever goes through equal numbers ends by not finding another. As long as a position holds, the order that it was
  // found in does: it has not been put off.
  bool NextEqualAtOnce(const CEPROPVAL* value, CEOID& found, DWORD* index) {
    if (!IsUsualKey(value) || !KnowsPosition()) return false;
    const Record* const record = order_->EqualAt(position_ + 1, order_->KeyOfUnsigned(value->val.ulVal));
    if (record == nullptr) return LeaveAtOnce(found);
    ++position_;
    record_ = record;
    oid_ = record->oid();
    return Found(found, index);
  }
  bool LeaveAtOnce(CEOID& found) {
    if (!order_->settled()) return false;
    StandAtEnd();
    found = 0;
    SetLastError(static_cast<DWORD>(Status::kSeek));
    return true;
  }
  bool Found(CEOID& found, DWORD* index) const {
    found = oid_;
    if (index != nullptr) *index = static_cast<DWORD>(position_);
    return true;
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

  // The pointer is in no gap.
  void StandAtEnd() {
    state_ = State::kAtEnd;
    automatic_ = false;
    oid_ = 0;
    generation_ = 0;
  }
  void LeaveGap() {
    if (state_ == State::kInGap) gap_ = RecordRef();
  }
  void MoveToEnd() {
    LeaveGap();
    StandAtEnd();
  }
  void MoveToRecord(CEOID oid) {
    LeaveGap();
    state_ = State::kAtRecord;
    automatic_ = false;
    oid_ = oid;
    generation_ = 0;
  }
  void MoveToRecord(const Record& record, size_t position) {
    LeaveGap();
    StandOn(record, position);
  }
  void StandOn(const Record& record, size_t position) {
    state_ = State::kAtRecord;
    automatic_ = false;
    oid_ = record.oid();
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
  uint64_t usual_key_;  // what the order is by, if that is an unsigned number of four bytes; else no property

  State state_ = State::kAtEnd;
  bool automatic_ = false;          // the pointer got to its record by an automatic step
  CEOID oid_ = 0;                   // of the record that the pointer is on
  const Record* record_ = nullptr;  // that record, as of generation_
  size_t position_ = 0;             // its position, likewise
  uint64_t generation_ = 0;         // of no database while that is not known, or the pointer is on no record
  size_t first_equal_ = 0;          // where the first of equal numbers was that was looked for last
  RecordRef gap_;                   // the deleted record, while the pointer is in its gap
  std::vector<uint8_t> scratch_;    // for the key of a value
  std::vector<Value> values_;
};

}  // namespace objectstore
