// See record_body.h.
#include "record_body.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace objectstore {

namespace {

void EncodeValue(const CEPROPVAL& value, BodyWriter& writer) {
  writer.Put32(value.propid);
  switch (TypeOf(value.propid)) {
    case CEVT_LPWSTR:
      writer.Put32(value.wLenData);
      writer.PutText(value.val.lpwstr, value.wLenData);
      return;
    case CEVT_BLOB:
      writer.Put32(value.val.blob.dwCount);
      writer.PutBytes(value.val.blob.lpb, value.val.blob.dwCount);
      return;
    case CEVT_R8: {
      uint64_t bits;
      std::memcpy(&bits, &value.val.dblVal, sizeof bits);
      writer.Put64(bits);
      return;
    }
    case CEVT_FILETIME:
      writer.Put32(value.val.filetime.dwLowDateTime);
      writer.Put32(value.val.filetime.dwHighDateTime);
      return;
    case CEVT_I2:
    case CEVT_UI2:
      writer.Put16(value.val.uiVal);
      return;
    default:
      writer.Put32(value.val.ulVal);
      return;
  }
}

// The fewest bytes that a property takes in a body: its identifier and a number of two bytes.
constexpr size_t kSmallestPropertyBytes = 6;

}  // namespace

std::span<const uint8_t> EncodeRecord(const Record& record, int64_t key, uint64_t flush, BodyWriter& writer) {
  writer.Start(BodyKind::kRecord);
  writer.Put64(flush);
  writer.Put32(static_cast<uint32_t>(record.properties().size()));
  for (const CEPROPVAL& value : record.properties()) EncodeValue(value, writer);
  return writer.Seal(key);
}

Status RecordDecoder::Decode(std::span<const uint8_t> body, int64_t key, RecordRef& record, uint64_t& flush) {
  BodyReader reader(body, BodyKind::kRecord, key);
  flush = reader.Get64();
  const uint32_t count = reader.Get32();
  if (count > reader.remaining() / kSmallestPropertyBytes) return Status::kCorrupt;
  values_.clear();
  texts_.clear();
  characters_.clear();
  for (uint32_t i = 0; i < count; ++i) {
    CEPROPVAL value;
    std::memset(&value, 0, sizeof value);
    value.propid = reader.Get32();
    DecodeValue(reader, value);
    if (!reader.ok()) break;
    values_.push_back(value);
  }
  STORE_TRY(reader.Finished());
  for (const auto& [index, offset] : texts_) values_[index].val.lpwstr = characters_.data() + offset;
  if (CountedBytes(values_) > CEDB_MAXRECORDSIZE) return Status::kCorrupt;
  record = Record::Create(LowWord(key), values_);
  return Status::kOk;
}

void RecordDecoder::DecodeValue(BodyReader& reader, CEPROPVAL& value) {
  switch (TypeOf(value.propid)) {
    case CEVT_LPWSTR:
      return DecodeText(reader, value);
    case CEVT_BLOB:
      return DecodeBlob(reader, value);
    case CEVT_R8: {
      const uint64_t bits = reader.Get64();
      std::memcpy(&value.val.dblVal, &bits, sizeof bits);
      return;
    }
    case CEVT_FILETIME:
      value.val.filetime.dwLowDateTime = reader.Get32();
      value.val.filetime.dwHighDateTime = reader.Get32();
      return;
    case CEVT_I2:
    case CEVT_UI2:
      value.val.uiVal = reader.Get16();
      return;
    case CEVT_I4:
    case CEVT_UI4:
    case CEVT_BOOL:
      value.val.ulVal = reader.Get32();
      return;
    default:
      return reader.Reject();
  }
}

// A text is zero-terminated in memory, so that a zero within it would cut it short.
void RecordDecoder::DecodeText(BodyReader& reader, CEPROPVAL& value) {
  const uint32_t length = reader.Get32();
  if (length > CEDB_MAXPROPDATASIZE / sizeof(WCHAR) - 1 || length > reader.remaining()) return reader.Reject();
  const size_t offset = characters_.size();
  characters_.resize(offset + length + 1);
  WCHAR* text = characters_.data() + offset;
  if (!reader.GetText(text, length) || std::char_traits<WCHAR>::length(text) != length) return reader.Reject();
  texts_.emplace_back(values_.size(), offset);
  value.wLenData = static_cast<WORD>(length);
}

void RecordDecoder::DecodeBlob(BodyReader& reader, CEPROPVAL& value) {
  const uint32_t count = reader.Get32();
  if (count > CEDB_MAXPROPDATASIZE) return reader.Reject();
  const auto bytes = reader.GetBytes(count);
  value.val.blob.dwCount = static_cast<DWORD>(bytes.size());
  value.val.blob.lpb = const_cast<BYTE*>(bytes.data());  // only read from: the record gets a copy
}

std::span<const uint8_t> EncodePacked(const PackedColumn& column, int64_t key, BodyWriter& writer) {
  writer.Start(BodyKind::kPacked);
  writer.Put64(column.flush);
  writer.Put32(static_cast<uint32_t>(column.values.size()));
  for (const auto& [oid, number] : column.values) {
    writer.Put32(oid);
    writer.Put32(number);
  }
  return writer.Seal(key);
}

Status DecodePacked(std::span<const uint8_t> body, int64_t key, PackedColumn& column) {
  BodyReader reader(body, BodyKind::kPacked, key);
  column.property = LowWord(key);
  column.flush = reader.Get64();
  const uint32_t count = reader.Get32();
  if (FixedWidth(column.property) != sizeof(uint32_t) || count > CEDB_MAXNUMRECORDS) reader.Reject();
  CEOID previous = 0;
  for (uint32_t i = 0; i < count && reader.ok(); ++i) {
    const CEOID oid = reader.Get32();
    const uint32_t number = reader.Get32();
    if (oid <= previous) reader.Reject();
    previous = oid;
    column.values.emplace_back(oid, number);
  }
  return reader.Finished();
}

}  // namespace objectstore
