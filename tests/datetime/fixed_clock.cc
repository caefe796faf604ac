// The linker leads the engine's calls of GetSystemTime here.
#include "fixed_clock.h"

#include <gtest/gtest.h>

#include "clock.h"

namespace {

int fixed_year = 0;
int reads = 0;

}  // namespace

extern "C" void __wrap_GetSystemTime(SYSTEMTIME* time) {
  if (fixed_year == 0) ADD_FAILURE() << "the clock was read where no test fixed it";
  ++reads;
  *time = SYSTEMTIME{static_cast<WORD>(fixed_year), 7, 3, 15, 12, 30, 45, 500};
}

FixedClock::FixedClock(int year) {
  fixed_year = year;
  reads = 0;
}

FixedClock::~FixedClock() { fixed_year = 0; }

int FixedClock::Reads() const { return reads; }
