// The last error, which the object store keeps in the whole system: this program is linked without it.
#include "platform_types.h"

namespace {
thread_local DWORD last_error = 0;
}

extern "C" DWORD GetLastError() { return last_error; }
extern "C" void SetLastError(DWORD error) { last_error = error; }
