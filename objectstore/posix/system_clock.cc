// See description.h: the current time.
#include <time.h>

#include "description.h"

namespace objectstore {

// As fine as the system keeps the times of its files, where it has a clock for that: every write asks.
uint64_t CurrentTime() {
  constexpr uint64_t kStepsPerSecond = 10'000'000;
  constexpr uint64_t kFrom1601To1970 = 11'644'473'600 * kStepsPerSecond;
#if defined(CLOCK_REALTIME_COARSE)
  constexpr clockid_t kClock = CLOCK_REALTIME_COARSE;
#else
  constexpr clockid_t kClock = CLOCK_REALTIME;
#endif
  timespec now = {};
  clock_gettime(kClock, &now);
  return kFrom1601To1970 + static_cast<uint64_t>(now.tv_sec) * kStepsPerSecond +
         static_cast<uint64_t>(now.tv_nsec) / 100;
}

}  // namespace objectstore
