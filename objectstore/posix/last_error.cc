// The last error of each thread.
#include "platform_types.h"

namespace {
// Four bytes that every thread has from its start, so that reaching them takes no call.
[[gnu::tls_model("initial-exec")]] thread_local DWORD last_error = 0;
}  // namespace

DWORD GetLastError(void) { return last_error; }

void SetLastError(DWORD error) { last_error = error; }
