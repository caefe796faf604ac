// The records that stay in a filtered view whether or not they match: an unordered array on the local heap.
#include "keep_list.h"

#include <limits>

#include "local_memory.h"
#include "mdb_try.h"

namespace mdb {

constexpr uint32_t kGrowth = 1024;  // bytes

// The recorded capacity starts at 0 even when a block exists, new or kept across a sort, so the first entry resizes it.
// It is raised until everything fits: a block is never made smaller than its contents.
static MDbStatus EnsureRoom(MDbRecset* recset) {
  if (recset->keepList == nullptr) {
    recset->keepList = static_cast<uint32_t*>(MemAlloc(kGrowth));
    if (recset->keepList == nullptr) return MDbStatusFailed;
  }
  const auto needed = static_cast<uint32_t>((recset->keepCount + 1) * static_cast<int32_t>(sizeof(CEOID)));
  if (recset->keepCapacity >= needed) return MDbStatusOk;
  uint32_t capacity = recset->keepCapacity;
  while (capacity < needed) capacity += kGrowth;
  void* grown = MemRealloc(recset->keepList, capacity);
  if (grown == nullptr) return MDbStatusFailed;
  recset->keepList = static_cast<uint32_t*>(grown);
  recset->keepCapacity = capacity;
  return MDbStatusOk;
}

MDbStatus AddToKeepList(MDbRecset* recset, CEOID oid) {
  // The count is 16 bits. A list that is full of repeated edits still holds every record it was given.
  if (recset->keepCount == std::numeric_limits<int16_t>::max()) return StatusOf(IsInKeepList(*recset, oid));
  MDB_TRY(EnsureRoom(recset));
  recset->keepList[recset->keepCount++] = oid;
  return MDbStatusOk;
}

// The entry that moves into a removed one's place is not looked at again: a record that was added twice in a row at the
// end keeps one entry. Pinned by KeepList.TheEntryMovedIntoAGapIsNotLookedAtAgain.
void RemoveFromKeepList(MDbRecset* recset, CEOID oid) {
  for (int16_t i = 0; i < recset->keepCount; ++i) {
    if (recset->keepList[i] != oid) continue;
    --recset->keepCount;
    if (recset->keepCount > 0) recset->keepList[i] = recset->keepList[recset->keepCount];
  }
}

}  // namespace mdb
