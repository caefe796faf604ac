// The clock is the system's.
#include "clock.h"

#include "system.h"

extern "C" void GetSystemTime(SYSTEMTIME* time) {
  uint16_t parts[8];
  windows::Time(parts);
  *time = SYSTEMTIME{parts[0], parts[1], parts[2], parts[3], parts[4], parts[5], parts[6], parts[7]};
}
