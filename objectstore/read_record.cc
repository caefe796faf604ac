// See read_record.h.
#include "read_record.h"

#include <cstring>

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

// The block of a record has the layout that clients get; its pointers need to be moved, its measures taken out.
void CopyWholeRecord(const Record& record, BYTE* to) {
  std::memcpy(to, record.block(), record.block_bytes());
  BYTE* slot = to;
  for (const CEPROPVAL& stored : record.properties()) {
    CEPROPVAL value = stored;
    value.wLenData = 0;
    if (TypeOf(value.propid) == CEVT_LPWSTR) {
      const ptrdiff_t offset = reinterpret_cast<const BYTE*>(stored.val.lpwstr) - record.block();
      value.val.lpwstr = reinterpret_cast<WCHAR*>(to + offset);
    } else if (TypeOf(value.propid) == CEVT_BLOB) {
      value.val.blob.lpb = to + (stored.val.blob.lpb - record.block());
    }
    std::memcpy(slot, &value, sizeof value);
    slot += sizeof value;
  }
}

Status ReadAll(const Record& record, const ReadRequest& request) {
  STORE_TRY(ProvideBuffer(request, record.block_bytes()));
  if (record.block_bytes() != 0) CopyWholeRecord(record, *request.buffer);
  *request.count = static_cast<WORD>(record.properties().size());
  return Status::kOk;
}

Status ReadSelected(const Record& record, const ReadRequest& request) {
  const size_t count = *request.count;
  BlockSize size(count);
  bool found_one = false;
  for (size_t i = 0; i < count; ++i) {
    const CEPROPVAL* value = record.Find(request.ids[i]);
    if (value == nullptr) continue;
    size.Add(*value);
    found_one = true;
  }
  STORE_TRY(ProvideBuffer(request, size.bytes()));
  BYTE* block = request.buffer != nullptr ? *request.buffer : nullptr;
  BlockWriter writer(block, count, BlockUse::kDelivered);
  for (size_t i = 0; i < count; ++i) {
    const CEPROPVAL* value = record.Find(request.ids[i]);
    if (value != nullptr) {
      writer.Add(*value);
    } else {
      writer.AddAbsent(request.ids[i]);
    }
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
