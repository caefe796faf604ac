// See allocation_watch.h. This program's operator new stands in front of the library's; everything else is asked of the
// C heap and of SQLite.
#include "allocation_watch.h"

#include <malloc.h>
#include <sqlite3.h>

#include <atomic>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__)
extern "C" size_t __sanitizer_get_current_allocated_bytes();  // not every compiler brings the header
#endif

namespace {

std::atomic<size_t> largest_request{0};

}  // namespace

void* operator new(size_t size) {
  size_t largest = largest_request.load();
  while (size > largest && !largest_request.compare_exchange_weak(largest, size)) {
  }
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }

namespace places {

size_t HeldBytes() {
#if defined(__SANITIZE_ADDRESS__)
  return __sanitizer_get_current_allocated_bytes();
#else
  return mallinfo2().uordblks;
#endif
}

void StartWatchingRequests() {
  largest_request = 0;
  static_cast<void>(sqlite3_memory_highwater(1));
}

size_t LargestRequest() { return largest_request; }
size_t MostHeldBySqlite() { return static_cast<size_t>(sqlite3_memory_highwater(0)); }

}  // namespace places
