// The last error of each thread.
#include "platform_types.h"

namespace {
thread_local DWORD last_error = 0;
}  // namespace

DWORD GetLastError(void) { return last_error; }

void SetLastError(DWORD error) { last_error = error; }
