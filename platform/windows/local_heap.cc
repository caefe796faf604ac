// The local heap is the system's. Its numbers for short memory are more than one; the platform's is one.
#include "local_heap.h"

#include "system.h"

namespace {

void* OrOutOfMemory(void* block) {
  if (block == nullptr) SetLastError(ERROR_OUTOFMEMORY);
  return block;
}

}  // namespace

extern "C" void* LocalAlloc(DWORD flags, size_t size) {
  return OrOutOfMemory(windows::AllocateBlock(size, (flags & LMEM_ZEROINIT) != 0));
}

extern "C" void* LocalReAlloc(void* block, size_t size, DWORD flags) {
  if (block == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  return OrOutOfMemory(windows::ResizeBlock(block, size, (flags & LMEM_ZEROINIT) != 0));
}

extern "C" size_t LocalSize(void* block) { return block == nullptr ? 0 : windows::SizeOfBlock(block); }

extern "C" void* LocalFree(void* block) {
  if (block != nullptr) windows::FreeBlock(block);
  return nullptr;
}
