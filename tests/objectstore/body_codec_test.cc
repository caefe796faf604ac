// The bodies of a volume file have these bytes, and these bytes are read as what they were made from.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <string>
#include <vector>

#include "column_body.h"
#include "database_body.h"
#include "golden_bodies.h"
#include "record_body.h"

namespace objectstore {
namespace {

TEST(BodyCodec, AVolumesBodyHasTheseBytes) {
  VolumeHead head;
  ASSERT_EQ(DecodeVolumeHead(kVolumeBody.bytes, head), Status::kOk);
  EXPECT_EQ(head.next_identifier, 0x12u);
  EXPECT_EQ(head.flush, 7u);
  EXPECT_EQ(head.database_count, 2u);
  BodyWriter writer;
  EXPECT_EQ(Copy(EncodeVolumeHead(head, writer)), kVolumeBody.bytes);
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
  ASSERT_EQ(DecodeDatabaseHead(kDatabaseBody.bytes, kDatabase, head), Status::kOk);
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
  EXPECT_EQ(Copy(EncodeDatabaseHead(head, head.packed, kDatabase, writer)), kDatabaseBody.bytes);
}

TEST(BodyCodec, ADatabasesBodyOfTheFirstLayoutDoesNotNameItsRecords) {
  DatabaseHead head;
  ASSERT_EQ(DecodeDatabaseHead(kFirstDatabaseBody.bytes, kDatabase, head), Status::kOk);
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
  const RecordRef record = DecodedRecord(kRecordBody.bytes, flush);
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
  EXPECT_EQ(Copy(EncodeRecord(*record, kRecordKey, 0x83, writer)), kRecordBody.bytes);
}

TEST(BodyCodec, ARecordsBodyWithoutRunsIsTheSameRecord) {
  uint64_t flush = 0;
  const RecordRef record = DecodedRecord(kCompactRecordBody.bytes, flush);
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
  const RecordRef record = DecodedRecord(kFirstRecordBody.bytes, flush);
  ASSERT_TRUE(record);
  EXPECT_EQ(flush, 3u);
  ASSERT_EQ(record->property_count(), 7u);
  ExpectGoldenProperties(*record);
  EXPECT_TRUE(record->At(1).narrow);
  EXPECT_EQ(record->counted_bytes(), 20u + 7 * 4 + 4 + 6 + 2 + 2 + 8 + 8 + 4);
}

TEST(BodyCodec, APackedColumnsBodyHasTheseBytes) {
  PackedColumn column;
  ASSERT_EQ(DecodePacked(kPackedBody.bytes, kPackedKey, column), Status::kOk);
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
  EXPECT_EQ(Copy(EncodePacked(records, 5, kPackedKey, writer)), kPackedBody.bytes);
  EXPECT_EQ(Copy(EncodePacked(std::span(records).subspan(1, 2), 5, kPackedKey, writer)), kPackedBody.bytes);
}

TEST(BodyCodec, AColumnOfPairsIsTheSameColumn) {
  PackedColumn column;
  ASSERT_EQ(DecodePacked(kCompactPackedBody.bytes, kPackedKey, column), Status::kOk);
  EXPECT_EQ(column.property, 0x00010013u);
  EXPECT_EQ(column.flush, 5u);
  const std::vector<std::pair<CEOID, uint32_t>> expected = {{0x11, 0x0A}, {0x12, 0xFFFFFFFF}};
  EXPECT_EQ(column.values, expected);
}

TEST(BodyCodec, ABlockOfStepsIsTheSameBlock) {
  RecordBlock block;
  ASSERT_EQ(DecodeBlock(kCompactBlockBody.bytes, kBlockKey, block), Status::kOk);
  EXPECT_EQ(block.flush, 6u);
  EXPECT_EQ(block.properties, (std::vector<CEPROPID>{0x00000013, 0x00010003}));
  EXPECT_EQ(block.oids, (std::vector<CEOID>{0x11, 0x12}));
  EXPECT_EQ(block.numbers, (std::vector<uint32_t>{0, 1, 1, 0xFFFFFFFE}));
}

TEST(BodyCodec, ABlockOfRecordsHasTheseBytes) {
  RecordBlock block;
  ASSERT_EQ(DecodeBlock(kBlockBody.bytes, kBlockKey, block), Status::kOk);
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
  EXPECT_EQ(Copy(EncodeBlock(records, 6, kBlockKey, writer)), kBlockBody.bytes);
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
  ASSERT_EQ(DecodePacked(kFirstPackedBody.bytes, kPackedKey, column), Status::kOk);
  EXPECT_EQ(column.flush, 5u);
  const std::vector<std::pair<CEOID, uint32_t>> expected = {{0x11, 0x0A}, {0x12, 0xFFFFFFFF}};
  EXPECT_EQ(column.values, expected);
}

}  // namespace
}  // namespace objectstore
