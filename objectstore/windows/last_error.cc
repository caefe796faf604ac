// The last error of each thread: the system's own.
#include "platform_types.h"
#include "system_calls.h"

DWORD GetLastError(void) { return objectstore::windows::LastErrorNumber(); }

void SetLastError(DWORD error) { objectstore::windows::SetLastErrorNumber(error); }
