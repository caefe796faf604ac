// A constant whose value a call gives: somebody would have to run an initialiser.
#include "local_heap.h"

namespace planted {
extern const size_t kSize;
const size_t kSize = LocalSize(nullptr);
}  // namespace planted
