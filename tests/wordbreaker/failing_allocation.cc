#include "failing_allocation.h"

#include <unicode/uclean.h>

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

void* IcuAllocate(const void*, size_t size) { return TakeAllocation() ? std::malloc(size) : nullptr; }
void* IcuReallocate(const void*, void* block, size_t size) {
  return TakeAllocation() ? std::realloc(block, size) : nullptr;
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
