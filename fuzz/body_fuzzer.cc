// The bodies of a volume's rows. Every input is decoded under a checksum that is right, so that the rules behind it
// are reached, and once as it is.
//
// Input: which body, which key, then the fields behind the kind.
#include <cstring>
#include <vector>

#include "column_body.h"
#include "database_body.h"
#include "record_body.h"
#include "requirement.h"

namespace {

using objectstore::BodyKind;
using objectstore::BodyWriter;
using objectstore::Layout;
using objectstore::Status;
using Bytes = std::vector<uint8_t>;

Bytes Copy(std::span<const uint8_t> bytes) { return Bytes(bytes.begin(), bytes.end()); }

constexpr int64_t kKeys[] = {1, 0x1000000011, 0x1000010013, -1, INT64_MIN, 0x100020012, INT64_MAX, 0};

// A body of other bytes, decoded between two looks at the one in question: decoders use their memory again.
const Bytes& OtherRecord() {
  static const Bytes kBody = [] {
    BodyWriter writer;
    writer.Start(BodyKind::kRecord);
    writer.Put64(3);
    writer.Put32(2);
    writer.Put32(0x1001F);
    writer.Put32(3);
    writer.PutText(u"abc", 3);
    writer.Put32(0x20041);
    writer.Put32(1);
    writer.Put8(9);
    return Copy(writer.Seal(5));
  }();
  return kBody;
}

void CheckRecord(const objectstore::Record& record, int64_t key) {
  FUZZ_REQUIRE(record.oid() == objectstore::LowWord(key), "a record is called by its row");
  FUZZ_REQUIRE(record.counted_bytes() <= CEDB_MAXRECORDSIZE, "a record is not larger than a record may be");
  std::vector<objectstore::Value> values;
  objectstore::AppendValues(record, values);
  FUZZ_REQUIRE(objectstore::CountedBytes(values) == record.counted_bytes(), "its size is the sum");
  const objectstore::RecordRef copy = objectstore::Record::Create(record.oid(), values);
  FUZZ_REQUIRE(objectstore::ChangeBetween(record, *copy) == objectstore::kUnchanged, "its values make the same record");
  for (size_t i = 0; i < record.property_count(); ++i) {
    FUZZ_REQUIRE(record.Has(record.IdAt(i)), "every property is found");
    const objectstore::Value& value = values[i];
    if (!objectstore::IsText(value.id)) continue;
    FUZZ_REQUIRE(!objectstore::HoldsZero(value.bytes, value.length, value.narrow), "a text has no zero");
    FUZZ_REQUIRE(value.narrow || !objectstore::CouldBeNarrow(value.bytes, value.length),
                 "a text is narrow if it can be");
  }
}

Status DecodeRecord(const Bytes& body, int64_t key, Bytes& again) {
  static objectstore::RecordDecoder decoder;
  objectstore::RecordRef record;
  objectstore::RecordRef other;
  uint64_t flush = 0;
  uint64_t other_flush = 0;
  const Status status = decoder.Decode(body, key, record, flush);
  FUZZ_REQUIRE(decoder.Decode(OtherRecord(), 5, other, other_flush) == Status::kOk, "the next body is decoded");
  FUZZ_REQUIRE(other_flush == 3 && other->property_count() == 2, "as if nothing had been before");
  if (status != Status::kOk) return status;
  CheckRecord(*record, key);
  BodyWriter writer;
  again = Copy(objectstore::EncodeRecord(*record, key, flush, writer));
  return status;
}

Status DecodeDatabase(const Bytes& body, int64_t key, Bytes& again) {
  objectstore::DatabaseHead head;
  const auto oid = static_cast<CEOID>(key);
  const Status status = objectstore::DecodeDatabaseHead(body, oid, head);
  if (status != Status::kOk) return status;
  FUZZ_REQUIRE(head.description.name.IsUsable(), "a database has a name");
  CEDBASEINFO info;
  objectstore::FillInfo(head.description, info);
  info.dwFlags |= CEDB_VALIDCREATE;
  objectstore::Description description;
  FUZZ_REQUIRE(objectstore::ApplyInfo(info, description) == Status::kOk, "what a client is told, a client may set");
  BodyWriter writer;
  again = Copy(objectstore::EncodeDatabaseHead(head, head.packed, oid, writer));
  return status;
}

Status DecodeVolume(const Bytes& body, Bytes& again) {
  objectstore::VolumeHead head;
  const Status status = objectstore::DecodeVolumeHead(body, head);
  if (status != Status::kOk) return status;
  FUZZ_REQUIRE(head.next_identifier != 0, "identifiers begin at 1");
  BodyWriter writer;
  again = Copy(objectstore::EncodeVolumeHead(head, writer));
  return status;
}

Status DecodePacked(const Bytes& body, int64_t key, Bytes& again) {
  objectstore::PackedColumn column;
  const Status status = objectstore::DecodePacked(body, key, column);
  if (status != Status::kOk) return status;
  for (size_t i = 1; i < column.values.size(); ++i) {
    FUZZ_REQUIRE(column.values[i - 1].first < column.values[i].first, "pairs are in order");
  }
  std::vector<objectstore::RecordRef> records;
  for (const auto& [oid, number] : column.values) {
    const objectstore::Value value = objectstore::NumberValue(column.property, number);
    records.push_back(objectstore::Record::Create(oid, {&value, 1}));
  }
  BodyWriter writer;
  again = Copy(objectstore::EncodePacked(records, column.flush, key, writer));
  return status;
}

Status DecodeBlock(const Bytes& body, int64_t key, Bytes& again) {
  objectstore::RecordBlock block;
  const Status status = objectstore::DecodeBlock(body, key, block);
  if (status != Status::kOk) return status;
  std::vector<objectstore::RecordRef> records;
  std::vector<objectstore::Value> values;
  for (size_t i = 0; i < block.oids.size(); ++i) records.push_back(block.RecordAt(i, values, nullptr));
  BodyWriter writer;
  again = Copy(objectstore::EncodeBlock(records, block.flush, key, writer));
  return status;
}

Status Decode(BodyKind kind, const Bytes& body, int64_t key, Bytes& again) {
  switch (kind) {
    case BodyKind::kRecord:
      return DecodeRecord(body, key, again);
    case BodyKind::kDatabase:
      return DecodeDatabase(body, key, again);
    case BodyKind::kVolume:
      return DecodeVolume(body, again);
    case BodyKind::kPacked:
      return DecodePacked(body, key, again);
    case BodyKind::kBlock:
      return DecodeBlock(body, key, again);
  }
  return Status::kInvalidParameter;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  constexpr BodyKind kKinds[] = {BodyKind::kRecord, BodyKind::kDatabase, BodyKind::kVolume, BodyKind::kPacked};
  const BodyKind kind = (data[0] & 8) != 0 ? BodyKind::kBlock : kKinds[data[0] % 4];
  const Layout layout = (data[0] & 4) == 0 ? Layout::kFirst : (data[0] & 16) == 0 ? Layout::kCompact : Layout::kRuns;
  int64_t key = kKeys[data[1] % std::size(kKeys)];
  if (kind == BodyKind::kDatabase) key &= 0xFFFFFFFF;
  if (kind == BodyKind::kVolume) key = objectstore::kVolumeRowKey;
  if (kind == BodyKind::kBlock) key &= ~int64_t{0xFFFFFFFF};
  BodyWriter writer;
  writer.Start(kind, layout);
  writer.PutBytes(data + 2, size - 2);
  const Bytes body = Copy(writer.Seal(key));
  Bytes again;
  const Status status = Decode(kind, body, key, again);
  FUZZ_REQUIRE(status == Status::kOk || status == Status::kCorrupt, "a body is decoded or corrupt");
  if (status != Status::kOk) return 0;
  const Layout newest = kind == BodyKind::kVolume     ? Layout::kFirst
                        : kind == BodyKind::kDatabase ? Layout::kCompact
                                                      : Layout::kRuns;
  FUZZ_REQUIRE(layout <= newest, "a layout that the kind does not have is corrupt");
  // A body of an older layout is written as one of the newest, and that is read as the same; but a database's of the
  // first does not name its records, and is not written before it has been loaded.
  if (layout != newest && kind != BodyKind::kDatabase) {
    Bytes third;
    FUZZ_REQUIRE(Decode(kind, again, key, third) == Status::kOk, "what was written is read");
    FUZZ_REQUIRE(third == again, "and written as the same bytes");
  }
  FUZZ_REQUIRE(layout != newest || again == body, "a decoded body is written as the same bytes");
  Bytes damaged = body;
  damaged[data[1] % damaged.size()] ^= 1;
  FUZZ_REQUIRE(Decode(kind, damaged, key, again) == Status::kCorrupt, "under another checksum it is corrupt");
  return 0;
}
