// See column_body.h.
#include "column_body.h"

#include <algorithm>
#include <limits>

#include "number_table.h"

namespace objectstore {

namespace {

// So large a row is surely one that a file takes; what could be larger is not made a block.
constexpr size_t kLargestBlockBytes = 1 << 20;

// More numbers of four bytes do not fit into a record.
constexpr size_t kMostProperties = CEDB_MAXRECORDSIZE / (2 * sizeof(uint32_t));

// While one record is read, the memory of the one so many behind it is fetched.
constexpr size_t kAhead = 32;

bool HoldsNumbersOnly(const Record& record) {
  for (size_t i = 0; i < record.property_count(); ++i) {
    if (FixedWidth(record.IdAt(i)) != sizeof(uint32_t)) return false;
  }
  return record.property_count() != 0;
}

// The most bytes that a block of records could take, with their share of the groups' heads. A table of equal numbers takes
// next to none, so readers hold to it as well: a few bytes must not become a million records.
bool MayBeBlock(size_t records, size_t properties) {
  constexpr size_t kMostHeadBytes = 64;
  constexpr size_t kMostBytesOfNumber = 2 * sizeof(uint32_t);
  const size_t most_bytes =
      kMostHeadBytes + properties * sizeof(CEPROPID) + records * (1 + properties) * kMostBytesOfNumber;
  return records != 0 && most_bytes <= kLargestBlockBytes;
}

uint64_t GetFlush(BodyReader& reader) { return reader.GetCount(std::numeric_limits<uint64_t>::max()); }

// What the layouts before had for each number: its step from the one before.
uint32_t GetStep(BodyReader& reader) {
  return static_cast<uint32_t>(UnZigZag(reader.GetCount(std::numeric_limits<uint32_t>::max())));
}

// And for each identifier.
CEOID GetNextOid(BodyReader& reader, CEOID before) {
  const uint64_t oid = uint64_t{before} + reader.GetCount(std::numeric_limits<CEOID>::max());
  if (oid == before || oid > std::numeric_limits<CEOID>::max()) reader.Reject();
  return static_cast<CEOID>(oid);
}

// An identifier, which must lie behind the one before.
CEOID TakeOid(BodyReader& reader, CEOID oid, CEOID before) {
  if (oid <= before) reader.Reject();
  return oid;
}

void DecodePackedTable(BodyReader& reader, PackedColumn& column) {
  NumberTableReader table(reader, 2);
  CEOID oid = 0;
  while (const size_t rows = table.NextGroup()) {
    for (size_t i = 0; i < rows; ++i) {
      oid = TakeOid(reader, table.At(i, 0), oid);
      column.values.emplace_back(oid, table.At(i, 1));
    }
    if (column.values.size() > CEDB_MAXNUMRECORDS) return reader.Reject();
  }
}

// The layouts before: pair by pair, in the first of them at full length.
void DecodePairs(BodyReader& reader, bool first, PackedColumn& column) {
  const uint64_t count = first ? reader.Get32() : reader.GetCount(CEDB_MAXNUMRECORDS);
  if (count > CEDB_MAXNUMRECORDS) return reader.Reject();
  CEOID oid = 0;
  uint32_t number = 0;
  for (uint64_t i = 0; i < count && reader.ok(); ++i) {
    const CEOID next = first ? reader.Get32() : GetNextOid(reader, oid);
    if (next <= oid) return reader.Reject();
    oid = next;
    number = first ? reader.Get32() : number + GetStep(reader);
    column.values.emplace_back(oid, number);
  }
}

void DecodeBlockTable(BodyReader& reader, RecordBlock& block) {
  const size_t width = block.properties.size();
  NumberTableReader table(reader, 1 + width);
  CEOID oid = 0;
  while (const size_t rows = table.NextGroup()) {
    for (size_t i = 0; i < rows; ++i) {
      oid = TakeOid(reader, table.At(i, 0), oid);
      block.oids.push_back(oid);
      for (size_t j = 0; j < width; ++j) block.numbers.push_back(table.At(i, 1 + j));
    }
    if (!MayBeBlock(block.oids.size(), width)) return reader.Reject();
  }
  if (block.oids.empty()) reader.Reject();
}

void DecodeBlockSteps(BodyReader& reader, RecordBlock& block) {
  const size_t width = block.properties.size();
  const uint64_t count = reader.GetCount(CEDB_MAXNUMRECORDS);
  if (count == 0) return reader.Reject();
  for (uint64_t i = 0; i < count && reader.ok(); ++i) {
    block.oids.push_back(GetNextOid(reader, i == 0 ? 0 : block.oids.back()));
    for (uint64_t j = 0; j < width && reader.ok(); ++j) {
      const uint32_t before = i == 0 ? 0 : block.numbers[block.numbers.size() - width];
      block.numbers.push_back(before + GetStep(reader));
    }
  }
}

}  // namespace

std::span<const uint8_t> EncodePacked(std::span<const RecordRef> records, uint64_t flush, int64_t key,
                                      BodyWriter& writer) {
  const CEPROPID property = LowWord(key);
  writer.Start(BodyKind::kPacked, Layout::kRuns);
  writer.PutCount(flush);
  NumberTableWriter table(writer, 2);
  size_t index = 0;
  for (size_t i = 0; i < records.size(); ++i) {
    records[std::min(i + kAhead, records.size() - 1)]->FetchNumberAt(index);
    const Record& record = *records[i];
    if (!record.HasAt(index, property)) [[unlikely]] {
      const size_t found = record.IndexOf(property);
      if (found == Record::kNowhere) continue;
      index = found;  // where it is in the next one, most likely
    }
    uint32_t* const row = table.NextRow();
    row[0] = record.oid();
    row[kColumnStep] = record.NumberAt(index);
    table.Take();
  }
  table.End();
  return writer.Seal(key);
}

Status DecodePacked(std::span<const uint8_t> body, int64_t key, PackedColumn& column) {
  BodyReader reader(body, BodyKind::kPacked, key, Layout::kRuns);
  const bool first = reader.layout() == Layout::kFirst;
  column.property = LowWord(key);
  column.flush = first ? reader.Get64() : GetFlush(reader);
  if (FixedWidth(column.property) != sizeof(uint32_t)) reader.Reject();
  if (reader.layout() == Layout::kRuns) {
    DecodePackedTable(reader, column);
  } else {
    DecodePairs(reader, first, column);
  }
  return reader.Finished();
}

RecordRef RecordBlock::RecordAt(size_t index, std::vector<Value>& values, RecordArena* arena) const {
  values.clear();
  for (size_t i = 0; i < properties.size(); ++i) {
    values.push_back(NumberValue(properties[i], numbers[index * properties.size() + i]));
  }
  return Record::Create(oids[index], values, arena);
}

std::span<const uint8_t> EncodeBlock(std::span<const RecordRef> records, uint64_t flush, int64_t key,
                                     BodyWriter& writer) {
  if (records.empty() || !HoldsNumbersOnly(*records.front())) return {};
  const Record& first = *records.front();
  const size_t width = first.property_count();
  if (!MayBeBlock(records.size(), width)) return {};
  writer.Start(BodyKind::kBlock, Layout::kRuns);
  writer.PutCount(flush);
  writer.PutCount(width);
  for (size_t i = 0; i < width; ++i) writer.Put32(first.IdAt(i));
  NumberTableWriter table(writer, 1 + width);
  for (size_t i = 0; i < records.size(); ++i) {
    records[std::min(i + kAhead, records.size() - 1)]->FetchNumberAt(width - 1);
    uint32_t* const row = table.NextRow();
    row[0] = records[i]->oid();
    if (!records[i]->NumbersLike(first, row + kColumnStep, kColumnStep)) return {};
    table.Take();
  }
  table.End();
  return writer.Seal(key);
}

Status DecodeBlock(std::span<const uint8_t> body, int64_t key, RecordBlock& block) {
  BodyReader reader(body, BodyKind::kBlock, key, Layout::kRuns);
  if (reader.layout() == Layout::kFirst || LowWord(key) != kBlockRow) reader.Reject();
  block.flush = GetFlush(reader);
  const uint64_t width = reader.GetCount(kMostProperties);
  if (width == 0) reader.Reject();
  for (uint64_t i = 0; i < width && reader.ok(); ++i) {
    block.properties.push_back(reader.Get32());
    if (FixedWidth(block.properties.back()) != sizeof(uint32_t)) reader.Reject();
  }
  if (reader.layout() == Layout::kRuns) {
    DecodeBlockTable(reader, block);
  } else {
    DecodeBlockSteps(reader, block);
  }
  return reader.Finished();
}

}  // namespace objectstore
