// Whether the process has a second thread, and a guard that costs nothing while it has none: an uncontended lock takes
// longer than many a call that it guards.
#pragma once

#if defined(__has_include)
#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#define PLATFORM_COUNTS_THREADS 1
#endif
#endif

// True only while the process has no second thread. Hosts that cannot tell answer false.
inline bool ProcessHasOneThread() {
#if defined(PLATFORM_COUNTS_THREADS)
  return __libc_single_threaded != 0;
#else
  return false;
#endif
}

// Holds a mutex for a scope, if there is another thread that it could keep out. Whoever holds it starts no threads, so
// that the process cannot get a second one in between.
template <typename Mutex>
class HoldAmongThreads {
 public:
  explicit HoldAmongThreads(Mutex& mutex) : mutex_(ProcessHasOneThread() ? nullptr : &mutex) {
    if (mutex_ != nullptr) mutex_->lock();
  }
  ~HoldAmongThreads() {
    if (mutex_ != nullptr) mutex_->unlock();
  }
  HoldAmongThreads(const HoldAmongThreads&) = delete;
  HoldAmongThreads& operator=(const HoldAmongThreads&) = delete;

 private:
  Mutex* mutex_;
};
