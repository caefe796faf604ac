// The last error of each thread: the system's own, which its calls set too.
#include "platform_types.h"
#include "system.h"

extern "C" DWORD GetLastError(void) { return windows::LastError(); }
extern "C" void SetLastError(DWORD error) { windows::SetLastError(error); }
