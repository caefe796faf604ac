// One database of a mounted volume: what the catalogue says of it and, once something has needed them, its records and
// its sort orders.
//
// (D1) records_ is in ascending order of the identifier.
// (D2) Every order that has been built holds every record once.
// (D3) The description's count and size are those of the records.
// (D4) Until the database is loaded, records_ holds the first records, or none.
// (D5) A change first gathers all memory that it needs and then happens whole; bad_alloc leaves everything as it was.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "database_body.h"
#include "record.h"
#include "record_body.h"
#include "sort_order.h"
#include "volume_file.h"

namespace objectstore {

class OpenDatabase;

class Database {
 public:
  // A new one, whose description has been checked.
  Database(CEOID oid, const Description& description);

  // One that the file holds. Its records stay in the file until Load.
  Database(CEOID oid, DatabaseHead head);

  CEOID oid() const { return oid_; }
  const Description& description() const { return head_.description; }

  // Reads the records from the file, if that has not been done. On failure nothing has changed.
  Status Load(VolumeFile* file, CEOID next_identifier);
  bool loaded() const { return loaded_; }

  // Reads the first records alone, where the file says which they are and the order (null: none) is that of the
  // identifiers: what is shown first need not wait for the rest. Else reads all.
  Status LoadFirst(VolumeFile* file, CEOID next_identifier, const SORTORDERSPEC* order);

  // What the file says of an older format's database leaves open which records it has, until it is loaded. It can be
  // written only then.
  bool names_records() const { return head_.names_records; }
  bool Names(CEOID record) const { return head_.identifiers.Has(record); }

  // Of a loaded database; else the first records, as many as have been read.
  std::span<const RecordRef> records() const { return records_; }
  Record* RecordAt(size_t position) const { return records_[position].get(); }

  // Of a loaded database.
  Record* Find(CEOID oid) const;
  size_t PositionByIdentifier(CEOID oid) const;  // the number of records with a smaller identifier

  // The sort order on a property, built if the database is loaded; null when the database has none on it.
  SortOrder* OrderOn(CEPROPID property);
  bool SortsOn(CEPROPID property) const;

  // Where to make a new record. Null, for an allocation of its own, once most of the arena's records have gone.
  RecordArena* ArenaForNew() {
    constexpr uint64_t kSmall = 64 * 1024;
    constexpr uint64_t kMuch = 4;  // that a small record takes more than what it counts for
    return arena_.bytes() <= kSmall + kMuch * head_.description.record_bytes ? &arena_ : nullptr;
  }

  // Writes a record under a new identifier, or in the place of an older state of it.
  Status PutRecord(RecordRef record);
  void RemoveRecord(CEOID oid);
  void ReserveForRemoval();

  // Gives a record another value of four bytes, one that no order sorts on.
  void SetNumber(Record& record, size_t index, uint32_t number);

  // Takes a changed description; its count and size are not looked at. New sort orders must fit the records.
  Status SetDescription(const Description& description, bool with_time);

  // Grows whenever a record may have come to stand at another position or elsewhere in memory.
  uint64_t generation() const { return generation_; }

  // The handles that are open on it. They are told of records that go.
  std::vector<OpenDatabase*>& handles() { return handles_; }

  // A flush (database_flush.cc). WriteChanges changes nothing in memory but what ForgetChanges or the next WriteChanges
  // sets right.
  bool in_file() const { return in_file_; }
  bool changed() const { return changed_; }
  Status WriteChanges(VolumeFile& file, uint64_t flush, BodyWriter& writer);
  void ForgetChanges();

 private:
  Status CheckConstraints(const Record& record, const Record* before);
  Status CheckUnique(SortOrder& order, const Record& record, const Record* before);
  Status ReplaceOrders(const Description& description);
  static Status CheckOrders(std::vector<SortOrder>& orders, std::span<const RecordRef> records);
  void Touch();
  void InsertRecord(RecordRef record);
  void ReplaceRecord(RecordRef& place, RecordRef record);
  static std::vector<SortOrder> OrdersOf(const Description& description);

  Status LoadRange(VolumeFile& file, CEOID last, RecordArena& arena, std::vector<RecordRef>& records) const;
  Status LoadRecords(VolumeFile& file, CEOID last, RecordArena& arena, std::vector<RecordRef>& records,
                     std::vector<uint64_t>& flushes) const;
  Status LoadBlock(VolumeFile& file, RecordArena& arena, std::vector<RecordRef>& records,
                   std::vector<uint64_t>& flushes) const;
  void BuildAwaitedOrders(std::span<const RecordRef> records, std::vector<SortOrder>& built) const;
  bool GoesByIdentifier(const SORTORDERSPEC* order) const;
  Status ApplyPacked(VolumeFile& file, std::span<const RecordRef> records, std::span<const uint64_t> flushes) const;
  void NoteOrders();
  void NoteLack(Record& record, CEPROPID before, CEPROPID now);
  std::vector<CEPROPID> ChoosePackedProperties() const;
  std::vector<CEPROPID> NumbersThatManyLack() const;
  Status WriteRows(VolumeFile& file, std::span<const CEPROPID> packed, uint64_t flush, BodyWriter& writer);
  Status WriteRow(VolumeFile& file, const Record& record, uint64_t flush, BodyWriter& writer);
  void LeaveBlock(CEOID oid);
  Status DropEmptyBlock(VolumeFile& file);
  Status WriteAsBlock(VolumeFile& file, uint64_t flush, BodyWriter& writer, bool& written);
  Status WritePacked(VolumeFile& file, CEPROPID property, uint64_t flush, BodyWriter& writer);

  CEOID oid_;
  DatabaseHead head_;
  RecordArena arena_;  // of the records that were loaded or came in great number; they go before it does
  std::vector<RecordRef> records_;
  std::vector<SortOrder> orders_;
  std::vector<OpenDatabase*> handles_;
  uint64_t generation_ = 1;
  bool loaded_;

  // Since the last flush:
  bool in_file_;
  bool changed_;
  uint64_t time_ = 1;                   // grows with each flush; what the file lacks of a record, it lacks since then
  std::vector<CEOID> whole_records_;    // that the file lacks, once each; those deleted since are among them
  std::vector<CEOID> number_records_;   // of which it lacks one number, or lacked before it lacked more; the same
  CEPROPID number_ = kUnchanged;        // which number all those lacked; kChangedWhole: several ones
  size_t lacking_number_ = 0;           // those that still lack one number
  std::vector<CEOID> deleted_records_;  // that the file holds
  PackedParts packed_after_flush_;
};

}  // namespace objectstore
