// Bodies that are not what they should be: every one is told from a good one, whatever is wrong with it.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "column_body.h"
#include "golden_bodies.h"
#include "number_table.h"

namespace objectstore {
namespace {

TEST(BrokenBody, EveryFlippedBitIsCorrupt) {
  for (const Golden& golden : kGoldenBodies) {
    for (size_t bit = 0; bit < golden.bytes.size() * 8; ++bit) {
      Bytes bytes = golden.bytes;
      bytes[bit / 8] = static_cast<uint8_t>(bytes[bit / 8] ^ (1u << bit % 8));
      EXPECT_EQ(golden.decode(bytes, golden.key), Status::kCorrupt) << golden.why << ", bit " << bit;
    }
  }
}

TEST(BrokenBody, EveryShorterBodyAndALongerOneAreCorrupt) {
  for (const Golden& golden : kGoldenBodies) {
    for (size_t size = 0; size < golden.bytes.size(); ++size) {
      const Bytes bytes(golden.bytes.begin(), golden.bytes.begin() + static_cast<ptrdiff_t>(size));
      EXPECT_EQ(golden.decode(bytes, golden.key), Status::kCorrupt) << golden.why << ", size " << size;
    }
    Bytes longer = golden.bytes;
    longer.push_back(0);
    EXPECT_EQ(golden.decode(longer, golden.key), Status::kCorrupt) << golden.why;
  }
}

TEST(BrokenBody, ABodyInAnothersRowIsCorrupt) {
  for (const Golden& golden : kGoldenBodies) {
    if (golden.kind == BodyKind::kVolume) continue;  // there is one row
    EXPECT_EQ(golden.decode(golden.bytes, golden.key + 1), Status::kCorrupt) << golden.why;
  }
}

TEST(BrokenBody, ABodyInALayoutThatItsKindDoesNotHaveIsCorrupt) {
  for (const Golden& golden : kGoldenBodies) {
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

TEST(BrokenBody, ABodyOfAnotherKindIsCorrupt) {
  for (const Golden& golden : kGoldenBodies) {
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

TEST(BrokenBody, FieldsThatBreakARuleAreCorruptUnderARightChecksum) {
  const struct {
    const char* why;
    const Golden& golden;
    const char* fields;
  } kRows[] = {
      {"next identifier 0", kVolumeBody, "00 00 00 00 07 00 00 00 00 00 00 00 02 00 00 00"},
      {"a volume's fields end early", kVolumeBody, "12 00 00 00 07 00 00 00 00 00 00 00 02 00 00"},
      {"a database without a name", kFirstDatabaseBody,
       "00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 00 00 00"},
      {"a name with a zero", kFirstDatabaseBody,
       "01 00 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 00 00 00"},
      {"a name with a backslash at its end", kFirstDatabaseBody,
       "01 5C 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 00 00 00"},
      {"flags in the low word", kFirstDatabaseBody,
       "01 41 00 04 03 02 01 01 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 00 00 00"},
      {"too many records", kFirstDatabaseBody,
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 00 00 01 00 44 00 00 00 00 00 00 00 00 00 00"},
      {"a sort order on a blob", kFirstDatabaseBody,
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 "
       "01 41 00 01 00 00 00 00 00 00 00"},
      {"two sort orders on one property", kFirstDatabaseBody,
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 "
       "02 13 00 01 00 00 00 00 00 13 00 01 00 01 00 00 00 00 00"},
      {"more properties than bytes", kFirstRecordBody, "03 00 00 00 00 00 00 00 FF FF FF FF 13 00 01 00 04 03 02 01"},
      {"a property of no type", kFirstRecordBody, "03 00 00 00 00 00 00 00 01 00 00 00 14 00 01 00 04 03 02 01"},
      {"a text longer than the body", kFirstRecordBody,
       "03 00 00 00 00 00 00 00 01 00 00 00 1F 00 02 00 03 00 00 00 41 00"},
      {"a text with a zero", kFirstRecordBody, "03 00 00 00 00 00 00 00 01 00 00 00 1F 00 02 00 01 00 00 00 00 00"},
      {"a blob longer than the body", kFirstRecordBody,
       "03 00 00 00 00 00 00 00 01 00 00 00 41 00 02 00 FF FF 00 00 41 00"},
      {"pairs out of order", kFirstPackedBody,
       "05 00 00 00 00 00 00 00 02 00 00 00 12 00 00 00 0A 00 00 00 11 00 00 00 0B 00 00 00"},
      {"a pair for no record", kFirstPackedBody, "05 00 00 00 00 00 00 00 01 00 00 00 00 00 00 00 0A 00 00 00"},
      {"fewer pairs than said", kFirstPackedBody, "05 00 00 00 00 00 00 00 02 00 00 00 12 00 00 00 0A 00 00 00"},
      {"an order that is neither by identifier nor not", kDatabaseBody,
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 01 00 00 00 44 00 00 00 00 00 00 00 "
       "01 13 00 01 00 00 00 00 00 00 00 00 02 01 11 01"},
      {"a block that holds no record alone", kDatabaseBody,
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 01 00 00 00 44 00 00 00 00 00 00 00 "
       "00 00 00 06 00 01 11 01"},
      {"fewer identifiers than records", kDatabaseBody,
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 "
       "00 00 00 00 01 11 01"},
      {"two runs without a gap", kDatabaseBody,
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 02 00 00 00 44 00 00 00 00 00 00 00 "
       "00 00 00 00 02 11 01 00 01"},
      {"a run of nothing", kDatabaseBody,
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 01 00 00 00 44 00 00 00 00 00 00 00 "
       "00 00 00 00 02 11 01 01 00"},
      {"a run that begins at 0", kDatabaseBody,
       "01 41 00 04 03 02 01 00 00 01 00 00 00 00 00 00 00 00 00 01 00 00 00 44 00 00 00 00 00 00 00 "
       "00 00 00 00 01 00 01"},
      {"a count with a byte too many", kCompactRecordBody, "83 00 01 13 01"},
      {"more properties than bytes in few bytes", kCompactRecordBody, "03 7F 13 01"},
      {"a code without a type", kCompactRecordBody, "03 01 1B 01"},
      {"a bit that means nothing", kCompactRecordBody, "03 01 33 01"},
      {"a number spelled out though it is the next", kCompactRecordBody, "03 01 03 00 01"},
      {"a number past the largest", kCompactRecordBody, "03 02 03 FF FF 03 01 13 01"},
      {"16 bits that are more", kCompactRecordBody, "03 01 11 80 80 04"},
      {"32 bits that are more", kCompactRecordBody, "03 01 13 80 80 80 80 10"},
      {"a wide text that could be narrow", kCompactRecordBody, "03 01 18 02 41 00 42 00"},
      {"a narrow text with a zero", kCompactRecordBody, "03 01 17 02 41 00"},
      {"a wide text with a zero", kCompactRecordBody, "03 01 18 02 AC 20 00 00"},
      {"a text that ends early", kCompactRecordBody, "03 01 17 03 41 42"},
      {"an empty text that is wide", kCompactRecordBody, "03 01 18 00"},
      {"a blob of zeros that are spelled out", kCompactRecordBody, "03 01 19 02 00 00"},
      {"no zeros at all", kCompactRecordBody, "03 01 1A 00"},
      {"a block without properties", kCompactBlockBody, "06 00 01 11"},
      {"a block of a property that is not four bytes wide", kCompactBlockBody, "06 01 12 00 00 00 01 11 00"},
      {"a block of no records", kCompactBlockBody, "06 01 13 00 00 00 00"},
      {"a block's records out of order", kCompactBlockBody, "06 01 13 00 00 00 02 11 00 00 00"},
      {"a block with fewer records than said", kCompactBlockBody, "06 01 13 00 00 00 02 11 00"},
      {"a run that could be longer", kRecordBody, "03 02 14 01 14 01"},
      {"a run that could be longer behind one that is too short", kRecordBody, "03 03 34 01 01 14 01"},
      {"a run longer than the record", kRecordBody, "03 01 34 01"},
      {"a run of which the last value is missing", kRecordBody, "03 02 34 01"},
      {"a run past the largest number", kRecordBody, "03 02 24 FF FF 03 01 01"},
      {"a number spelled out though it is the next, behind a run", kRecordBody, "03 03 34 01 01 04 02 01"},
      {"a code without a type, with runs", kRecordBody, "03 01 1B 01"},
      {"more properties than bytes, with runs", kRecordBody, "03 7F F4 01"},
      {"numbers with more bits than they need", kPackedBody, "05 02 01 22 02 05 01 0B 00"},
      {"numbers counted from less than the least", kPackedBody, "05 02 01 22 02 04 03 1C"},
      {"steps where the numbers are as close", kPackedBody, "05 02 01 22 02 45 15 B5 02"},
      {"numbers where the steps are closer", kPackedBody, "05 03 02 22 24 02 02 24"},
      {"numbers of 33 bits", kPackedBody, "05 01 00 22 21 00 00 00 00 00 00"},
      {"a bit behind the last number", kPackedBody, "05 01 00 22 00 14 01"},
      {"a bit behind the last number in its byte", kPackedBody, "05 02 01 22 06 04 01 0B"},
      {"a column that ends early", kPackedBody, "05 02 01 22 02 04 01"},
      {"a group without its last column", kPackedBody, "05 02 01 22 02"},
      {"an unknown bit in a column's head", kPackedBody, "05 02 01 22 02 84 01 0B"},
      {"a group of too many rows", kPackedBody, "05 81 00 22 00 22"},
      {"a group behind the last one", kPackedBody, "05 01 00 22 00 14 01 00 24 00 14"},
      {"identifiers out of order", kPackedBody, "05 02 01 22 01 04 01 0B"},
      {"an identifier 0", kPackedBody, "05 02 01 00 02 04 01 0B"},
      {"no end behind full groups", kPackedBody, "05"},
      {"a block without properties, with runs", kBlockBody, "06 00 01 00 22"},
      {"a block of no records, with runs", kBlockBody, "06 01 13 00 00 00 00"},
      {"a block without a column, with runs", kBlockBody, "06 01 13 00 00 00 01 00 22"},
      {"a block's identifiers out of order, with runs", kBlockBody, "06 01 13 00 00 00 02 01 22 01 01 00 02"},
      {"pairs of one record", kCompactPackedBody, "05 02 11 14 00 15"},
      {"a difference past 32 bits", kCompactPackedBody, "05 01 11 80 80 80 80 10"},
  };
  for (const auto& row : kRows) {
    const Bytes body = Sealed(row.golden, FromHex(row.fields));
    EXPECT_EQ(row.golden.decode(body, row.golden.key), Status::kCorrupt) << row.why;
  }
}

TEST(BrokenBody, AColumnOfAPropertyThatIsNotFourBytesWideIsCorrupt) {
  Golden text_column = kFirstPackedBody;
  text_column.key = 0x100001001F;
  const Bytes fields(text_column.bytes.begin() + 9, text_column.bytes.end());
  EXPECT_EQ(text_column.decode(Sealed(text_column, fields), text_column.key), Status::kCorrupt);
}

// A table of equal numbers takes a few bytes for each column of a group, however many numbers they stand for.
Bytes BlockOfEqualNumbers(uint32_t properties, uint32_t records) {
  BodyWriter writer;
  writer.Start(BodyKind::kBlock, Layout::kRuns);
  writer.PutCount(1);
  writer.PutCount(properties);
  for (uint32_t i = 0; i < properties; ++i) writer.Put32(i << 16 | CEVT_UI4);
  NumberTableWriter table(writer, 1 + properties);
  for (CEOID oid = 1; oid <= records; ++oid) {
    uint32_t* const row = table.NextRow();
    row[0] = oid;
    for (uint32_t i = 1; i <= properties; ++i) row[i * kColumnStep] = 7;
    table.Take();
  }
  table.End();
  return Copy(writer.Seal(kBlockKey));
}

TEST(BrokenBody, ABlockOfMoreNumbersThanItsLargestHasIsCorrupt) {
  const struct {
    uint32_t properties;
    uint32_t records;
    Status status;
  } kRows[] = {{1000, 128, Status::kOk},       {1018, 128, Status::kOk}, {1019, 128, Status::kCorrupt},
               {4000, 1000, Status::kCorrupt}, {1, 65531, Status::kOk},  {1, 65532, Status::kCorrupt}};
  for (const auto& row : kRows) {
    const Bytes body = BlockOfEqualNumbers(row.properties, row.records);
    RecordBlock block;
    EXPECT_EQ(DecodeBlock(body, kBlockKey, block), row.status) << row.properties << " x " << row.records;
  }
}

// Whatever the fields say, decoding ends with a value or with corrupt; the sanitizers watch the rest.
TEST(BrokenBody, DecodingIsTotalUnderARightChecksum) {
  std::mt19937 random(20260101);
  for (const Golden& golden : kGoldenBodies) {
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
