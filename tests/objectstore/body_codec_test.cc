// The bodies of a volume file: golden bytes typed by hand, and what becomes of bytes that are not what they should be.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "column_body.h"
#include "database_body.h"
#include "record_body.h"

namespace objectstore {
namespace {

using Bytes = std::vector<uint8_t>;

// "0A FF" as two bytes.
Bytes FromHex(const std::string& text) {
  Bytes bytes;
  for (size_t i = 0; i + 1 < text.size(); i += 3) {
    bytes.push_back(static_cast<uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

Bytes Copy(std::span<const uint8_t> bytes) { return Bytes(bytes.begin(), bytes.end()); }

constexpr CEOID kDatabase = 0x10;
constexpr int64_t kRecordKey = 0x1000000011;
constexpr int64_t kPackedKey = 0x1000010013;

const Bytes kVolumeBytes = FromHex(
    "83 E9 BC 62 58 14 7A 9C 56 "
    "12 00 00 00 "              // next identifier
    "07 00 00 00 00 00 00 00 "  // flush
    "02 00 00 00");             // databases

const Bytes kFirstDatabaseBytes = FromHex(
    "1C 04 B1 C9 E4 9F 94 9E 44 "
    "03 44 00 62 00 E9 00 "                        // name
    "04 03 02 01 "                                 // type
    "00 00 01 00 "                                 // flags
    "00 80 3E D5 DE B1 9D 01 "                     // time
    "02 00 00 00 "                                 // records
    "44 00 00 00 00 00 00 00 "                     // size
    "02 1F 00 02 00 03 00 00 00 "                  // sort orders
    "13 00 01 00 00 00 00 00 "                     //
    "01 00 13 00 01 00 05 00 00 00 00 00 00 00");  // packed columns

const Bytes kFirstRecordBytes = FromHex(
    "6D F2 D1 CC DB EA B0 84 52 "
    "03 00 00 00 00 00 00 00 "              // flush
    "07 00 00 00 "                          // properties
    "13 00 01 00 04 03 02 01 "              // 32 bits, unsigned
    "1F 00 02 00 02 00 00 00 41 00 E9 00 "  // text
    "41 00 03 00 02 00 00 00 DE AD "        // blob
    "02 00 04 00 FE FF "                    // 16 bits, signed
    "05 00 05 00 00 00 00 00 00 00 F8 3F "  // floating point
    "40 00 06 00 44 33 22 11 88 77 66 55 "  // time
    "0B 00 07 00 01 00 00 00");             // boolean

const Bytes kFirstPackedBytes = FromHex(
    "6A F8 C8 89 08 F2 A6 9F 50 "
    "05 00 00 00 00 00 00 00 "   // flush
    "02 00 00 00 "               // pairs
    "11 00 00 00 0A 00 00 00 "   //
    "12 00 00 00 FF FF FF FF");  //

const Bytes kDatabaseBytes = FromHex(
    "3B 5F C3 44 02 CE 1D C7 64 "
    "03 44 00 62 00 E9 00 "                       // name
    "04 03 02 01 "                                // type
    "00 00 01 00 "                                // flags
    "00 80 3E D5 DE B1 9D 01 "                    // time
    "02 00 00 00 "                                // records
    "44 00 00 00 00 00 00 00 "                    // size
    "02 1F 00 02 00 03 00 00 00 "                 // sort orders
    "13 00 01 00 00 00 00 00 "                    //
    "01 00 13 00 01 00 05 00 00 00 00 00 00 00 "  // packed columns
    "06 01 11 01 "                                // flush of the block; runs: the record 0x11
    "00 01 "                                      // the second order goes by identifier
    "02 11 01 80 01 01");                         // runs: one record from 0x11 on, one from 0x92 on

const Bytes kCompactRecordBytes = FromHex(
    "B9 55 02 8B 0F 5D C7 4C 72 "
    "83 01 "                       // flush
    "0B "                          // properties
    "03 01 84 86 88 08 "           // 32 bits, unsigned, number 1
    "17 02 41 E9 "                 // narrow text, number 2
    "19 02 DE AD "                 // blob
    "10 03 "                       // 16 bits, signed
    "15 00 00 00 00 00 00 F8 3F "  // floating point
    "16 44 33 22 11 88 77 66 55 "  // time
    "14 01 "                       // boolean
    "18 02 41 00 AC 20 "           // wide text
    "1A 0F "                       // blob of zeros
    "12 FF FF FF FF 0F "           // 32 bits, signed
    "11 FF FF 03");                // 16 bits, unsigned

const Bytes kRecordBytes = FromHex(
    "0A AB 1E A4 0F A7 71 52 F2 "
    "83 01 "                       // flush
    "0E "                          // properties
    "03 01 84 86 88 08 "           // 32 bits, unsigned, number 1
    "17 02 41 E9 "                 // narrow text, number 2
    "19 02 DE AD "                 // blob
    "10 03 "                       // 16 bits, signed
    "15 00 00 00 00 00 00 F8 3F "  // floating point
    "16 44 33 22 11 88 77 66 55 "  // time
    "14 01 "                       // boolean
    "18 02 41 00 AC 20 "           // wide text
    "1A 0F "                       // blob of zeros
    "12 FF FF FF FF 0F "           // 32 bits, signed
    "51 FF FF 03 00 05 "           // three of 16 bits, unsigned
    "01 14 07");                   // one more, number 20

const Bytes kCompactPackedBytes = FromHex(
    "DE 84 65 7A 58 E5 A7 AA 70 "
    "05 "      // flush
    "02 "      // pairs
    "11 14 "   // 0x11: 10
    "01 15");  // 0x12: 11 less

const Bytes kPackedBytes = FromHex(
    "9F 20 B6 6C F0 F6 BF AA F0 "
    "05 "         // flush
    "02 "         // two rows
    "01 22 02 "   // of one bit, from 0x11: 0x11 and 0x12
    "04 01 0B");  // of four bits, from -1: 10 and -1

constexpr int64_t kBlockKey = 0x1000000000;

const Bytes kCompactBlockBytes = FromHex(
    "8E 8E F1 D7 2D EE E5 E5 62 "
    "06 "                       // flush
    "02 "                       // properties
    "13 00 00 00 03 00 01 00 "  //
    "02 "                       // records
    "11 00 02 "                 // 0x11: 0, 1
    "01 02 05");                // 0x12: 1, 2 less

const Bytes kBlockBytes = FromHex(
    "8B C1 B7 3F A2 3E 6B 41 E2 "
    "06 "                       // flush
    "02 "                       // properties
    "13 00 00 00 03 00 01 00 "  //
    "02 "                       // two rows
    "01 22 02 "                 // 0x11 and 0x12
    "01 00 02 "                 // of one bit, from 0: 0 and 1
    "02 03 03");                // of two bits, from -2: 1 and -2

Status DecodeGoldenVolume(const Bytes& bytes, int64_t) {
  VolumeHead head;
  return DecodeVolumeHead(bytes, head);
}
Status DecodeGoldenDatabase(const Bytes& bytes, int64_t key) {
  DatabaseHead head;
  return DecodeDatabaseHead(bytes, static_cast<CEOID>(key), head);
}
Status DecodeGoldenRecord(const Bytes& bytes, int64_t key) {
  RecordDecoder decoder;
  RecordRef record;
  uint64_t flush = 0;
  return decoder.Decode(bytes, key, record, flush);
}
Status DecodeGoldenPacked(const Bytes& bytes, int64_t key) {
  PackedColumn column;
  return DecodePacked(bytes, key, column);
}

Status DecodeGoldenBlock(const Bytes& bytes, int64_t key) {
  RecordBlock block;
  return DecodeBlock(bytes, key, block);
}

const struct Golden {
  const char* why;
  const Bytes& bytes;
  BodyKind kind;
  int64_t key;
  Status (*decode)(const Bytes&, int64_t);
} kGolden[] = {
    {"volume", kVolumeBytes, BodyKind::kVolume, kVolumeRowKey, DecodeGoldenVolume},
    {"first database", kFirstDatabaseBytes, BodyKind::kDatabase, kDatabase, DecodeGoldenDatabase},
    {"first record", kFirstRecordBytes, BodyKind::kRecord, kRecordKey, DecodeGoldenRecord},
    {"first packed column", kFirstPackedBytes, BodyKind::kPacked, kPackedKey, DecodeGoldenPacked},
    {"database", kDatabaseBytes, BodyKind::kDatabase, kDatabase, DecodeGoldenDatabase},
    {"record without runs", kCompactRecordBytes, BodyKind::kRecord, kRecordKey, DecodeGoldenRecord},
    {"packed column of pairs", kCompactPackedBytes, BodyKind::kPacked, kPackedKey, DecodeGoldenPacked},
    {"block of steps", kCompactBlockBytes, BodyKind::kBlock, kBlockKey, DecodeGoldenBlock},
    {"record", kRecordBytes, BodyKind::kRecord, kRecordKey, DecodeGoldenRecord},
    {"packed column", kPackedBytes, BodyKind::kPacked, kPackedKey, DecodeGoldenPacked},
    {"block of records", kBlockBytes, BodyKind::kBlock, kBlockKey, DecodeGoldenBlock},
};

TEST(BodyCodec, AVolumesBodyHasTheseBytes) {
  VolumeHead head;
  ASSERT_EQ(DecodeVolumeHead(kVolumeBytes, head), Status::kOk);
  EXPECT_EQ(head.next_identifier, 0x12u);
  EXPECT_EQ(head.flush, 7u);
  EXPECT_EQ(head.database_count, 2u);
  BodyWriter writer;
  EXPECT_EQ(Copy(EncodeVolumeHead(head, writer)), kVolumeBytes);
}

void ExpectGoldenDescription(const DatabaseHead& head) {
  EXPECT_EQ(std::u16string(head.description.name.terminated()), u"Db\u00E9");
  EXPECT_EQ(head.description.type, 0x01020304u);
  EXPECT_EQ(head.description.flags, 0x00010000u);
  EXPECT_EQ(head.description.modified, 0x019DB1DED53E8000u);
  EXPECT_EQ(head.description.record_count, 2u);
  EXPECT_EQ(head.description.record_bytes, 68u);
  ASSERT_EQ(head.description.sort_specs.list().size(), 2u);
  EXPECT_EQ(head.description.sort_specs.list()[0].propid, 0x0002001Fu);
  EXPECT_EQ(head.description.sort_specs.list()[0].dwFlags, 3u);
  ASSERT_EQ(head.packed.columns.size(), 1u);
  EXPECT_EQ(head.packed.columns[0].property, 0x00010013u);
  EXPECT_EQ(head.packed.columns[0].flush, 5u);
}

TEST(BodyCodec, ADatabasesBodyHasTheseBytes) {
  DatabaseHead head;
  ASSERT_EQ(DecodeDatabaseHead(kDatabaseBytes, kDatabase, head), Status::kOk);
  ExpectGoldenDescription(head);
  EXPECT_EQ(head.packed.block_flush, 6u);
  EXPECT_EQ(head.packed.in_block.count(), 1u);
  EXPECT_TRUE(head.packed.in_block.Has(0x11));
  EXPECT_TRUE(head.names_records);
  EXPECT_FALSE(head.by_identifier[0]);
  EXPECT_TRUE(head.by_identifier[1]);
  ASSERT_EQ(head.identifiers.runs().size(), 2u);
  EXPECT_EQ(head.identifiers.runs()[0].first, 0x11u);
  EXPECT_EQ(head.identifiers.runs()[1].first, 0x92u);
  EXPECT_EQ(head.identifiers.count(), 2u);
  BodyWriter writer;
  EXPECT_EQ(Copy(EncodeDatabaseHead(head, head.packed, kDatabase, writer)), kDatabaseBytes);
}

TEST(BodyCodec, ADatabasesBodyOfTheFirstLayoutDoesNotNameItsRecords) {
  DatabaseHead head;
  ASSERT_EQ(DecodeDatabaseHead(kFirstDatabaseBytes, kDatabase, head), Status::kOk);
  ExpectGoldenDescription(head);
  EXPECT_FALSE(head.names_records);
}

RecordRef DecodedRecord(const Bytes& bytes, uint64_t& flush) {
  RecordDecoder decoder;
  RecordRef record;
  EXPECT_EQ(decoder.Decode(bytes, kRecordKey, record, flush), Status::kOk);
  return record;
}

std::u16string TextOf(const Value& value) {
  std::u16string text(value.length, u' ');
  CopyUnits(value.bytes, value.length, value.narrow, text.data());
  return text;
}

// The seven properties that all golden records begin with.
void ExpectGoldenProperties(const Record& record) {
  EXPECT_EQ(record.oid(), 0x11u);
  ASSERT_GE(record.property_count(), 7u);
  EXPECT_EQ(record.IdAt(0), 0x00010013u);
  EXPECT_EQ(record.NumberAt(0), 0x01020304u);
  EXPECT_EQ(record.IdAt(1), 0x0002001Fu);
  EXPECT_EQ(TextOf(record.At(1)), u"A\u00E9");
  EXPECT_EQ(record.IdAt(2), 0x00030041u);
  ASSERT_EQ(record.At(2).length, 2u);
  EXPECT_EQ(record.At(2).bytes[1], 0xAD);
  EXPECT_EQ(record.IdAt(3), 0x00040002u);
  EXPECT_EQ(record.At(3).number, 0xFFFEu);
  EXPECT_EQ(record.At(4).number, std::bit_cast<uint64_t>(1.5));
  EXPECT_EQ(record.At(5).number, 0x5566778811223344u);
  EXPECT_EQ(record.At(6).number, 1u);
}

// Those that the records of the layouts after the first have beyond these.
void ExpectFurtherProperties(const Record& record) {
  ASSERT_GE(record.property_count(), 11u);
  EXPECT_EQ(TextOf(record.At(7)), u"A\u20AC");
  ASSERT_EQ(record.At(8).length, 15u);
  EXPECT_EQ(record.At(8).bytes[14], 0);
  EXPECT_EQ(record.NumberAt(9), 0x80000000u);
  EXPECT_EQ(record.IdAt(10), 0x000B0012u);
  EXPECT_EQ(record.At(10).number, 0xFFFFu);
}

constexpr uint64_t kBytesOfElevenProperties = 20u + 11 * 4 + 4 + 6 + 2 + 2 + 8 + 8 + 4 + 6 + 15 + 4 + 2;

TEST(BodyCodec, ARecordsBodyHasTheseBytes) {
  uint64_t flush = 0;
  const RecordRef record = DecodedRecord(kRecordBytes, flush);
  ASSERT_TRUE(record);
  EXPECT_EQ(flush, 0x83u);
  ASSERT_EQ(record->property_count(), 14u);
  ExpectGoldenProperties(*record);
  ExpectFurtherProperties(*record);
  EXPECT_EQ(record->IdAt(11), 0x000C0012u);
  EXPECT_EQ(record->At(11).number, 0u);
  EXPECT_EQ(record->IdAt(12), 0x000D0012u);
  EXPECT_EQ(record->At(12).number, 5u);
  EXPECT_EQ(record->IdAt(13), 0x00140012u);
  EXPECT_EQ(record->At(13).number, 7u);
  EXPECT_EQ(record->counted_bytes(), kBytesOfElevenProperties + 3 * (4 + 2));
  BodyWriter writer;
  EXPECT_EQ(Copy(EncodeRecord(*record, kRecordKey, 0x83, writer)), kRecordBytes);
}

TEST(BodyCodec, ARecordsBodyWithoutRunsIsTheSameRecord) {
  uint64_t flush = 0;
  const RecordRef record = DecodedRecord(kCompactRecordBytes, flush);
  ASSERT_TRUE(record);
  EXPECT_EQ(flush, 0x83u);
  ASSERT_EQ(record->property_count(), 11u);
  ExpectGoldenProperties(*record);
  ExpectFurtherProperties(*record);
  EXPECT_EQ(record->counted_bytes(), kBytesOfElevenProperties);
}

// One after the other, as long as they can be: the lengths of runs are all there is to see of so many properties.
TEST(BodyCodec, RunsOfPropertiesAreAsLongAsTheyCanBe) {
  const struct {
    size_t count;
    const char* tags;
  } kRows[] = {{1, "14 "}, {2, "34 "}, {7, "D4 "}, {8, "F4 "}, {9, "F4 14 "}, {17, "F4 F4 14 "}};
  for (const auto& row : kRows) {
    std::vector<Value> values;
    for (size_t i = 0; i < row.count; ++i) {
      values.push_back(NumberValue(static_cast<CEPROPID>(i) << 16 | CEVT_BOOL, 9));
    }
    BodyWriter writer;
    const Bytes body = Copy(EncodeRecord(*Record::Create(LowWord(kRecordKey), values), kRecordKey, 1, writer));
    Bytes tags(body.begin() + 11, body.end());
    tags.erase(std::remove(tags.begin(), tags.end(), 9), tags.end());
    EXPECT_EQ(tags, FromHex(row.tags)) << row.count;
    uint64_t flush = 0;
    const RecordRef again = DecodedRecord(body, flush);
    ASSERT_TRUE(again) << row.count;
    EXPECT_EQ(again->property_count(), row.count);
    EXPECT_EQ(again->IdAt(row.count - 1), static_cast<CEPROPID>(row.count - 1) << 16 | CEVT_BOOL) << row.count;
  }
}

TEST(BodyCodec, ARecordsBodyOfTheFirstLayoutIsTheSameRecord) {
  uint64_t flush = 0;
  const RecordRef record = DecodedRecord(kFirstRecordBytes, flush);
  ASSERT_TRUE(record);
  EXPECT_EQ(flush, 3u);
  ASSERT_EQ(record->property_count(), 7u);
  ExpectGoldenProperties(*record);
  EXPECT_TRUE(record->At(1).narrow);
  EXPECT_EQ(record->counted_bytes(), 20u + 7 * 4 + 4 + 6 + 2 + 2 + 8 + 8 + 4);
}

TEST(BodyCodec, APackedColumnsBodyHasTheseBytes) {
  PackedColumn column;
  ASSERT_EQ(DecodePacked(kPackedBytes, kPackedKey, column), Status::kOk);
  EXPECT_EQ(column.property, 0x00010013u);
  EXPECT_EQ(column.flush, 5u);
  const std::vector<std::pair<CEOID, uint32_t>> expected = {{0x11, 0x0A}, {0x12, 0xFFFFFFFF}};
  EXPECT_EQ(column.values, expected);
  // A record without the property, before, between and behind those that have it, has no pair.
  const Value other = NumberValue(0x00020013, 7);
  const Value first[] = {other, NumberValue(0x00010013, 0x0A)};
  const Value second = NumberValue(0x00010013, 0xFFFFFFFF);
  const std::vector<RecordRef> records = {Record::Create(0x10, {&other, 1}), Record::Create(0x11, first),
                                          Record::Create(0x12, {&second, 1}), Record::Create(0x13, {&other, 1})};
  BodyWriter writer;
  EXPECT_EQ(Copy(EncodePacked(records, 5, kPackedKey, writer)), kPackedBytes);
  EXPECT_EQ(Copy(EncodePacked(std::span(records).subspan(1, 2), 5, kPackedKey, writer)), kPackedBytes);
}

TEST(BodyCodec, AColumnOfPairsIsTheSameColumn) {
  PackedColumn column;
  ASSERT_EQ(DecodePacked(kCompactPackedBytes, kPackedKey, column), Status::kOk);
  EXPECT_EQ(column.property, 0x00010013u);
  EXPECT_EQ(column.flush, 5u);
  const std::vector<std::pair<CEOID, uint32_t>> expected = {{0x11, 0x0A}, {0x12, 0xFFFFFFFF}};
  EXPECT_EQ(column.values, expected);
}

TEST(BodyCodec, ABlockOfStepsIsTheSameBlock) {
  RecordBlock block;
  ASSERT_EQ(DecodeBlock(kCompactBlockBytes, kBlockKey, block), Status::kOk);
  EXPECT_EQ(block.flush, 6u);
  EXPECT_EQ(block.properties, (std::vector<CEPROPID>{0x00000013, 0x00010003}));
  EXPECT_EQ(block.oids, (std::vector<CEOID>{0x11, 0x12}));
  EXPECT_EQ(block.numbers, (std::vector<uint32_t>{0, 1, 1, 0xFFFFFFFE}));
}

TEST(BodyCodec, ABlockOfRecordsHasTheseBytes) {
  RecordBlock block;
  ASSERT_EQ(DecodeBlock(kBlockBytes, kBlockKey, block), Status::kOk);
  EXPECT_EQ(block.flush, 6u);
  EXPECT_EQ(block.properties, (std::vector<CEPROPID>{0x00000013, 0x00010003}));
  EXPECT_EQ(block.oids, (std::vector<CEOID>{0x11, 0x12}));
  EXPECT_EQ(block.numbers, (std::vector<uint32_t>{0, 1, 1, 0xFFFFFFFE}));
  std::vector<Value> values;
  const RecordRef second = block.RecordAt(1, values, nullptr);
  EXPECT_EQ(second->oid(), 0x12u);
  EXPECT_EQ(second->IdAt(1), 0x00010003u);
  EXPECT_EQ(second->NumberAt(1), 0xFFFFFFFEu);
  const std::vector<RecordRef> records = {block.RecordAt(0, values, nullptr), second};
  BodyWriter writer;
  EXPECT_EQ(Copy(EncodeBlock(records, 6, kBlockKey, writer)), kBlockBytes);
}

TEST(BodyCodec, ABlockTakesOnlyRecordsOfTheSameNumbers) {
  const struct {
    const char* why;
    std::vector<Value> first;
    std::vector<Value> second;
    bool first_fits;
  } kRows[] = {
      {"no properties", {}, {}, false},
      {"a text", {NumberValue(0x13, 1), NumberValue(0x1001F, 0)}, {}, false},
      {"a number of two bytes", {NumberValue(0x12, 1)}, {}, false},
      {"a number of eight bytes", {NumberValue(0x40, 1)}, {}, false},
      {"a property more", {NumberValue(0x13, 1)}, {NumberValue(0x13, 1), NumberValue(0x10013, 1)}, true},
      {"another property", {NumberValue(0x13, 1)}, {NumberValue(0x10013, 1)}, true},
  };
  for (const auto& row : kRows) {
    const std::vector<RecordRef> records = {Record::Create(7, row.first), Record::Create(8, row.second)};
    BodyWriter writer;
    EXPECT_EQ(!EncodeBlock({records.data(), 1}, 1, kBlockKey, writer).empty(), row.first_fits) << row.why;
    EXPECT_TRUE(EncodeBlock(records, 1, kBlockKey, writer).empty()) << row.why;
  }
}

TEST(BodyCodec, APackedColumnsBodyOfTheFirstLayoutIsTheSameColumn) {
  PackedColumn column;
  ASSERT_EQ(DecodePacked(kFirstPackedBytes, kPackedKey, column), Status::kOk);
  EXPECT_EQ(column.flush, 5u);
  const std::vector<std::pair<CEOID, uint32_t>> expected = {{0x11, 0x0A}, {0x12, 0xFFFFFFFF}};
  EXPECT_EQ(column.values, expected);
}

TEST(BodyCodec, EveryFlippedBitIsCorrupt) {
  for (const Golden& golden : kGolden) {
    for (size_t bit = 0; bit < golden.bytes.size() * 8; ++bit) {
      Bytes bytes = golden.bytes;
      bytes[bit / 8] = static_cast<uint8_t>(bytes[bit / 8] ^ (1u << bit % 8));
      EXPECT_EQ(golden.decode(bytes, golden.key), Status::kCorrupt) << golden.why << ", bit " << bit;
    }
  }
}

TEST(BodyCodec, EveryShorterBodyAndALongerOneAreCorrupt) {
  for (const Golden& golden : kGolden) {
    for (size_t size = 0; size < golden.bytes.size(); ++size) {
      const Bytes bytes(golden.bytes.begin(), golden.bytes.begin() + static_cast<ptrdiff_t>(size));
      EXPECT_EQ(golden.decode(bytes, golden.key), Status::kCorrupt) << golden.why << ", size " << size;
    }
    Bytes longer = golden.bytes;
    longer.push_back(0);
    EXPECT_EQ(golden.decode(longer, golden.key), Status::kCorrupt) << golden.why;
  }
}

TEST(BodyCodec, ABodyInAnothersRowIsCorrupt) {
  for (const Golden& golden : kGolden) {
    if (golden.kind == BodyKind::kVolume) continue;  // there is one row
    EXPECT_EQ(golden.decode(golden.bytes, golden.key + 1), Status::kCorrupt) << golden.why;
  }
}

TEST(BodyCodec, ABodyInALayoutThatItsKindDoesNotHaveIsCorrupt) {
  for (const Golden& golden : kGolden) {
    for (const int layout : {0x20, 0x80, 0xA0}) {
      const uint8_t kind = KindByte(golden.kind, static_cast<Layout>(layout));
      const bool has_compact = golden.kind != BodyKind::kVolume;
      const bool has_runs = has_compact && golden.kind != BodyKind::kDatabase;
      if ((layout == 0x20 && has_compact) || (layout == 0xA0 && has_runs)) continue;
      BodyWriter writer;
      writer.Start(golden.kind, static_cast<Layout>(layout));
      writer.PutBytes(golden.bytes.data() + 9, golden.bytes.size() - 9);
      EXPECT_EQ(golden.decode(Copy(writer.Seal(golden.key)), golden.key), Status::kCorrupt)
          << golden.why << ' ' << kind;
    }
  }
}

TEST(BodyCodec, ABodyOfAnotherKindIsCorrupt) {
  for (const Golden& golden : kGolden) {
    BodyWriter writer;
    writer.Start(golden.kind == BodyKind::kRecord ? BodyKind::kPacked : BodyKind::kRecord);
    writer.PutBytes(golden.bytes.data() + 9, golden.bytes.size() - 9);
    EXPECT_EQ(golden.decode(Copy(writer.Seal(golden.key)), golden.key), Status::kCorrupt) << golden.why;
  }
}

// Fields under a right checksum.
Bytes Sealed(const Golden& golden, const Bytes& fields) {
  BodyWriter writer;
  writer.Start(golden.kind, static_cast<Layout>(golden.bytes[8] ^ static_cast<uint8_t>(golden.kind)));
  writer.PutBytes(fields.data(), fields.size());
  return Copy(writer.Seal(golden.key));
}

TEST(BodyCodec, FieldsThatBreakARuleAreCorruptUnderARightChecksum) {
  const struct {
    const char* why;
    const Golden& golden;
    const char* fields;
  } kRows[] = {
      {"next identifier 0", kGolden[0], "00 00 00 00 07 00 00 00 00 00 00 00 02 00 00 00"},
      {"a volume's fields end early", kGolden[0], "12 00 00 00 07 00 00 00 00 00 00 00 02 00 00"},
      {"a database without a name", kGolden[1],
       "00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 00 00 00"},
      {"a name with a zero", kGolden[1],
       "01 00 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 00 00 00"},
      {"a name with a backslash at its end", kGolden[1],
       "01 5C 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 00 00 00"},
      {"flags in the low word", kGolden[1],
       "01 41 00 04 03 02 01 01 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 00 00 00"},
      {"too many records", kGolden[1],
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 00 00 01 00 44 00 00 00 00 00 00 00 00 00 00"},
      {"a sort order on a blob", kGolden[1],
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 "
       "01 41 00 01 00 00 00 00 00 00 00"},
      {"two sort orders on one property", kGolden[1],
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 "
       "02 13 00 01 00 00 00 00 00 13 00 01 00 01 00 00 00 00 00"},
      {"more properties than bytes", kGolden[2], "03 00 00 00 00 00 00 00 FF FF FF FF 13 00 01 00 04 03 02 01"},
      {"a property of no type", kGolden[2], "03 00 00 00 00 00 00 00 01 00 00 00 14 00 01 00 04 03 02 01"},
      {"a text longer than the body", kGolden[2], "03 00 00 00 00 00 00 00 01 00 00 00 1F 00 02 00 03 00 00 00 41 00"},
      {"a text with a zero", kGolden[2], "03 00 00 00 00 00 00 00 01 00 00 00 1F 00 02 00 01 00 00 00 00 00"},
      {"a blob longer than the body", kGolden[2], "03 00 00 00 00 00 00 00 01 00 00 00 41 00 02 00 FF FF 00 00 41 00"},
      {"pairs out of order", kGolden[3],
       "05 00 00 00 00 00 00 00 02 00 00 00 12 00 00 00 0A 00 00 00 11 00 00 00 0B 00 00 00"},
      {"a pair for no record", kGolden[3], "05 00 00 00 00 00 00 00 01 00 00 00 00 00 00 00 0A 00 00 00"},
      {"fewer pairs than said", kGolden[3], "05 00 00 00 00 00 00 00 02 00 00 00 12 00 00 00 0A 00 00 00"},
      {"an order that is neither by identifier nor not", kGolden[4],
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 01 00 00 00 44 00 00 00 00 00 00 00 "
       "01 13 00 01 00 00 00 00 00 00 00 00 02 01 11 01"},
      {"a block that holds no record alone", kGolden[4],
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 01 00 00 00 44 00 00 00 00 00 00 00 "
       "00 00 00 06 00 01 11 01"},
      {"fewer identifiers than records", kGolden[4],
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 "
       "00 00 00 00 01 11 01"},
      {"two runs without a gap", kGolden[4],
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 "
       "00 00 00 00 02 11 01 00 01"},
      {"a run of nothing", kGolden[4],
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 01 00 00 00 44 00 00 00 00 00 00 00 "
       "00 00 00 00 02 11 01 01 00"},
      {"a run that begins at 0", kGolden[4],
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 01 00 00 00 44 00 00 00 00 00 00 00 "
       "00 00 00 00 01 00 01"},
      {"a count with a byte too many", kGolden[5], "83 00 01 13 01"},
      {"more properties than bytes in few bytes", kGolden[5], "03 7F 13 01"},
      {"a code without a type", kGolden[5], "03 01 1B 01"},
      {"a bit that means nothing", kGolden[5], "03 01 33 01"},
      {"a number spelled out though it is the next", kGolden[5], "03 01 03 00 01"},
      {"a number past the largest", kGolden[5], "03 02 03 FF FF 03 01 13 01"},
      {"16 bits that are more", kGolden[5], "03 01 11 80 80 04"},
      {"32 bits that are more", kGolden[5], "03 01 13 80 80 80 80 10"},
      {"a wide text that could be narrow", kGolden[5], "03 01 18 02 41 00 42 00"},
      {"a narrow text with a zero", kGolden[5], "03 01 17 02 41 00"},
      {"a wide text with a zero", kGolden[5], "03 01 18 02 AC 20 00 00"},
      {"a text that ends early", kGolden[5], "03 01 17 03 41 42"},
      {"an empty text that is wide", kGolden[5], "03 01 18 00"},
      {"a blob of zeros that are spelled out", kGolden[5], "03 01 19 02 00 00"},
      {"no zeros at all", kGolden[5], "03 01 1A 00"},
      {"a block without properties", kGolden[7], "06 00 01 11"},
      {"a block of a property that is not four bytes wide", kGolden[7], "06 01 12 00 00 00 01 11 00"},
      {"a block of no records", kGolden[7], "06 01 13 00 00 00 00"},
      {"a block's records out of order", kGolden[7], "06 01 13 00 00 00 02 11 00 00 00"},
      {"a block with fewer records than said", kGolden[7], "06 01 13 00 00 00 02 11 00"},
      {"a run that could be longer", kGolden[8], "03 02 14 01 14 01"},
      {"a run that could be longer behind one that is too short", kGolden[8], "03 03 34 01 01 14 01"},
      {"a run longer than the record", kGolden[8], "03 01 34 01"},
      {"a run of which the last value is missing", kGolden[8], "03 02 34 01"},
      {"a run past the largest number", kGolden[8], "03 02 24 FF FF 03 01 01"},
      {"a number spelled out though it is the next, behind a run", kGolden[8], "03 03 34 01 01 04 02 01"},
      {"a code without a type, with runs", kGolden[8], "03 01 1B 01"},
      {"more properties than bytes, with runs", kGolden[8], "03 7F F4 01"},
      {"numbers with more bits than they need", kGolden[9], "05 02 01 22 02 05 01 0B 00"},
      {"numbers counted from less than the least", kGolden[9], "05 02 01 22 02 04 03 1C"},
      {"steps where the numbers are as close", kGolden[9], "05 02 01 22 02 45 15 B5 02"},
      {"numbers where the steps are closer", kGolden[9], "05 03 02 22 24 02 02 24"},
      {"numbers of 33 bits", kGolden[9], "05 01 00 22 21 00 00 00 00 00 00"},
      {"a bit behind the last number", kGolden[9], "05 01 00 22 00 14 01"},
      {"a bit behind the last number in its byte", kGolden[9], "05 02 01 22 06 04 01 0B"},
      {"a column that ends early", kGolden[9], "05 02 01 22 02 04 01"},
      {"a group without its last column", kGolden[9], "05 02 01 22 02"},
      {"an unknown bit in a column's head", kGolden[9], "05 02 01 22 02 84 01 0B"},
      {"a group of too many rows", kGolden[9], "05 81 00 22 00 22"},
      {"a group behind the last one", kGolden[9], "05 01 00 22 00 14 01 00 24 00 14"},
      {"identifiers out of order", kGolden[9], "05 02 01 22 01 04 01 0B"},
      {"an identifier 0", kGolden[9], "05 02 01 00 02 04 01 0B"},
      {"no end behind full groups", kGolden[9], "05"},
      {"a block without properties, with runs", kGolden[10], "06 00 01 00 22"},
      {"a block of no records, with runs", kGolden[10], "06 01 13 00 00 00 00"},
      {"a block without a column, with runs", kGolden[10], "06 01 13 00 00 00 01 00 22"},
      {"a block's identifiers out of order, with runs", kGolden[10], "06 01 13 00 00 00 02 01 22 01 01 00 02"},
      {"pairs of one record", kGolden[6], "05 02 11 14 00 15"},
      {"a difference past 32 bits", kGolden[6], "05 01 11 80 80 80 80 10"},
  };
  for (const auto& row : kRows) {
    const Bytes body = Sealed(row.golden, FromHex(row.fields));
    EXPECT_EQ(row.golden.decode(body, row.golden.key), Status::kCorrupt) << row.why;
  }
}

TEST(BodyCodec, AColumnOfAPropertyThatIsNotFourBytesWideIsCorrupt) {
  const Golden text_column = {"text column", kFirstPackedBytes, BodyKind::kPacked, 0x100001001F, DecodeGoldenPacked};
  const Bytes fields(kFirstPackedBytes.begin() + 9, kFirstPackedBytes.end());
  EXPECT_EQ(DecodeGoldenPacked(Sealed(text_column, fields), text_column.key), Status::kCorrupt);
}

// Whatever the fields say, decoding ends with a value or with corrupt; the sanitizers watch the rest.
TEST(BodyCodec, DecodingIsTotalUnderARightChecksum) {
  std::mt19937 random(20260101);
  for (const Golden& golden : kGolden) {
    size_t decoded = 0;
    for (int round = 0; round < 20000; ++round) {
      Bytes fields(golden.bytes.begin() + 9, golden.bytes.end());
      for (uint32_t changes = random() % 4; changes > 0; --changes) {
        fields[random() % fields.size()] = static_cast<uint8_t>(random());
      }
      if (random() % 8 == 0) fields.resize(random() % fields.size());
      const Status status = golden.decode(Sealed(golden, fields), golden.key);
      ASSERT_TRUE(status == Status::kOk || status == Status::kCorrupt) << golden.why << ", round " << round;
      if (status == Status::kOk) ++decoded;
    }
    EXPECT_GT(decoded, 0u) << golden.why;
  }
}

}  // namespace
}  // namespace objectstore
