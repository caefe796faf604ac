#include "failing_allocation.h"

#include <unicode/uclean.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include <cstdlib>
#include <new>

namespace {

thread_local long allocations_left = kAllAllocations;

bool TakeAllocation() {
  if (allocations_left == kAllAllocations) return true;
  if (allocations_left == 0) return false;
  --allocations_left;
  return true;
}

// ICU itself loses some of its blocks when a later one of its allocations fails; those are no leaks of ours.
void* NotOurLeak(void* block) {
#if defined(__SANITIZE_ADDRESS__)
  if (block != nullptr && allocations_left != kAllAllocations) __lsan_ignore_object(block);
#endif
  return block;
}

void* IcuAllocate(const void*, size_t size) { return TakeAllocation() ? NotOurLeak(std::malloc(size)) : nullptr; }
void* IcuReallocate(const void*, void* block, size_t size) {
  return TakeAllocation() ? NotOurLeak(std::realloc(block, size)) : nullptr;
}
void IcuFree(const void*, void* block) { std::free(block); }

const bool installed = [] {
  UErrorCode status = U_ZERO_ERROR;
  u_setMemoryFunctions(nullptr, IcuAllocate, IcuReallocate, IcuFree, &status);
  return U_SUCCESS(status);
}();

}  // namespace

void AllowAllocations(long count) { allocations_left = count; }
long AllowedAllocations() { return allocations_left; }
bool IcuAllocationsMayFail() { return installed; }

void* operator new(size_t size) {
  void* block = TakeAllocation() ? std::malloc(size == 0 ? 1 : size) : nullptr;
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }

// Of their own, since the address sanitizer has some that do not come by here.
void* operator new[](size_t size) { return operator new(size); }
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete[](void* block, size_t) noexcept { operator delete(block); }
