// See read_record.h.
#include "read_record.h"

#include "local_heap.h"

namespace objectstore {

namespace {

// Makes the client's buffer hold so many bytes. What it holds on failure stays the client's. For no bytes there may be no
// buffer: block is null then.
Status ProvideBuffer(const ReadRequest& request, size_t bytes, BYTE*& block) {
  const bool has_buffer = request.buffer != nullptr && *request.buffer != nullptr;
  const size_t capacity = has_buffer ? *request.size : 0;
  *request.size = static_cast<DWORD>(bytes);
  block = has_buffer ? *request.buffer : nullptr;
  if (bytes <= capacity) return Status::kOk;
  if (!request.may_allocate) return Status::kInsufficientBuffer;
  void* made = has_buffer ? LocalReAlloc(block, bytes, LMEM_MOVEABLE) : LocalAlloc(LMEM_FIXED, bytes);
  if (made == nullptr) return Status::kInsufficientBuffer;
  block = *request.buffer = static_cast<BYTE*>(made);
  return Status::kOk;
}

Status ReadAll(const Record& record, const ReadRequest& request) {
  const size_t count = record.property_count();
  size_t bytes = count * sizeof(CEPROPVAL);
  for (size_t i = 0; i < count; ++i) bytes = record.BlockBytesBehind(bytes, i);
  BYTE* block = nullptr;
  STORE_TRY(ProvideBuffer(request, bytes, block));
  *request.count = static_cast<WORD>(count);
  if (block == nullptr) return Status::kOk;
  BlockWriter writer(block, count);
  for (size_t i = 0; i < count; ++i) writer.Add(record.At(i));
  return Status::kOk;
}

// Clients ask for properties in the order in which they stand, or for one: the place behind the last that was found is
// where the next one is looked for first.
Status ReadSelected(const Record& record, const ReadRequest& request, size_t& hint) {
  const size_t count = *request.count;
  size_t bytes = count * sizeof(CEPROPVAL);
  size_t next = hint;
  bool found_one = false;
  for (size_t i = 0; i < count; ++i) {
    const size_t index = record.IndexOf(request.ids[i], next);
    if (index == Record::kNowhere) continue;
    bytes = record.BlockBytesBehind(bytes, index);
    next = index + 1;
    if (!found_one) hint = index;
    found_one = true;
  }
  BYTE* block = nullptr;
  STORE_TRY(ProvideBuffer(request, bytes, block));
  if (block == nullptr) return Status::kNoData;  // nothing was asked for
  BlockWriter writer(block, count);
  next = hint;
  for (size_t i = 0; i < count; ++i) {
    const size_t index = record.IndexOf(request.ids[i], next);
    if (index == Record::kNowhere) {
      writer.AddAbsent(request.ids[i]);
      continue;
    }
    writer.Add(record.At(index));
    next = index + 1;
  }
  return found_one ? Status::kOk : Status::kNoData;
}

// The usual request, for one property that the record has; the same steps without loops.
Status ReadOne(const Record& record, size_t index, const ReadRequest& request, size_t& hint) {
  hint = index;
  BYTE* block = nullptr;
  STORE_TRY(ProvideBuffer(request, record.BlockBytesBehind(sizeof(CEPROPVAL), index), block));
  if (block == nullptr) return Status::kInsufficientBuffer;
  BlockWriter writer(block, 1);
  writer.Add(record.At(index));
  return Status::kOk;
}

Status ReadAsked(const Record& record, const ReadRequest& request, size_t& hint) {
  if (request.ids == nullptr) return ReadAll(record, request);
  if (*request.count != 1) return ReadSelected(record, request, hint);
  const size_t index = record.IndexOf(request.ids[0], hint);
  return index != Record::kNowhere ? ReadOne(record, index, request, hint) : ReadSelected(record, request, hint);
}

}  // namespace

Status ReadRecord(OpenDatabase& handle, const ReadRequest& request, CEOID& oid) {
  if (request.count == nullptr || request.size == nullptr) return Status::kInvalidParameter;
  if (request.may_allocate && request.buffer == nullptr) return Status::kInvalidParameter;
  const Record* record = nullptr;
  STORE_TRY(handle.Current(record));
  const CEOID current = record->oid();
  const Status status = ReadAsked(*record, request, handle.property_hint);
  if (status == Status::kOk || status == Status::kNoData) handle.StepAfterRead();
  if (status == Status::kOk) oid = current;
  return status;
}

}  // namespace objectstore
