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

  // The record under the pointer.
  Status Current(const Record*& record) const {
    if (state_ == State::kAtEnd) return Status::kNoMoreItems;
    if (state_ == State::kInGap) return Status::kKeyDeleted;
    record = generation_ == database_.generation() ? At(position_) : database_.Find(oid_);
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

  size_t count() const { return database_.description().record_count; }
  Status LoadRest();
  const SortOrder& SettledOrder() const {
    order_->Settle(database_.records());
    return *order_;
  }
  Record* At(size_t position) const {
    return order_ != nullptr && database_.loaded() ? SettledOrder().At(position) : database_.records()[position].get();
  }
  size_t PositionOf(const Record& record) const;
  size_t Position();
  int64_t SuccessorPosition();

  void MoveToEnd();
  void MoveToRecord(CEOID oid);
  Status MoveTo(int64_t position);

  Status SeekIdentifier(CEOID oid);
  Status SeekFromCurrent(int32_t steps);
  Status KeyOfClient(const CEPROPVAL& value, SortKey& key);
  Status SeekValue(DWORD type, const CEPROPVAL* value);

  Volume& volume_;
  Database& database_;
  SortOrder* order_;
  bool auto_increment_;

  State state_ = State::kAtEnd;
  bool automatic_ = false;  // the pointer got to its record by an automatic step
  CEOID oid_ = 0;           // of the record that the pointer is on
  size_t position_ = 0;     // of that record, as of generation_
  uint64_t generation_ = 0;
  RecordRef gap_;                 // the deleted record
  std::vector<uint8_t> scratch_;  // for the key of a value
  std::vector<Value> values_;
};

}  // namespace objectstore
