// Temporary memory on the platform's local heap.
#include "local_memory.h"

#include "local_heap.h"

namespace mdb {

// The platform may answer a request for 0 bytes with null, which would read as memory being short.
constexpr size_t kSmallestBlock = 2;

static size_t AtLeastSmallest(size_t size_bytes) { return size_bytes == 0 ? kSmallestBlock : size_bytes; }

void* MemAlloc(size_t size_bytes) { return LocalAlloc(LMEM_ZEROINIT, AtLeastSmallest(size_bytes)); }

void MemFree(void* block) {
  if (block != nullptr) LocalFree(block);
}

void* MemLock(void* block) { return block; }

void MemUnlock(void*) {}

size_t MemSize(void* block) { return LocalSize(block); }

void* MemRealloc(void* block, size_t size_bytes) {
  return LocalReAlloc(block, AtLeastSmallest(size_bytes), LMEM_MOVEABLE);
}

}  // namespace mdb
