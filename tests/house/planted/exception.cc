// Throws and catches.
#include "local_heap.h"

namespace planted {
bool Caught(int number) {
  try {
    if (LocalSize(nullptr) == 0) throw number;
  } catch (int) {
    return true;
  }
  return false;
}
}  // namespace planted
