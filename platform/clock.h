/* The clock. */
#ifndef XKRDB_PLATFORM_CLOCK_H
#define XKRDB_PLATFORM_CLOCK_H

#include "platform_types.h"

typedef struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth; /* 1 to 12 */
  WORD wDayOfWeek;
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
} SYSTEMTIME;

#ifdef __cplusplus
extern "C" {
#endif

/* The current date and time, UTC. */
void GetSystemTime(SYSTEMTIME* time);

#ifdef __cplusplus
}
#endif

#endif
