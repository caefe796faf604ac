// See description.h: the current time, as fine as the system keeps it.
#include "description.h"
#include "system_calls.h"

namespace objectstore {

uint64_t CurrentTime() { return windows::CurrentFileTime(); }

}  // namespace objectstore
