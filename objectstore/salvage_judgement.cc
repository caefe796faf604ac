// What the rows that were found amount to (see salvage.h).
#include <algorithm>
#include <cstdio>

#include "salvage.h"
#include "xkrvolume.h"

namespace objectstore {

namespace {

constexpr size_t kKindPlace = 8;

CEOID HighWord(int64_t key) { return static_cast<CEOID>(static_cast<uint64_t>(key) >> 32); }

uint8_t KindOf(const RawRow& row) { return row.body.size() > kKindPlace ? KindWithoutLayout(row.body[kKindPlace]) : 0; }
bool IsOf(const RawRow& row, BodyKind kind) { return KindOf(row) == static_cast<uint8_t>(kind); }
bool IsDatabaseKey(int64_t key) { return key > 0 && key <= 0xFFFFFFFF; }
bool IsRecordKey(int64_t key) { return LowWord(key) != 0 && HighWord(key) != 0 && LowWord(key) != HighWord(key); }

std::string Number(uint64_t number) { return std::to_string(number); }

std::string Hexadecimal(uint32_t number) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%X", number);
  return text;
}

}  // namespace

bool Salvage::IsSound(const RawRow& row) {
  RecordDecoder decoder;
  RecordRef record;
  uint64_t flush = 0;
  VolumeHead volume;
  DatabaseHead database;
  PackedColumn column;
  RecordBlock block;
  switch (static_cast<BodyKind>(KindOf(row))) {
    case BodyKind::kVolume:
      return row.key == kVolumeRowKey && DecodeVolumeHead(row.body, volume) == Status::kOk;
    case BodyKind::kDatabase:
      return IsDatabaseKey(row.key) && DecodeDatabaseHead(row.body, LowWord(row.key), database) == Status::kOk;
    case BodyKind::kRecord:
      return IsRecordKey(row.key) && decoder.Decode(row.body, row.key, record, flush) == Status::kOk;
    case BodyKind::kPacked:
      return DecodePacked(row.body, row.key, column) == Status::kOk;
    case BodyKind::kBlock:
      return HighWord(row.key) != 0 && DecodeBlock(row.body, row.key, block) == Status::kOk;
    default:
      return false;
  }
}

Salvage::Taken Salvage::Take(const RawRow& row, uint32_t page, bool loose) {
  Taken taken = Taken::kUnsound;
  if (IsOf(row, BodyKind::kVolume)) taken = TakeVolume(row);
  if (IsOf(row, BodyKind::kDatabase)) taken = TakeDatabase(row);
  if (IsOf(row, BodyKind::kRecord)) taken = TakeRecord(row, page, loose);
  if (IsOf(row, BodyKind::kPacked)) taken = TakeColumn(row);
  if (IsOf(row, BodyKind::kBlock)) taken = TakeBlock(row, page, loose);
  if (taken != Taken::kUnsound) anything_found_ = true;
  return taken;
}

Salvage::Taken Salvage::TakeVolume(const RawRow& row) {
  VolumeHead head;
  if (row.key != kVolumeRowKey || DecodeVolumeHead(row.body, head) != Status::kOk) return Taken::kUnsound;
  if (volume_ && volume_->flush >= head.flush) return Taken::kOlder;
  volume_ = head;
  return Taken::kTaken;
}

Salvage::Taken Salvage::TakeDatabase(const RawRow& row) {
  const CEOID oid = LowWord(row.key);
  FoundDatabase found;
  if (!IsDatabaseKey(row.key) || DecodeDatabaseHead(row.body, oid, found.head) != Status::kOk) return Taken::kUnsound;
  largest_identifier_ = std::max(largest_identifier_, oid);
  return databases_.emplace(oid, std::move(found)).second ? Taken::kTaken : Taken::kOlder;
}

Salvage::Taken Salvage::TakeRecord(const RawRow& row, uint32_t page, bool loose) {
  FoundRecord found;
  if (!IsRecordKey(row.key)) return Taken::kUnsound;
  if (decoder_.Decode(row.body, row.key, found.record, found.flush) != Status::kOk) return Taken::kUnsound;
  found.page = page;
  found.loose = loose;
  largest_identifier_ = std::max({largest_identifier_, LowWord(row.key), HighWord(row.key)});
  FoundRecord& place = records_[row.key];
  if (place.record && place.flush >= found.flush) return Taken::kOlder;
  place = std::move(found);
  return Taken::kTaken;
}

Salvage::Taken Salvage::TakeColumn(const RawRow& row) {
  PackedColumn column;
  if (DecodePacked(row.body, row.key, column) != Status::kOk) return Taken::kUnsound;
  PackedColumn& place = columns_[row.key];
  if (place.property != 0 && place.flush >= column.flush) return Taken::kOlder;
  place = std::move(column);
  return Taken::kTaken;
}

// The records of a block, one by one. A row of theirs is newer.
Salvage::Taken Salvage::TakeBlock(const RawRow& row, uint32_t page, bool loose) {
  RecordBlock block;
  const CEOID database = HighWord(row.key);
  if (database == 0 || DecodeBlock(row.body, row.key, block) != Status::kOk) return Taken::kUnsound;
  std::vector<Value> values;
  Taken taken = Taken::kOlder;
  for (size_t i = 0; i < block.oids.size(); ++i) {
    FoundRecord& place = records_[RowKey(database, block.oids[i])];
    if (place.record && place.flush >= block.flush) continue;
    place = {block.RecordAt(i, values, nullptr), block.flush, page, loose, true};
    taken = Taken::kTaken;
  }
  largest_identifier_ = std::max({largest_identifier_, database, block.oids.back()});
  return taken;
}

bool Salvage::complete() const {
  return volume_ && databases_known_ && !flushes_lost_ &&
         std::all_of(databases_.begin(), databases_.end(), [](const auto& entry) { return entry.second.complete; });
}

void Salvage::Judge() {
  if (!loose_.empty()) anything_found_ = true;
  JudgeVolume();
  FindHomeless();
  for (auto& [oid, database] : databases_) JudgeDatabase(oid, database);
  CheckIdentifiers();
}

void Salvage::JudgeVolume() {
  const bool row_found = volume_.has_value();
  if (!volume_ || databases_.size() != volume_->database_count) TakeLooseRowsOfVolume();
  if (!row_found)
    Add(XKRFindingVolumeRow, 0, 0, 0, volume_ ? "the volume's row lies loose" : "the volume's row is lost");
  // A row that lies loose may be older than the one that is lost.
  databases_known_ = row_found && databases_.size() == volume_->database_count;
  if (volume_ && databases_.size() != volume_->database_count) {
    Add(XKRFindingVolumeRow, 0, 0, 0,
        "the volume counts " + Number(volume_->database_count) + " databases, and " + Number(databases_.size()) +
            " are found");
  }
}

// No more databases than the volume counts, and of each name one: others were deleted, or had another name once.
void Salvage::TakeLooseRowsOfVolume() {
  for (const LooseRow& loose : loose_) {
    if (!volume_ && IsOf(loose.row, BodyKind::kVolume)) (void)Take(loose.row, loose.page, true);
  }
  for (const LooseRow& loose : loose_) {
    if (!IsOf(loose.row, BodyKind::kDatabase)) continue;
    if (volume_ && databases_.size() >= volume_->database_count) return;
    DatabaseHead head;
    if (DecodeDatabaseHead(loose.row.body, LowWord(loose.row.key), head) != Status::kOk) continue;
    const bool name_is_taken = std::any_of(databases_.begin(), databases_.end(), [&head](const auto& entry) {
      return entry.second.head.description.name.Matches(head.description.name);
    });
    if (name_is_taken || Take(loose.row, loose.page, true) != Taken::kTaken) continue;
    databases_[LowWord(loose.row.key)].description_loose = true;
    Add(XKRFindingLoose, LowWord(loose.row.key), 0, loose.page, "the database's own row lies outside its table");
  }
}

// Records whose database has no row. Where no database can be missing, there is none that they belong to.
void Salvage::FindHomeless() {
  const auto add = [this](CEOID oid, uint32_t page) {
    if (databases_.contains(oid)) return;
    databases_[oid].description_lost = true;
    Add(XKRFindingDescription, oid, 0, page, "the row with the database's name, type and sort orders is lost");
  };
  for (auto record = records_.begin(); record != records_.end();) {
    const CEOID oid = HighWord(record->first);
    if (databases_known_ && !databases_.contains(oid)) {
      Add(XKRFindingSurplus, oid, LowWord(record->first), record->second.page, "the record is of no database");
      record = records_.erase(record);
      continue;
    }
    add(oid, record->second.page);
    ++record;
  }
  if (databases_known_) return;
  for (const LooseRow& loose : loose_) {
    if (IsOf(loose.row, BodyKind::kRecord) || IsOf(loose.row, BodyKind::kBlock))
      add(HighWord(loose.row.key), loose.page);
  }
}

// A block is not written anew when records of it are deleted or get rows; the database's row tells.
void Salvage::DropDeleted(CEOID oid, const FoundDatabase& database) {
  if (database.description_lost || !database.head.names_records) return;
  const auto [first, end] = RecordsOf(oid);
  for (auto record = first; record != end;) {
    const bool deleted = record->second.in_block && !database.head.packed.in_block.Has(LowWord(record->first));
    record = deleted ? records_.erase(record) : std::next(record);
  }
}

void Salvage::JudgeDatabase(CEOID oid, FoundDatabase& database) {
  DropDeleted(oid, database);
  database.complete = AgreesWithDescription(oid, database);
  if (!database.complete) TakeLooseRowsOf(oid, database);
  DropDeleted(oid, database);
  const bool columns_fit = ApplyColumns(oid, database);
  const bool no_others = CheckNoOtherColumns(oid, database);
  CountLost(oid, database);
  database.complete = AgreesWithDescription(oid, database) && columns_fit && no_others && database.loose == 0 &&
                      !database.description_loose;
}

bool Salvage::AgreesWithDescription(CEOID oid, const FoundDatabase& database) {
  if (database.description_lost) return false;
  uint64_t count = 0;
  uint64_t bytes = 0;
  const auto [first, end] = RecordsOf(oid);
  for (auto record = first; record != end; ++record) {
    ++count;
    bytes += record->second.record->counted_bytes();
  }
  const Description& description = database.head.description;
  return count == description.record_count && bytes == description.record_bytes;
}

void Salvage::TakeLooseRowsOf(CEOID oid, FoundDatabase& database) {
  for (const LooseRow& loose : loose_) {
    const bool is_record = IsOf(loose.row, BodyKind::kRecord);
    const bool is_packed = IsOf(loose.row, BodyKind::kPacked) || IsOf(loose.row, BodyKind::kBlock);
    if (HighWord(loose.row.key) != oid || (!is_record && !is_packed)) continue;
    if (Take(loose.row, loose.page, true) != Taken::kTaken || !is_record) continue;
    const FoundRecord& record = records_[loose.row.key];
    Add(XKRFindingLoose, oid, LowWord(loose.row.key), loose.page,
        "the record lies outside its table, as of flush " + Number(record.flush));
  }
  const auto [first, end] = RecordsOf(oid);
  database.loose =
      static_cast<uint32_t>(std::count_if(first, end, [](const auto& entry) { return entry.second.loose; }));
}

// By the rules of packed columns. A column that is lost leaves the values that the records' rows hold, which are older.
bool Salvage::ApplyColumns(CEOID oid, FoundDatabase& database) {
  bool all_fit = true;
  if (database.description_lost) {
    const auto end = columns_.upper_bound(RowKey(oid, 0xFFFFFFFF));
    for (auto column = columns_.lower_bound(RowKey(oid, 0)); column != end; ++column) {
      if (!ApplyColumn(oid, column->second)) all_fit = false;
    }
    return all_fit;
  }
  for (const PackedReference& reference : database.head.packed.columns) {
    const auto found = columns_.find(RowKey(oid, reference.property));
    if (found != columns_.end() && found->second.flush == reference.flush) {
      if (!ApplyColumn(oid, found->second)) all_fit = false;
      continue;
    }
    all_fit = false;
    Add(XKRFindingColumn, oid, 0, 0,
        "the packed column of property " + Hexadecimal(reference.property) + " is lost; its records hold older values");
  }
  return all_fit;
}

bool Salvage::ApplyColumn(CEOID oid, const PackedColumn& column) {
  bool fits = true;
  const auto [first, end] = RecordsOf(oid);
  for (auto entry = first; entry != end; ++entry) {
    if (entry->second.flush > column.flush) continue;
    Record& record = *entry->second.record;
    const size_t index = record.IndexOf(column.property);
    const auto pair = std::lower_bound(column.values.begin(), column.values.end(), record.oid(),
                                       [](const auto& one, CEOID wanted) { return one.first < wanted; });
    const bool in_column = pair != column.values.end() && pair->first == record.oid();
    if (in_column && index != Record::kNowhere) {
      record.SetNumberAt(index, pair->second);
    } else if (in_column != (index != Record::kNowhere)) {
      fits = false;
      Add(XKRFindingColumn, oid, record.oid(), entry->second.page,
          "the record does not fit the packed column of property " + Hexadecimal(column.property));
    }
  }
  return fits;
}

bool Salvage::CheckNoOtherColumns(CEOID oid, const FoundDatabase& database) {
  if (database.description_lost) return true;
  bool none = true;
  const auto end = columns_.upper_bound(RowKey(oid, 0xFFFFFFFF));
  for (auto column = columns_.lower_bound(RowKey(oid, 0)); column != end; ++column) {
    const auto& packed = database.head.packed.columns;
    const CEPROPID property = column->second.property;
    if (std::any_of(packed.begin(), packed.end(), [property](const auto& one) { return one.property == property; }))
      continue;
    none = false;
    Add(XKRFindingColumn, oid, 0, 0, "there is a packed column of property " + Hexadecimal(property) + " too many");
  }
  return none;
}

void Salvage::CountLost(CEOID oid, FoundDatabase& database) {
  const auto [first, end] = RecordsOf(oid);
  const auto found = static_cast<uint64_t>(std::distance(first, end));
  if (database.description_lost) {
    database.lost = damaged_rows_.contains(oid) ? damaged_rows_[oid] : 0;
    return;
  }
  const uint64_t counted = database.head.description.record_count;
  database.lost = static_cast<uint32_t>(counted - std::min(counted, found));
  if (database.lost != 0) {
    Add(XKRFindingMissing, oid, 0, 0, Number(database.lost) + " of " + Number(counted) + " records are missing");
  } else if (found > counted) {
    Add(XKRFindingSurplus, oid, 0, 0, Number(found - counted) + " records more than the database counts");
  } else if (!AgreesWithDescription(oid, database)) {
    Add(XKRFindingMissing, oid, 0, 0, "the records have not the size that the database counts");
  }
}

void Salvage::CheckIdentifiers() {
  if (volume_ && largest_identifier_ >= volume_->next_identifier) {
    Add(XKRFindingVolumeRow, 0, 0, 0, "identifier " + Number(largest_identifier_) + " was never given out");
  }
}

}  // namespace objectstore
