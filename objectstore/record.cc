// See record.h.
#include "record.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace objectstore {

void* RecordArena::Allocate(size_t bytes) {
  constexpr size_t kSmallestChunk = 4 * 1024;
  constexpr size_t kLargestChunk = 256 * 1024;
  constexpr size_t kAlignment = alignof(Record);
  bytes = (bytes + kAlignment - 1) / kAlignment * kAlignment;
  if (bytes > left_) {
    const size_t chunk = std::max(bytes, std::clamp(bytes_, kSmallestChunk, kLargestChunk));
    chunks_.push_back(std::unique_ptr<std::byte[]>(new std::byte[chunk]));
    next_ = chunks_.back().get();
    left_ = chunk;
  }
  left_ -= bytes;
  bytes_ += bytes;
  return std::exchange(next_, next_ + bytes);
}

void RecordArena::Swap(RecordArena& other) {
  chunks_.swap(other.chunks_);
  std::swap(next_, other.next_);
  std::swap(left_, other.left_);
  std::swap(bytes_, other.bytes_);
}

Record::Form Record::FormOf(const Value& value) {
  if (IsText(value.id)) return value.narrow ? Form::kNarrowText : Form::kWideText;
  if (IsBlob(value.id)) return Form::kBlob;
  return FixedWidth(value.id) <= sizeof(Property::value) ? Form::kNumber : Form::kLongNumber;
}

size_t Record::BytesOf(Form form, size_t length) {
  switch (form) {
    case Form::kNumber:
      return 0;
    case Form::kLongNumber:
      return sizeof(uint64_t);
    case Form::kNarrowText:
    case Form::kWideText:
      return BytesOfText(length, form == Form::kNarrowText);
    case Form::kBlob:
      return length;
  }
  return 0;
}

RecordRef Record::Create(CEOID oid, std::span<const Value> values, RecordArena* arena) {
  return Create(oid, values, CountedBytes(values), arena);
}

RecordRef Record::Create(CEOID oid, std::span<const Value> values, uint64_t counted_bytes, RecordArena* arena) {
  size_t bytes = sizeof(Record) + values.size() * sizeof(Property);
  for (const Value& value : values) bytes += BytesOf(FormOf(value), value.length);
  void* memory = arena != nullptr ? arena->Allocate(bytes) : ::operator new(bytes);
  auto* record = new (memory) Record(oid, values.size(), static_cast<size_t>(counted_bytes), arena != nullptr);
  Fill(values, record->Properties());
  return RecordRef(record);
}

void Record::Fill(std::span<const Value> values, Property* properties) {
  auto* bytes = reinterpret_cast<uint8_t*>(properties + values.size());
  uint32_t offset = 0;
  for (const Value& value : values) {
    const Form form = FormOf(value);
    auto* property = new (properties++) Property{value.id, static_cast<uint16_t>(value.length), form, offset};
    const size_t size = BytesOf(form, value.length);
    if (form == Form::kNumber) {
      property->value = static_cast<uint32_t>(value.number);
    } else if (form == Form::kLongNumber) {
      std::memcpy(bytes + offset, &value.number, size);
    } else if (value.client != nullptr) {
      StoreUnits(value.client, value.length, value.narrow, bytes + offset);
    } else if (value.bytes != nullptr) {
      std::memcpy(bytes + offset, value.bytes, size);
    } else {
      std::memset(bytes + offset, 0, size);
    }
    offset += static_cast<uint32_t>(size);
  }
}

bool Record::SameAt(size_t index, const Record& other) const {
  const Property& own = Properties()[index];
  const Property& others = other.Properties()[index];
  if (own.id != others.id || own.form != others.form || own.length != others.length) return false;
  if (own.form == Form::kNumber) return own.value == others.value;
  const size_t size = BytesOf(own.form, own.length);
  return size == 0 || std::memcmp(Bytes() + own.value, other.Bytes() + others.value, size) == 0;
}

void Record::Release() {
  if (--references_ != 0) return;
  const bool own_allocation = !in_arena_;
  this->~Record();
  if (own_allocation) ::operator delete(this);
}

uint64_t CountedBytes(std::span<const Value> values) {
  uint64_t bytes = kRecordOverheadBytes;
  for (const Value& value : values) bytes += kPropertyOverheadBytes + PayloadBytes(value.id, value.length);
  return bytes;
}

void AppendValues(const Record& record, std::vector<Value>& values) {
  for (size_t i = 0; i < record.property_count(); ++i) values.push_back(record.At(i));
}

CEPROPID ChangeBetween(const Record& before, const Record& after) {
  if (before.property_count() != after.property_count()) return kChangedWhole;
  CEPROPID changed = kUnchanged;
  for (size_t i = 0; i < after.property_count(); ++i) {
    if (after.SameAt(i, before)) continue;
    const CEPROPID id = after.IdAt(i);
    if (changed != kUnchanged || before.IdAt(i) != id || FixedWidth(id) != sizeof(uint32_t)) return kChangedWhole;
    changed = id;
  }
  return changed;
}

}  // namespace objectstore
