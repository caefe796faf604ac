// See write_record.h.
#include "write_record.h"

#include <algorithm>

#include "volume.h"

namespace objectstore {

namespace {

// More properties than this no record can have, by its size.
constexpr size_t kMostProperties = CEDB_MAXRECORDSIZE / kPropertyOverheadBytes;

// The highest identifier among values, or one above it: what is higher is not among them.
CEPROPID HighestOf(std::span<const Value> values) {
  CEPROPID highest = 0;
  for (const Value& value : values) highest = std::max(highest, value.id);
  return highest;
}

// A property keeps its place when it is written again; one that is deleted and written anew goes to the end.
Status MergeOne(const CEPROPVAL& given, std::vector<Value>& values, CEPROPID& highest) {
  if (!IsKnownType(given.propid)) return Status::kInvalidParameter;
  if ((given.wFlags & CEDB_PROPNOTFOUND) != 0) return Status::kOk;  // the gap in a block that was read: no value
  const auto place =
      given.propid > highest
          ? values.end()
          : std::find_if(values.begin(), values.end(), [&](const Value& value) { return value.id == given.propid; });
  if ((given.wFlags & CEDB_PROPDELETE) != 0) {
    if (place != values.end()) values.erase(place);
    return Status::kOk;
  }
  if (place != values.end()) return Measure(given, *place);
  if (values.size() == kMostProperties) return Status::kInvalidParameter;
  highest = std::max(highest, given.propid);
  return Measure(given, values.emplace_back());  // the list is of no use any more when this fails
}

// Whether the write is no more than a new value for a number that can be set where it stands.
bool SetsOneNumber(const Database& database, const Record& record, std::span<const CEPROPVAL> values, size_t& index) {
  if (values.size() != 1 || values[0].wFlags != 0 || FixedWidth(values[0].propid) != sizeof(uint32_t)) return false;
  index = record.IndexOf(values[0].propid);
  return index != Record::kNowhere && !database.SortsOn(values[0].propid);
}

}  // namespace

Status WriteRecord(OpenDatabase& handle, CEOID& oid, std::span<const CEPROPVAL> values) {
  if (values.empty() || values.data() == nullptr) return Status::kInvalidParameter;
  STORE_TRY(handle.Complete());
  Database& database = handle.database();
  std::vector<Value>& merged = handle.EmptyValues();
  if (oid != 0) {
    Record* before = database.Find(oid);
    if (before == nullptr) return Status::kInvalidParameter;
    size_t index = 0;
    if (SetsOneNumber(database, *before, values, index)) {
      database.SetNumber(*before, index, values[0].val.ulVal);
      return Status::kOk;
    }
    AppendValues(*before, merged);
  }
  CEPROPID highest = HighestOf(merged);
  for (const CEPROPVAL& value : values) STORE_TRY(MergeOne(value, merged, highest));
  const uint64_t counted_bytes = CountedBytes(merged);
  if (counted_bytes > CEDB_MAXRECORDSIZE) return Status::kInvalidParameter;
  CEOID identifier = oid;
  if (identifier == 0) STORE_TRY(handle.volume().NextIdentifier(identifier));
  RecordArena* const arena = oid == 0 ? database.ArenaForNew() : nullptr;
  STORE_TRY(database.PutRecord(Record::Create(identifier, merged, counted_bytes, arena)));
  if (oid == 0) handle.volume().UseIdentifier();
  oid = identifier;
  return Status::kOk;
}

Status DeleteRecord(OpenDatabase& handle, CEOID oid) {
  STORE_TRY(handle.Complete());
  Database& database = handle.database();
  const RecordRef record(database.Find(oid));
  if (!record) return Status::kInvalidParameter;
  database.ReserveForRemoval();
  database.RemoveRecord(oid);
  for (OpenDatabase* other : database.handles()) other->RecordRemoved(record, other == &handle);
  return Status::kOk;
}

}  // namespace objectstore
