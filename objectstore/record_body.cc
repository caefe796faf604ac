// See record_body.h.
//
// Every record is written in the newest layout. There is one way to write a value in it, and a body that takes another
// is no body of ours: what was decoded would not be written as the same bytes.
#include "record_body.h"

#include <algorithm>
#include <limits>

#include "property_tag.h"

namespace objectstore {

namespace {

// The fewest bytes that a property takes in a body: in a run it has no tag of its own.
constexpr size_t kSmallestPropertyBytes = 1;

bool IsAllZero(std::span<const uint8_t> bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](uint8_t byte) { return byte == 0; });
}

PropertyCode CodeOf(const Value& value) {
  switch (TypeOf(value.id)) {
    case CEVT_LPWSTR:
      return value.narrow ? PropertyCode::kNarrowText : PropertyCode::kWideText;
    case CEVT_BLOB:
      return value.length != 0 && IsAllZero({value.bytes, value.length}) ? PropertyCode::kBlobOfZeros
                                                                         : PropertyCode::kBlob;
    default:
      return static_cast<PropertyCode>(std::find(std::begin(kTypeOfCode), std::end(kTypeOfCode), TypeOf(value.id)) -
                                       std::begin(kTypeOfCode));
  }
}

void EncodePayload(const Value& value, PropertyCode code, BodyWriter& writer) {
  switch (code) {
    case PropertyCode::kI2:
      return writer.PutCount(ZigZag(static_cast<int16_t>(value.number)));
    case PropertyCode::kI4:
      return writer.PutCount(ZigZag(static_cast<int32_t>(value.number)));
    case PropertyCode::kUi2:
    case PropertyCode::kUi4:
    case PropertyCode::kBool:
      return writer.PutCount(value.number);
    case PropertyCode::kR8:
    case PropertyCode::kTime:
      return writer.Put64(value.number);
    default:
      break;
  }
  writer.PutCount(value.length);
  if (code == PropertyCode::kBlobOfZeros) return;
  const bool is_text = code != PropertyCode::kBlob;
  writer.PutBytes(value.bytes, is_text ? BytesOfText(value.length, value.narrow) : value.length);
}

uint64_t GetSigned(BodyReader& reader, int bits) {
  const uint64_t largest = (uint64_t{1} << bits) - 1;
  return static_cast<uint64_t>(UnZigZag(reader.GetCount(largest))) & largest;
}

// A text has no zero: in memory it ends with one. One that could be narrow is.
void DecodeText(BodyReader& reader, size_t length, bool narrow, Value& value) {
  if (length > kLongestTextUnits) return reader.Reject();
  const auto bytes = reader.GetBytes(BytesOfText(length, narrow));
  if (!reader.ok()) return;
  if (HoldsZero(bytes.data(), length, narrow)) return reader.Reject();
  value.length = static_cast<uint32_t>(length);
  value.narrow = narrow;
  value.bytes = bytes.data();
}

void DecodeBlob(BodyReader& reader, size_t length, Value& value) {
  if (length > CEDB_MAXPROPDATASIZE) return reader.Reject();
  const auto bytes = reader.GetBytes(length);
  value.length = static_cast<uint32_t>(bytes.size());
  value.bytes = bytes.data();
}

void DecodePayload(BodyReader& reader, PropertyCode code, Value& value) {
  switch (code) {
    case PropertyCode::kI2:
      value.number = GetSigned(reader, 16);
      return;
    case PropertyCode::kI4:
      value.number = GetSigned(reader, 32);
      return;
    case PropertyCode::kUi2:
      value.number = reader.GetCount(std::numeric_limits<uint16_t>::max());
      return;
    case PropertyCode::kUi4:
    case PropertyCode::kBool:
      value.number = reader.GetCount(std::numeric_limits<uint32_t>::max());
      return;
    case PropertyCode::kR8:
    case PropertyCode::kTime:
      value.number = reader.Get64();
      return;
    default:
      break;
  }
  const auto length = static_cast<size_t>(reader.GetCount(CEDB_MAXPROPDATASIZE));
  switch (code) {
    case PropertyCode::kNarrowText:
      return DecodeText(reader, length, true, value);
    case PropertyCode::kWideText:
      DecodeText(reader, length, false, value);
      if (reader.ok() && CouldBeNarrow(value.bytes, length)) reader.Reject();
      return;
    case PropertyCode::kBlob:
      DecodeBlob(reader, length, value);
      if (reader.ok() && length != 0 && IsAllZero({value.bytes, length})) reader.Reject();
      return;
    default:
      if (length == 0) return reader.Reject();
      value.length = static_cast<uint32_t>(length);
  }
}

}  // namespace

std::span<const uint8_t> EncodeRecord(const Record& record, int64_t key, uint64_t flush, BodyWriter& writer) {
  writer.Start(BodyKind::kRecord, Layout::kRuns);
  writer.PutCount(flush);
  writer.PutCount(record.property_count());
  TagWriter tags;
  for (size_t i = 0; i < record.property_count(); ++i) {
    const Value value = record.At(i);
    const PropertyCode code = CodeOf(value);
    tags.Put(value.id, code, writer);
    EncodePayload(value, code, writer);
  }
  return writer.Seal(key);
}

// The layout of the first version: the identifier, then the value in a fixed number of bytes. Texts are wide.
void RecordDecoder::DecodeFirst(BodyReader& reader, Value& value) {
  value.id = reader.Get32();
  if (IsText(value.id)) {
    DecodeText(reader, reader.Get32(), false, value);
    if (!reader.ok() || !CouldBeNarrow(value.bytes, value.length)) return;
    const size_t offset = narrowed_.size();
    narrowed_.resize(offset + value.length);
    NarrowBytes(value.bytes, value.length, narrowed_.data() + offset);
    value.bytes = narrowed_.data() + offset;
    value.narrow = true;
  } else if (IsBlob(value.id)) {
    DecodeBlob(reader, reader.Get32(), value);
  } else if (FixedWidth(value.id) == sizeof(uint16_t)) {
    value.number = reader.Get16();
  } else if (FixedWidth(value.id) == sizeof(uint32_t)) {
    value.number = reader.Get32();
  } else if (FixedWidth(value.id) == sizeof(uint64_t)) {
    value.number = reader.Get64();
  } else {
    reader.Reject();
  }
}

Status RecordDecoder::Decode(std::span<const uint8_t> body, int64_t key, RecordRef& record, uint64_t& flush,
                             RecordArena* arena) {
  BodyReader reader(body, BodyKind::kRecord, key, Layout::kRuns);
  const bool first = reader.layout() == Layout::kFirst;
  flush = first ? reader.Get64() : reader.GetCount(std::numeric_limits<uint64_t>::max());
  const uint64_t count = first ? reader.Get32() : reader.GetCount(body.size());
  if (count > reader.remaining() / kSmallestPropertyBytes) return Status::kCorrupt;
  values_.clear();
  narrowed_.clear();
  narrowed_.reserve(body.size());  // more than the texts can take: they stay where they are put
  TagReader tags(reader.layout());
  for (uint64_t i = 0; i < count; ++i) {
    Value& value = values_.emplace_back();
    if (first) {
      DecodeFirst(reader, value);
    } else {
      const PropertyCode code = tags.Next(reader, value.id);
      DecodePayload(reader, code, value);
    }
    if (!reader.ok()) break;
  }
  if (!tags.IsAtRunsEnd()) reader.Reject();
  STORE_TRY(reader.Finished());
  const uint64_t counted_bytes = CountedBytes(values_);
  if (counted_bytes > CEDB_MAXRECORDSIZE) return Status::kCorrupt;
  record = Record::Create(LowWord(key), values_, counted_bytes, arena);
  return Status::kOk;
}

}  // namespace objectstore
