// See read_record.h.
#include "read_record.h"

#include "local_heap.h"

namespace objectstore {

namespace {

// Makes the client's buffer hold so many bytes. What it holds on failure stays the client's.
Status ProvideBuffer(const ReadRequest& request, size_t bytes) {
  const bool has_buffer = request.buffer != nullptr && *request.buffer != nullptr;
  const size_t capacity = has_buffer ? *request.size : 0;
  *request.size = static_cast<DWORD>(bytes);
  if (bytes <= capacity) return Status::kOk;
  if (!request.may_allocate) return Status::kInsufficientBuffer;
  void* block = has_buffer ? LocalReAlloc(*request.buffer, bytes, LMEM_MOVEABLE) : LocalAlloc(LMEM_FIXED, bytes);
  if (block == nullptr) return Status::kInsufficientBuffer;
  *request.buffer = static_cast<BYTE*>(block);
  return Status::kOk;
}

Status ReadAll(const Record& record, const ReadRequest& request) {
  const size_t count = record.property_count();
  BlockSize size(count);
  for (size_t i = 0; i < count; ++i) size.Add(record.At(i));
  STORE_TRY(ProvideBuffer(request, size.bytes()));
  BlockWriter writer(request.buffer != nullptr ? *request.buffer : nullptr, count);
  for (size_t i = 0; i < count; ++i) writer.Add(record.At(i));
  *request.count = static_cast<WORD>(count);
  return Status::kOk;
}

// Clients ask for properties in the order in which they stand, or for one: the place behind the last that was found is
// where the next one is looked for first.
Status ReadSelected(const Record& record, const ReadRequest& request) {
  const size_t count = *request.count;
  BlockSize size(count);
  size_t next = 0;
  bool found_one = false;
  for (size_t i = 0; i < count; ++i) {
    const size_t index = record.IndexOf(request.ids[i], next);
    if (index == Record::kNowhere) continue;
    size.Add(record.At(index));
    next = index + 1;
    found_one = true;
  }
  STORE_TRY(ProvideBuffer(request, size.bytes()));
  BlockWriter writer(request.buffer != nullptr ? *request.buffer : nullptr, count);
  next = 0;
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

}  // namespace

Status ReadRecord(OpenDatabase& handle, const ReadRequest& request, CEOID& oid) {
  if (request.count == nullptr || request.size == nullptr) return Status::kInvalidParameter;
  if (request.may_allocate && request.buffer == nullptr) return Status::kInvalidParameter;
  const Record* record = nullptr;
  STORE_TRY(handle.Current(record));
  const CEOID current = record->oid();
  const Status status = request.ids == nullptr ? ReadAll(*record, request) : ReadSelected(*record, request);
  if (status == Status::kOk || status == Status::kNoData) handle.StepAfterRead();
  if (status == Status::kOk) oid = current;
  return status;
}

}  // namespace objectstore
