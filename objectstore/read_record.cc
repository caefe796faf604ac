// See read_record.h.
#include "read_record.h"

#include "local_heap.h"

namespace objectstore {

namespace {

Status AllocateBuffer(const ReadRequest& request, size_t bytes, BYTE*& block) {
  void* made = block != nullptr ? LocalReAlloc(block, bytes, LMEM_MOVEABLE) : LocalAlloc(LMEM_FIXED, bytes);
  if (made == nullptr) return Status::kInsufficientBuffer;
  block = *request.buffer = static_cast<BYTE*>(made);
  return Status::kOk;
}

// Whether the client's block, if there is one, has room for so many bytes. The client learns their number either way.
inline bool FindRoom(BYTE* const* buffer, DWORD* size, size_t bytes, BYTE*& block) {
  block = buffer != nullptr ? *buffer : nullptr;
  const size_t capacity = block != nullptr ? *size : 0;
  *size = static_cast<DWORD>(bytes);
  return bytes <= capacity;
}

// Makes the client's buffer hold so many bytes. What it holds on failure stays the client's. For no bytes there may be
// no buffer: block is null then.
inline Status ProvideBuffer(const ReadRequest& request, size_t bytes, BYTE*& block) {
  if (FindRoom(request.buffer, request.size, bytes, block)) return Status::kOk;
  return request.may_allocate ? AllocateBuffer(request, bytes, block) : Status::kInsufficientBuffer;
}

// Writes properties that stand next to each other into a block that has room for them; the record's identifier.
[[gnu::noinline]] CEOID DeliverNeighbours(const Record& record, size_t first, size_t count, BYTE* block) {
  BlockWriter writer(block, count);
  for (size_t i = first; i < first + count; ++i) record.AddTo(writer, i);
  return record.oid();
}

// Properties that stand next to each other. None needs to be looked for.
Status ReadNeighbours(const Record& record, size_t first, size_t count, const ReadRequest& request) {
  size_t bytes = count * sizeof(CEPROPVAL);
  for (size_t i = first; i < first + count; ++i) bytes = record.BlockBytesBehind(bytes, i);
  BYTE* block = nullptr;
  STORE_TRY(ProvideBuffer(request, bytes, block));
  if (block == nullptr) return Status::kOk;  // there is nothing to read
  static_cast<void>(DeliverNeighbours(record, first, count, block));
  return Status::kOk;
}

// A record without properties fits into no buffer at all.
Status ReadAll(const Record& record, const ReadRequest& request) {
  const size_t count = record.property_count();
  STORE_TRY(ReadNeighbours(record, 0, count, request));
  *request.count = static_cast<WORD>(count);
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
    record.AddTo(writer, index);
    next = index + 1;
  }
  return found_one ? Status::kOk : Status::kNoData;
}

Status ReadAsked(const Record& record, const ReadRequest& request, size_t& hint) {
  if (request.ids == nullptr) return ReadAll(record, request);
  const std::span<const CEPROPID> ids(request.ids, *request.count);
  const size_t first = ids.empty() ? Record::kNowhere : record.IndexOf(ids.front(), hint);
  if (first == Record::kNowhere) return ReadSelected(record, request, hint);
  hint = first;
  return record.HasAt(first, ids) ? ReadNeighbours(record, first, ids.size(), request)
                                  : ReadSelected(record, request, hint);
}

[[gnu::noinline]] CEOID DeliverTexts(const Record& record, size_t first, size_t count, BYTE* block, size_t bytes) {
  record.PutTexts(first, count, block, bytes);
  return record.oid();
}

[[gnu::noinline]] CEOID DeliverOne(const Record& record, size_t index, BYTE* block) {
  if (!record.HasShortTextAt(index)) return DeliverNeighbours(record, index, 1, block);
  record.PutShortText(index, block);
  return record.oid();
}

// The client's block if it has room for so many bytes, of which there are some; null otherwise, with the last error set.
BYTE* BlockWithRoom(BYTE** buffer, DWORD* size, size_t bytes) {
  BYTE* block = nullptr;
  if (FindRoom(buffer, size, bytes, block)) return block;
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return nullptr;
}

[[gnu::noinline]] CEOID ReadAnyAtOnce(OpenDatabase& handle, WORD* count, const CEPROPID* ids, BYTE** buffer,
                                      DWORD* size) {
  const Record& record = handle.KnownRecord();
  const Status status = ReadAsked(record, {false, count, ids, buffer, size}, handle.property_hint);
  if (status == Status::kOk) return record.oid();
  SetLastError(static_cast<DWORD>(status));
  return 0;
}

[[gnu::noinline]] CEOID ReadTextsAtOnce(OpenDatabase& handle, WORD* count, const CEPROPID* ids, BYTE** buffer,
                                        DWORD* size) {
  const Record& record = handle.KnownRecord();
  const size_t first = handle.property_hint;
  const size_t bytes = ids != nullptr ? record.BlockBytesOfTexts(first, {ids, *count}) : 0;
  if (bytes == 0) return ReadAnyAtOnce(handle, count, ids, buffer, size);
  BYTE* const block = BlockWithRoom(buffer, size, bytes);
  return block != nullptr ? DeliverTexts(record, first, *count, block, bytes) : 0;
}

}  // namespace

// The usual reads are of one property, and of texts that stand next to each other. What they begin with takes no room on
// the stack, since most end with it: they ask for a size.
CEOID ReadAtOnce(OpenDatabase& handle, WORD* count, const CEPROPID* ids, BYTE** buffer, DWORD* size) noexcept {
  const Record& record = handle.KnownRecord();
  const size_t index = handle.property_hint;
  if (*count != 1 || ids == nullptr || !record.HasAt(index, *ids)) {
    return ReadTextsAtOnce(handle, count, ids, buffer, size);
  }
  BYTE* const block = BlockWithRoom(buffer, size, record.BlockBytesBehind(sizeof(CEPROPVAL), index));
  return block != nullptr ? DeliverOne(record, index, block) : 0;
}

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
