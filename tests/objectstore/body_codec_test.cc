// The bodies of a volume file: golden bytes typed by hand, and what becomes of bytes that are not what they should be.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

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

const Bytes kDatabaseBytes = FromHex(
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

const Bytes kRecordBytes = FromHex(
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

const Bytes kPackedBytes = FromHex(
    "6A F8 C8 89 08 F2 A6 9F 50 "
    "05 00 00 00 00 00 00 00 "   // flush
    "02 00 00 00 "               // pairs
    "11 00 00 00 0A 00 00 00 "   //
    "12 00 00 00 FF FF FF FF");  //

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

const struct Golden {
  const char* why;
  const Bytes& bytes;
  BodyKind kind;
  int64_t key;
  Status (*decode)(const Bytes&, int64_t);
} kGolden[] = {
    {"volume", kVolumeBytes, BodyKind::kVolume, kVolumeRowKey, DecodeGoldenVolume},
    {"database", kDatabaseBytes, BodyKind::kDatabase, kDatabase, DecodeGoldenDatabase},
    {"record", kRecordBytes, BodyKind::kRecord, kRecordKey, DecodeGoldenRecord},
    {"packed column", kPackedBytes, BodyKind::kPacked, kPackedKey, DecodeGoldenPacked},
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

TEST(BodyCodec, ADatabasesBodyHasTheseBytes) {
  DatabaseHead head;
  ASSERT_EQ(DecodeDatabaseHead(kDatabaseBytes, kDatabase, head), Status::kOk);
  EXPECT_EQ(std::u16string(head.description.name.terminated()), u"Db\u00E9");
  EXPECT_EQ(head.description.type, 0x01020304u);
  EXPECT_EQ(head.description.flags, 0x00010000u);
  EXPECT_EQ(head.description.modified, 0x019DB1DED53E8000u);
  EXPECT_EQ(head.description.record_count, 2u);
  EXPECT_EQ(head.description.record_bytes, 68u);
  ASSERT_EQ(head.description.sort_specs.list().size(), 2u);
  EXPECT_EQ(head.description.sort_specs.list()[0].propid, 0x0002001Fu);
  EXPECT_EQ(head.description.sort_specs.list()[0].dwFlags, 3u);
  ASSERT_EQ(head.packed.size(), 1u);
  EXPECT_EQ(head.packed[0].property, 0x00010013u);
  EXPECT_EQ(head.packed[0].flush, 5u);
  BodyWriter writer;
  EXPECT_EQ(Copy(EncodeDatabaseHead(head, kDatabase, writer)), kDatabaseBytes);
}

TEST(BodyCodec, ARecordsBodyHasTheseBytes) {
  RecordDecoder decoder;
  RecordRef record;
  uint64_t flush = 0;
  ASSERT_EQ(decoder.Decode(kRecordBytes, kRecordKey, record, flush), Status::kOk);
  EXPECT_EQ(flush, 3u);
  EXPECT_EQ(record->oid(), 0x11u);
  const auto values = record->properties();
  ASSERT_EQ(values.size(), 7u);
  EXPECT_EQ(values[0].val.ulVal, 0x01020304u);
  EXPECT_EQ(std::u16string(values[1].val.lpwstr), u"A\u00E9");
  ASSERT_EQ(values[2].val.blob.dwCount, 2u);
  EXPECT_EQ(values[2].val.blob.lpb[1], 0xAD);
  EXPECT_EQ(values[3].val.iVal, -2);
  EXPECT_EQ(values[4].val.dblVal, 1.5);
  EXPECT_EQ(values[5].val.filetime.dwLowDateTime, 0x11223344u);
  EXPECT_EQ(values[5].val.filetime.dwHighDateTime, 0x55667788u);
  EXPECT_EQ(values[6].val.boolVal, 1);
  EXPECT_EQ(record->counted_bytes(), 20u + 7 * 4 + 4 + 6 + 2 + 2 + 8 + 8 + 4);
  BodyWriter writer;
  EXPECT_EQ(Copy(EncodeRecord(*record, kRecordKey, 3, writer)), kRecordBytes);
}

TEST(BodyCodec, APackedColumnsBodyHasTheseBytes) {
  PackedColumn column;
  ASSERT_EQ(DecodePacked(kPackedBytes, kPackedKey, column), Status::kOk);
  EXPECT_EQ(column.property, 0x00010013u);
  EXPECT_EQ(column.flush, 5u);
  const std::vector<std::pair<CEOID, uint32_t>> expected = {{0x11, 0x0A}, {0x12, 0xFFFFFFFF}};
  EXPECT_EQ(column.values, expected);
  BodyWriter writer;
  EXPECT_EQ(Copy(EncodePacked(column, kPackedKey, writer)), kPackedBytes);
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
  writer.Start(golden.kind);
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
  };
  for (const auto& row : kRows) {
    const Bytes body = Sealed(row.golden, FromHex(row.fields));
    EXPECT_EQ(row.golden.decode(body, row.golden.key), Status::kCorrupt) << row.why;
  }
}

TEST(BodyCodec, AColumnOfAPropertyThatIsNotFourBytesWideIsCorrupt) {
  const Golden text_column = {"text column", kPackedBytes, BodyKind::kPacked, 0x100001001F, DecodeGoldenPacked};
  const Bytes fields(kPackedBytes.begin() + 9, kPackedBytes.end());
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
