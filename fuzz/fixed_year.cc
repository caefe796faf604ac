// The linker leads the engine's calls of GetSystemTime here.
#include "fixed_year.h"

#include "clock.h"

namespace {

int current_year = 2024;

}  // namespace

namespace fuzz {

void SetCurrentYear(int year) { current_year = year; }

}  // namespace fuzz

extern "C" void __wrap_GetSystemTime(SYSTEMTIME* time);  // the name is the linker's
extern "C" void __wrap_GetSystemTime(SYSTEMTIME* time) {
  *time = SYSTEMTIME{static_cast<WORD>(current_year), 7, 3, 15, 12, 30, 45, 500};
}
