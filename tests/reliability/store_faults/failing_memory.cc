// See failing_memory.h. The local heap is put behind the linker's --wrap.
#include "failing_memory.h"

#include <sqlite3.h>
#include <unicode/uclean.h>

#include "faults.h"
#include "local_heap.h"

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include <cstdlib>
#include <new>

namespace {

bool Fails() { return faults::Ask(faults::Operation::kMemory).has_value(); }

// ICU itself loses some of its blocks when a later one of its allocations fails; those are no leaks of ours.
void* NotOurLeak(void* block) {
#if defined(__SANITIZE_ADDRESS__)
  if (block != nullptr && faults::Armed()) __lsan_ignore_object(block);
#endif
  return block;
}

void* IcuAllocate(const void*, size_t size) { return Fails() ? nullptr : NotOurLeak(std::malloc(size)); }
void* IcuReallocate(const void*, void* block, size_t size) {
  return Fails() ? nullptr : NotOurLeak(std::realloc(block, size));
}
void IcuFree(const void*, void* block) { std::free(block); }

sqlite3_mem_methods real_memory;

void* SqliteAllocate(int size) { return Fails() ? nullptr : real_memory.xMalloc(size); }
void* SqliteReallocate(void* block, int size) { return Fails() ? nullptr : real_memory.xRealloc(block, size); }

// Without the lookaside buffers every block comes from here, and none hides a shortage.
bool InstallInSqlite() {
  if (sqlite3_config(SQLITE_CONFIG_GETMALLOC, &real_memory) != SQLITE_OK) return false;
  sqlite3_mem_methods failing = real_memory;
  failing.xMalloc = SqliteAllocate;
  failing.xRealloc = SqliteReallocate;
  return sqlite3_config(SQLITE_CONFIG_MALLOC, &failing) == SQLITE_OK &&
         sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0) == SQLITE_OK;
}

bool InstallInIcu() {
  UErrorCode status = U_ZERO_ERROR;
  u_setMemoryFunctions(nullptr, IcuAllocate, IcuReallocate, IcuFree, &status);
  return U_SUCCESS(status);
}

}  // namespace

bool faults::MemoryMayFail() {
  static const bool installed = InstallInIcu() && InstallInSqlite();
  return installed;
}

int64_t faults::BytesOfSqlite() { return sqlite3_memory_used(); }

void* operator new(size_t size) {
  void* block = Fails() ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }

// Of their own, since the address sanitizer has some that do not come by here.
void* operator new[](size_t size) { return operator new(size); }
void operator delete[](void* block) noexcept { operator delete(block); }
void operator delete[](void* block, size_t) noexcept { operator delete(block); }

extern "C" {

void* __real_LocalAlloc(DWORD flags, size_t size);
void* __real_LocalReAlloc(void* block, size_t size, DWORD flags);

void* __wrap_LocalAlloc(DWORD flags, size_t size) { return Fails() ? nullptr : __real_LocalAlloc(flags, size); }
void* __wrap_LocalReAlloc(void* block, size_t size, DWORD flags) {
  return Fails() ? nullptr : __real_LocalReAlloc(block, size, flags);
}

}  // extern "C"
