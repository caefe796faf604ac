// The clock: the current date and time, UTC, cut to milliseconds.
//
// A clock that cannot be read, or a year that does not fit, gives the first moment of 1601, the zero of the platform's
// file times.
#include "clock.h"

#include <time.h>

extern "C" void GetSystemTime(SYSTEMTIME* time) {
  timespec now;
  tm parts;
  if (clock_gettime(CLOCK_REALTIME, &now) != 0 || gmtime_r(&now.tv_sec, &parts) == nullptr || parts.tm_year < -299 ||
      parts.tm_year > UINT16_MAX - 1900) {
    *time = SYSTEMTIME{1601, 1, 1, 1, 0, 0, 0, 0};
    return;
  }
  time->wYear = static_cast<WORD>(parts.tm_year + 1900);
  time->wMonth = static_cast<WORD>(parts.tm_mon + 1);
  time->wDayOfWeek = static_cast<WORD>(parts.tm_wday);
  time->wDay = static_cast<WORD>(parts.tm_mday);
  time->wHour = static_cast<WORD>(parts.tm_hour);
  time->wMinute = static_cast<WORD>(parts.tm_min);
  // A leap second stands as the second before it: readers of this clock know seconds 0 to 59.
  time->wSecond = static_cast<WORD>(parts.tm_sec > 59 ? 59 : parts.tm_sec);
  time->wMilliseconds = static_cast<WORD>(now.tv_nsec / 1000000);
}
