// The local heap, on the C heap: every block has its size in front of it.
//
// Blocks start at a multiple of 16 bytes. They carry all that is known of them, so that a block from one library's copy
// of this file may be resized and freed by another's. Blocks may always move when they are resized.
//
// Whoever reads records takes and frees blocks of the same few sizes all the time. While the process has one thread,
// small blocks that were freed are kept for that, up to a bound; the C heap takes several times as long.
#include "local_heap.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "process_threads.h"

#if __has_include(<sanitizer/asan_interface.h>)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(place, bytes) static_cast<void>(0)
#define ASAN_UNPOISON_MEMORY_REGION(place, bytes) static_cast<void>(0)
#endif

namespace {

struct alignas(16) BlockHead {
  size_t size;   // that was asked for
  size_t steps;  // of the whole block, when it may be kept; else 0
};

static_assert(sizeof(BlockHead) == 16);
static_assert(alignof(std::max_align_t) >= alignof(BlockHead), "the C heap's blocks are aligned for the head");

constexpr size_t kLargestBlock = static_cast<size_t>(std::numeric_limits<ptrdiff_t>::max()) - sizeof(BlockHead);

BlockHead* HeadOf(void* block) { return static_cast<BlockHead*>(block) - 1; }

void* BlockOf(void* memory, size_t size, size_t steps) {
  if (memory == nullptr) {
    SetLastError(ERROR_OUTOFMEMORY);
    return nullptr;
  }
  return new (memory) BlockHead{size, steps} + 1;
}

// Kept blocks are whole steps long, so that there are few lists and each has blocks of one length. A step is a line of
// the processor's cache and begins like one: nothing that is cleared or copied in large pieces lies across two.
constexpr size_t kStepBytes = 64;
constexpr size_t kMostSteps = 64;
constexpr size_t kMostKeptSteps = 1024;

struct KeptBlock {
  KeptBlock* next;
};

constinit KeptBlock* kept_blocks[kMostSteps + 1] = {};
constinit size_t kept_steps = 0;

size_t StepsFor(size_t whole) { return (whole + kStepBytes - 1) / kStepBytes; }

bool IsSmall(size_t size) { return size <= kMostSteps * kStepBytes - sizeof(BlockHead); }

void* TakeKept(size_t steps) {
  KeptBlock* const kept = kept_blocks[steps];
  if (kept == nullptr) return nullptr;
  ASAN_UNPOISON_MEMORY_REGION(kept, steps * kStepBytes);
  kept_blocks[steps] = kept->next;
  kept_steps -= steps;
  return kept;
}

// The address sanitizer sees who uses a block that is kept, or what lies behind the size that was asked for.
bool Keep(BlockHead* head) {
  const size_t steps = head->steps;
  if (steps == 0 || kept_steps + steps > kMostKeptSteps || !ProcessHasOneThread()) return false;
  ASAN_UNPOISON_MEMORY_REGION(head, steps * kStepBytes);
  kept_blocks[steps] = new (head) KeptBlock{kept_blocks[steps]};
  kept_steps += steps;
  ASAN_POISON_MEMORY_REGION(head + 1, steps * kStepBytes - sizeof(BlockHead));
  return true;
}

constexpr size_t kFewSteps = 8;

// A compiler that knows how few bytes it is at most would take an instruction that is slow to begin.
void* (*const volatile memset_of_the_library)(void*, int, size_t) = std::memset;

// At least one. Few steps take no call.
[[gnu::always_inline]] inline void ClearSteps(void* memory, size_t steps) {
  if (steps > kFewSteps) {
    memset_of_the_library(memory, 0, steps * kStepBytes);
    return;
  }
  auto* bytes = static_cast<char*>(memory);
  const char* const end = bytes + steps * kStepBytes;
  do {
    std::memset(bytes, 0, kStepBytes);
    bytes += kStepBytes;
  } while (bytes != end);
}

// Whole steps of memory as a block of the size that was asked for.
[[gnu::always_inline]] inline void* SmallBlockOf(void* memory, DWORD flags, size_t size, size_t steps) {
  if ((flags & LMEM_ZEROINIT) != 0) ClearSteps(memory, steps);
  void* const block = new (memory) BlockHead{size, steps} + 1;
  ASAN_POISON_MEMORY_REGION(static_cast<char*>(block) + size, steps * kStepBytes - sizeof(BlockHead) - size);
  return block;
}

[[gnu::noinline]] void* Allocate(DWORD flags, size_t size) {
  if (size > kLargestBlock) return BlockOf(nullptr, size, 0);
  const size_t whole = sizeof(BlockHead) + size;
  if (!IsSmall(size)) {
    return BlockOf((flags & LMEM_ZEROINIT) != 0 ? std::calloc(1, whole) : std::malloc(whole), size, 0);
  }
  const size_t steps = StepsFor(whole);
  void* memory = ProcessHasOneThread() ? TakeKept(steps) : nullptr;
  if (memory == nullptr) memory = std::aligned_alloc(kStepBytes, steps * kStepBytes);
  return memory != nullptr ? SmallBlockOf(memory, flags, size, steps) : BlockOf(nullptr, size, 0);
}

}  // namespace

// A kept block of few steps, as most are, takes no call.
extern "C" void* LocalAlloc(DWORD flags, size_t size) {
  if (size > kFewSteps * kStepBytes - sizeof(BlockHead) || !ProcessHasOneThread()) return Allocate(flags, size);
  const size_t steps = StepsFor(sizeof(BlockHead) + size);
  void* const memory = TakeKept(steps);
  return memory != nullptr ? SmallBlockOf(memory, flags, size, steps) : Allocate(flags, size);
}

// A resized block is as long as it has to be, and is not kept.
extern "C" void* LocalReAlloc(void* block, size_t size, DWORD flags) {
  if (block == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  if (size > kLargestBlock) return BlockOf(nullptr, size, 0);
  const size_t old_size = HeadOf(block)->size;
  ASAN_UNPOISON_MEMORY_REGION(HeadOf(block), HeadOf(block)->steps * kStepBytes);
  void* resized = BlockOf(std::realloc(HeadOf(block), sizeof(BlockHead) + size), size, 0);
  if (resized != nullptr && size > old_size && (flags & LMEM_ZEROINIT) != 0) {
    std::memset(static_cast<char*>(resized) + old_size, 0, size - old_size);
  }
  return resized;
}

extern "C" size_t LocalSize(void* block) { return block == nullptr ? 0 : HeadOf(block)->size; }

extern "C" void* LocalFree(void* block) {
  if (block == nullptr || Keep(HeadOf(block))) return nullptr;
  ASAN_UNPOISON_MEMORY_REGION(HeadOf(block), HeadOf(block)->steps * kStepBytes);
  std::free(HeadOf(block));
  return nullptr;
}
