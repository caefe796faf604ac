// See record.h.
#include "record.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace objectstore {

RecordRef Record::Create(CEOID oid, std::span<const CEPROPVAL> values) {
  BlockSize size(values.size());
  for (const CEPROPVAL& value : values) size.Add(value);
  void* memory = ::operator new(sizeof(Record) + size.bytes());
  auto* record = new (memory) Record(oid, static_cast<uint32_t>(values.size()), static_cast<uint32_t>(size.bytes()),
                                     static_cast<uint32_t>(CountedBytes(values)));
  BYTE* block = static_cast<BYTE*>(memory) + sizeof(Record);
  std::memset(block, 0, size.bytes());  // the bytes between payloads reach clients
  BlockWriter writer(block, values.size(), BlockUse::kStored);
  for (const CEPROPVAL& value : values) writer.Add(value);
  return RecordRef(record);
}

const CEPROPVAL* Record::Find(CEPROPID id) const {
  for (const CEPROPVAL& value : properties()) {
    if (value.propid == id) return &value;
  }
  return nullptr;
}

void Record::PatchFixed(const CEPROPVAL* value, uint32_t number) {
  auto* target = reinterpret_cast<CEPROPVAL*>(reinterpret_cast<BYTE*>(this + 1)) + (value - Values());
  std::memcpy(&target->val, &number, sizeof number);
}

void Record::Release() {
  if (--references_ != 0) return;
  this->~Record();
  ::operator delete(this);
}

uint64_t CountedBytes(std::span<const CEPROPVAL> values) {
  uint64_t bytes = kRecordOverheadBytes;
  for (const CEPROPVAL& value : values) bytes += kPropertyOverheadBytes + PayloadBytes(value);
  return bytes;
}

CEPROPID ChangeBetween(const Record& before, const Record& after) {
  const auto old_values = before.properties();
  const auto new_values = after.properties();
  if (old_values.size() != new_values.size()) return kChangedWhole;
  CEPROPID changed = kUnchanged;
  for (size_t i = 0; i < new_values.size(); ++i) {
    if (SameValue(old_values[i], new_values[i])) continue;
    const CEPROPID id = new_values[i].propid;
    if (changed != kUnchanged || old_values[i].propid != id || FixedWidth(id) != sizeof(uint32_t)) return kChangedWhole;
    changed = id;
  }
  return changed;
}

}  // namespace objectstore
