// Databases to and from the file.
//
// A record's row holds the number of the flush that wrote it. A new database of many records of a few numbers each is
// written as one block instead of rows; a record that changes later gets a row, and the database says which are in the
// block alone. When a flush finds that many records changed in nothing but one property of four bytes, it writes that
// property's values of all records as one packed column instead of the rows. A column's value counts for a record whose
// row is not newer than the column.
#include <algorithm>
#include <limits>

#include "column_body.h"
#include "database.h"
#include "open_database.h"

namespace objectstore {

namespace {

// So few changed records are cheaper as rows.
constexpr size_t kFewRecords = 64;

// So many are read before the rest: what a list shows when it is opened.
constexpr size_t kFirstRecords = 32;

// More columns than this a database does not get; it would be a strange client that needs them.
constexpr size_t kMostPackedColumns = 16;

constexpr uint32_t kLastLowWord = std::numeric_limits<uint32_t>::max();

struct Tally {
  CEPROPID property;
  size_t records;
};

void Count(std::vector<Tally>& tallies, CEPROPID property) {
  const auto found = std::find_if(tallies.begin(), tallies.end(),
                                  [property](const Tally& tally) { return tally.property == property; });
  if (found == tallies.end()) {
    tallies.push_back({property, 1});
  } else {
    ++found->records;
  }
}

// A head of the first layout does not say which records there are.
IdentifierRuns RunsOf(std::span<const RecordRef> records) {
  IdentifierRuns runs;
  for (const RecordRef& record : records) {
    runs.Reserve();
    runs.Add(record->oid());
  }
  return runs;
}

// Gives one record its value from a column.
Status ApplyColumn(const PackedColumn& column, Record& record) {
  const size_t index = record.IndexOf(column.property);
  const auto found = std::lower_bound(column.values.begin(), column.values.end(), record.oid(),
                                      [](const auto& pair, CEOID oid) { return pair.first < oid; });
  const bool in_column = found != column.values.end() && found->first == record.oid();
  if (in_column != (index != Record::kNowhere)) return Status::kCorrupt;
  if (in_column) record.SetNumberAt(index, found->second);
  return Status::kOk;
}

}  // namespace

Status Database::Load(VolumeFile* file, CEOID next_identifier) {
  if (loaded_) return Status::kOk;
  if (head_.names_records && head_.identifiers.count() == 0 && head_.packed.columns.empty()) {
    loaded_ = true;  // and never mind what the file holds besides
    return Status::kOk;
  }
  RecordArena arena;
  std::vector<RecordRef> records;
  records.reserve(head_.description.record_count);
  STORE_TRY(LoadRange(*file, kLastLowWord, arena, records));
  uint64_t bytes = 0;
  for (const RecordRef& record : records) bytes += record->counted_bytes();
  IdentifierRuns identifiers = head_.names_records ? head_.identifiers : RunsOf(records);
  const bool agrees = identifiers.Name(records) && records.size() == head_.description.record_count &&
                      bytes == head_.description.record_bytes &&
                      (records.empty() || records.back()->oid() < next_identifier);
  if (!agrees) return Status::kCorrupt;
  std::vector<SortOrder> orders = OrdersOf(head_.description);
  BuildAwaitedOrders(records, orders);
  arena_.Swap(arena);
  records_.swap(records);
  ++generation_;
  std::move(orders.begin(), orders.end(), orders_.begin());  // in their places, which handles know
  std::swap(head_.identifiers, identifiers);
  head_.names_records = true;
  loaded_ = true;
  return Status::kOk;
}

Status Database::LoadFirst(VolumeFile* file, CEOID next_identifier, const SORTORDERSPEC* order) {
  if (loaded_ || head_.description.record_count <= kFirstRecords || !GoesByIdentifier(order)) {
    return Load(file, next_identifier);
  }
  if (!records_.empty()) return Status::kOk;
  RecordArena arena;
  std::vector<RecordRef> records;
  records.reserve(kFirstRecords);
  STORE_TRY(LoadRange(*file, head_.identifiers.At(kFirstRecords - 1), arena, records));
  const bool agrees = records.size() == kFirstRecords && head_.identifiers.BeginWith(records) &&
                      records.back()->oid() < next_identifier;
  if (!agrees) return Status::kCorrupt;
  arena_.Swap(arena);
  records_.swap(records);
  return Status::kOk;
}

// The records up to an identifier, as their rows and the packed columns have them.
Status Database::LoadRange(VolumeFile& file, CEOID last, RecordArena& arena, std::vector<RecordRef>& records) const {
  std::vector<uint64_t> flushes;
  STORE_TRY(LoadRecords(file, last, arena, records, flushes));
  if (head_.packed.block_flush != 0) STORE_TRY(LoadBlock(file, arena, records, flushes));
  return ApplyPacked(file, records, flushes);
}

bool Database::GoesByIdentifier(const SORTORDERSPEC* order) const {
  if (!head_.names_records || head_.packed.block_flush != 0) return false;
  if (order == nullptr) return true;
  const auto specs = head_.description.sort_specs.list();
  return head_.by_identifier[static_cast<size_t>(order - specs.data())];
}

// A handle may have been opened on an order while only the first records were there.
void Database::BuildAwaitedOrders(std::span<const RecordRef> records, std::vector<SortOrder>& built) const {
  for (const OpenDatabase* handle : handles_) {
    if (handle->order() == nullptr) continue;
    SortOrder& order = built[static_cast<size_t>(handle->order() - orders_.data())];
    if (!order.built()) order.Build(records);
  }
}

// An order that nothing has asked for since it may have changed is not known to go by identifier.
void Database::NoteOrders() {
  if (!loaded_) return;
  for (size_t i = 0; i < orders_.size(); ++i)
    head_.by_identifier[i] = orders_[i].built() && orders_[i].GoesByIdentifier();
}

Status Database::LoadRecords(VolumeFile& file, CEOID last, RecordArena& arena, std::vector<RecordRef>& records,
                             std::vector<uint64_t>& flushes) const {
  RecordDecoder decoder;
  return file.ForEachRow(Table::kRecord, RowKey(oid_, 0), RowKey(oid_, last),
                         [&](int64_t key, std::span<const uint8_t> body) {
                           RecordRef record;
                           uint64_t flush = 0;
                           if (LowWord(key) == 0 || LowWord(key) == oid_) return Status::kCorrupt;
                           if (records.size() == head_.description.record_count) return Status::kCorrupt;
                           STORE_TRY(decoder.Decode(body, key, record, flush, &arena));
                           records.push_back(std::move(record));
                           flushes.push_back(flush);
                           return Status::kOk;
                         });
}

// Adds the block's records, but those that are deleted and those that a later flush gave a row. Which they are is said by
// the database: a row that got lost must not be covered up by the block's older state of its record.
Status Database::LoadBlock(VolumeFile& file, RecordArena& arena, std::vector<RecordRef>& records,
                           std::vector<uint64_t>& flushes) const {
  RecordBlock block;
  const auto take = [&block](int64_t key, std::span<const uint8_t> body) { return DecodeBlock(body, key, block); };
  const int64_t key = RowKey(oid_, kBlockRow);
  STORE_TRY(file.ForEachRow(Table::kPacked, key, key, take));
  if (block.flush != head_.packed.block_flush) return Status::kCorrupt;
  std::vector<RecordRef> rows;
  std::vector<uint64_t> flushes_of_rows;
  rows.swap(records);
  flushes_of_rows.swap(flushes);
  records.reserve(rows.size() + block.oids.size());
  flushes.reserve(rows.size() + block.oids.size());
  std::vector<Value> values;
  size_t row = 0;
  const auto take_rows = [&](uint64_t below) {
    for (; row < rows.size() && rows[row]->oid() < below; ++row) {
      records.push_back(std::move(rows[row]));
      flushes.push_back(flushes_of_rows[row]);
    }
  };
  for (size_t i = 0; i < block.oids.size(); ++i) {
    const CEOID oid = block.oids[i];
    take_rows(oid);
    if (!head_.packed.in_block.Has(oid)) continue;
    if (row < rows.size() && rows[row]->oid() == oid) return Status::kCorrupt;
    records.push_back(block.RecordAt(i, values, &arena));
    flushes.push_back(block.flush);
  }
  take_rows(uint64_t{kLastLowWord} + 1);
  return Status::kOk;
}

Status Database::ApplyPacked(VolumeFile& file, std::span<const RecordRef> records,
                             std::span<const uint64_t> flushes) const {
  size_t columns = 0;
  const auto apply = [&](int64_t key, std::span<const uint8_t> body) {
    if (LowWord(key) == kBlockRow && head_.packed.block_flush != 0) return Status::kOk;
    PackedColumn column;
    STORE_TRY(DecodePacked(body, key, column));
    const bool expected =
        std::any_of(head_.packed.columns.begin(), head_.packed.columns.end(), [&](const auto& reference) {
          return reference.property == column.property && reference.flush == column.flush;
        });
    if (!expected) return Status::kCorrupt;
    ++columns;
    for (size_t i = 0; i < records.size(); ++i) {
      if (flushes[i] <= column.flush) STORE_TRY(ApplyColumn(column, *records[i]));
    }
    return Status::kOk;
  };
  STORE_TRY(file.ForEachRow(Table::kPacked, RowKey(oid_, 0), RowKey(oid_, kLastLowWord), apply));
  return columns == head_.packed.columns.size() ? Status::kOk : Status::kCorrupt;
}

Status Database::WriteChanges(VolumeFile& file, uint64_t flush, BodyWriter& writer) {
  packed_after_flush_ = head_.packed;
  bool as_block = false;
  if (!in_file_) STORE_TRY(WriteAsBlock(file, flush, writer, as_block));
  if (!as_block) {
    const std::vector<CEPROPID> packed = ChoosePackedProperties();
    STORE_TRY(WriteRows(file, packed, flush, writer));
    STORE_TRY(DropEmptyBlock(file));
    for (const CEPROPID property : packed) STORE_TRY(WritePacked(file, property, flush, writer));
  }
  NoteOrders();
  return file.Put(Table::kDatabase, oid_, EncodeDatabaseHead(head_, packed_after_flush_, oid_, writer));
}

Status Database::WriteRows(VolumeFile& file, std::span<const CEPROPID> packed, uint64_t flush, BodyWriter& writer) {
  for (const CEOID oid : whole_records_) {
    if (const Record* record = Find(oid)) STORE_TRY(WriteRow(file, *record, flush, writer));
  }
  const auto is_packed = [packed](CEPROPID property) {
    return std::find(packed.begin(), packed.end(), property) != packed.end();
  };
  const std::span<const CEOID> others = is_packed(number_) ? std::span<const CEOID>() : number_records_;
  for (const CEOID oid : others) {
    const Record* record = Find(oid);
    if (record == nullptr || !IsNumber(record->LacksSince(time_)) || is_packed(record->LacksSince(time_))) continue;
    STORE_TRY(WriteRow(file, *record, flush, writer));
  }
  for (const CEOID oid : deleted_records_) {
    LeaveBlock(oid);
    STORE_TRY(file.Delete(Table::kRecord, RowKey(oid_, oid)));
  }
  return Status::kOk;
}

Status Database::WriteRow(VolumeFile& file, const Record& record, uint64_t flush, BodyWriter& writer) {
  const int64_t key = RowKey(oid_, record.oid());
  STORE_TRY(file.Put(Table::kRecord, key, EncodeRecord(record, key, flush, writer)));
  LeaveBlock(record.oid());
  return Status::kOk;
}

void Database::LeaveBlock(CEOID oid) {
  IdentifierRuns& in_block = packed_after_flush_.in_block;
  if (!in_block.Has(oid)) return;
  in_block.Reserve();
  in_block.Remove(oid);
}

Status Database::DropEmptyBlock(VolumeFile& file) {
  if (packed_after_flush_.block_flush == 0 || packed_after_flush_.in_block.count() != 0) return Status::kOk;
  packed_after_flush_.block_flush = 0;
  const int64_t key = RowKey(oid_, kBlockRow);
  return file.Delete(Table::kPacked, key);
}

// A database that the file does not have yet, of many records of a few numbers each, such as an application's list of
// what it shows: a few pages instead of a row for each.
Status Database::WriteAsBlock(VolumeFile& file, uint64_t flush, BodyWriter& writer, bool& written) {
  written = false;
  if (records_.size() <= kFewRecords) return Status::kOk;
  const int64_t key = RowKey(oid_, kBlockRow);
  const std::span<const uint8_t> body = EncodeBlock(records_, flush, key, writer);
  if (body.empty()) return Status::kOk;
  STORE_TRY(file.Put(Table::kPacked, key, body));
  packed_after_flush_.block_flush = flush;
  packed_after_flush_.in_block = head_.identifiers;
  written = true;
  return Status::kOk;
}

// The numbers that are all that the file lacks of many records.
std::vector<CEPROPID> Database::NumbersThatManyLack() const {
  if (lacking_number_ <= kFewRecords) return {};
  if (number_ != kChangedWhole) return {number_};
  std::vector<Tally> tallies;
  for (const CEOID oid : number_records_) {
    const Record* record = Find(oid);
    if (record != nullptr && IsNumber(record->LacksSince(time_))) Count(tallies, record->LacksSince(time_));
  }
  std::vector<CEPROPID> numbers;
  for (const Tally& tally : tallies) {
    if (tally.records > kFewRecords) numbers.push_back(tally.property);
  }
  return numbers;
}

// Those of them that become packed columns.
std::vector<CEPROPID> Database::ChoosePackedProperties() const {
  std::vector<CEPROPID> chosen;
  size_t columns = head_.packed.columns.size();
  for (const CEPROPID number : NumbersThatManyLack()) {
    const bool exists = std::any_of(head_.packed.columns.begin(), head_.packed.columns.end(),
                                    [number](const auto& reference) { return reference.property == number; });
    if (!exists && columns++ >= kMostPackedColumns) continue;
    chosen.push_back(number);
  }
  return chosen;
}

Status Database::WritePacked(VolumeFile& file, CEPROPID property, uint64_t flush, BodyWriter& writer) {
  const int64_t key = RowKey(oid_, property);
  STORE_TRY(file.Put(Table::kPacked, key, EncodePacked(records_, flush, key, writer)));
  const auto found = std::find_if(packed_after_flush_.columns.begin(), packed_after_flush_.columns.end(),
                                  [property](const auto& reference) { return reference.property == property; });
  if (found == packed_after_flush_.columns.end()) {
    packed_after_flush_.columns.push_back({property, flush});
  } else {
    found->flush = flush;
  }
  return Status::kOk;
}

void Database::ForgetChanges() {
  ++time_;
  whole_records_.clear();
  number_records_.clear();
  number_ = kUnchanged;
  lacking_number_ = 0;
  deleted_records_.clear();
  head_.packed = std::move(packed_after_flush_);
  packed_after_flush_ = {};
  in_file_ = true;
  changed_ = false;
}

}  // namespace objectstore
