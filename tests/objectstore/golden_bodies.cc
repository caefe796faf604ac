// Typed by hand.
#include "golden_bodies.h"

#include "column_body.h"
#include "database_body.h"
#include "record_body.h"

namespace objectstore {

Bytes FromHex(const std::string& text) {
  Bytes bytes;
  for (size_t i = 0; i + 1 < text.size(); i += 3) {
    bytes.push_back(static_cast<uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

namespace {

const Bytes kVolumeBytes = FromHex(
    "83 E9 BC 62 58 14 7A 9C 56 "
    "12 00 00 00 "              // next identifier
    "07 00 00 00 00 00 00 00 "  // flush
    "02 00 00 00");             // databases

// Of a database in both layouts.
const std::string kDescription =
    "03 44 00 62 00 E9 00 "                        // name
    "04 03 02 01 "                                 // type
    "00 00 01 00 "                                 // flags
    "00 80 3E D5 DE B1 9D 01 "                     // time
    "02 00 00 00 "                                 // records
    "44 00 00 00 00 00 00 00 "                     // size
    "02 1F 00 02 00 03 00 00 00 "                  // sort orders
    "13 00 01 00 00 00 00 00 "                     //
    "01 00 13 00 01 00 05 00 00 00 00 00 00 00 ";  // packed columns

const Bytes kFirstDatabaseBytes = FromHex("1C 04 B1 C9 E4 9F 94 9E 44 " + kDescription);

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

const Bytes kDatabaseBytes = FromHex("3B 5F C3 44 02 CE 1D C7 64 " + kDescription +
                                     "06 01 11 01 "         // flush of the block; runs: the record 0x11
                                     "00 01 "               // the second order goes by identifier
                                     "02 11 01 80 01 01");  // runs: one record from 0x11 on, one from 0x92 on

// Of the records of all layouts but the first.
const std::string kTenProperties =
    "03 01 84 86 88 08 "           // 32 bits, unsigned, number 1
    "17 02 41 E9 "                 // narrow text, number 2
    "19 02 DE AD "                 // blob
    "10 03 "                       // 16 bits, signed
    "15 00 00 00 00 00 00 F8 3F "  // floating point
    "16 44 33 22 11 88 77 66 55 "  // time
    "14 01 "                       // boolean
    "18 02 41 00 AC 20 "           // wide text
    "1A 0F "                       // blob of zeros
    "12 FF FF FF FF 0F ";          // 32 bits, signed

const Bytes kCompactRecordBytes = FromHex(
    "B9 55 02 8B 0F 5D C7 4C 72 "
    "83 01 "  // flush
    "0B " +   // properties
    kTenProperties +
    "11 FF FF 03");  // 16 bits, unsigned

const Bytes kRecordBytes = FromHex(
    "0A AB 1E A4 0F A7 71 52 F2 "
    "83 01 "  // flush
    "0E " +   // properties
    kTenProperties +
    "51 FF FF 03 00 05 "  // three of 16 bits, unsigned
    "01 14 07");          // one more, number 20

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

}  // namespace

const Golden kVolumeBody = {"volume", kVolumeBytes, BodyKind::kVolume, kVolumeRowKey, DecodeGoldenVolume};
const Golden kFirstDatabaseBody = {"first database", kFirstDatabaseBytes, BodyKind::kDatabase, kDatabase,
                                   DecodeGoldenDatabase};
const Golden kFirstRecordBody = {"first record", kFirstRecordBytes, BodyKind::kRecord, kRecordKey, DecodeGoldenRecord};
const Golden kFirstPackedBody = {"first packed column", kFirstPackedBytes, BodyKind::kPacked, kPackedKey,
                                 DecodeGoldenPacked};
const Golden kDatabaseBody = {"database", kDatabaseBytes, BodyKind::kDatabase, kDatabase, DecodeGoldenDatabase};
const Golden kCompactRecordBody = {"record without runs", kCompactRecordBytes, BodyKind::kRecord, kRecordKey,
                                   DecodeGoldenRecord};
const Golden kCompactPackedBody = {"packed column of pairs", kCompactPackedBytes, BodyKind::kPacked, kPackedKey,
                                   DecodeGoldenPacked};
const Golden kCompactBlockBody = {"block of steps", kCompactBlockBytes, BodyKind::kBlock, kBlockKey, DecodeGoldenBlock};
const Golden kRecordBody = {"record", kRecordBytes, BodyKind::kRecord, kRecordKey, DecodeGoldenRecord};
const Golden kPackedBody = {"packed column", kPackedBytes, BodyKind::kPacked, kPackedKey, DecodeGoldenPacked};
const Golden kBlockBody = {"block of records", kBlockBytes, BodyKind::kBlock, kBlockKey, DecodeGoldenBlock};

const std::vector<std::reference_wrapper<const Golden>> kGoldenBodies = {
    kVolumeBody,        kFirstDatabaseBody, kFirstRecordBody, kFirstPackedBody, kDatabaseBody, kCompactRecordBody,
    kCompactPackedBody, kCompactBlockBody,  kRecordBody,      kPackedBody,      kBlockBody};

}  // namespace objectstore
