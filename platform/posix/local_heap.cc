// The local heap, on the C heap: every block has its size in front of it.
//
// Blocks start at a multiple of 16 bytes. They carry all that is known of them, so that a block from one library's copy
// of this file may be resized and freed by another's. Blocks may always move when they are resized.
#include "local_heap.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

struct alignas(16) BlockHead {
  size_t size;
};

static_assert(sizeof(BlockHead) == 16);
static_assert(alignof(std::max_align_t) >= alignof(BlockHead), "the C heap's blocks are aligned for the head");

constexpr size_t kLargestBlock = static_cast<size_t>(std::numeric_limits<ptrdiff_t>::max()) - sizeof(BlockHead);

BlockHead* HeadOf(void* block) { return static_cast<BlockHead*>(block) - 1; }

void* BlockOf(void* memory, size_t size) {
  if (memory == nullptr) {
    SetLastError(ERROR_OUTOFMEMORY);
    return nullptr;
  }
  BlockHead* head = static_cast<BlockHead*>(memory);
  head->size = size;
  return head + 1;
}

// The C library gives small blocks faster when it is not asked to clear them, large ones when it is: they come from the
// system, which has cleared them already.
void* AllocateCleared(size_t size) {
  constexpr size_t kLarge = 32768;
  if (size >= kLarge) return std::calloc(1, size);
  void* memory = std::malloc(size);
  return memory != nullptr ? std::memset(memory, 0, size) : nullptr;
}

}  // namespace

extern "C" void* LocalAlloc(DWORD flags, size_t size) {
  if (size > kLargestBlock) return BlockOf(nullptr, size);
  const size_t whole = sizeof(BlockHead) + size;
  return BlockOf((flags & LMEM_ZEROINIT) != 0 ? AllocateCleared(whole) : std::malloc(whole), size);
}

extern "C" void* LocalReAlloc(void* block, size_t size, DWORD flags) {
  if (block == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  if (size > kLargestBlock) return BlockOf(nullptr, size);
  const size_t old_size = HeadOf(block)->size;
  void* resized = BlockOf(std::realloc(HeadOf(block), sizeof(BlockHead) + size), size);
  if (resized != nullptr && size > old_size && (flags & LMEM_ZEROINIT) != 0) {
    std::memset(static_cast<char*>(resized) + old_size, 0, size - old_size);
  }
  return resized;
}

extern "C" size_t LocalSize(void* block) { return block == nullptr ? 0 : HeadOf(block)->size; }

extern "C" void* LocalFree(void* block) {
  if (block != nullptr) std::free(HeadOf(block));
  return nullptr;
}
