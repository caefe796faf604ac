// Breaks no rule: a platform call, a memory function, a table of constants.
#include "local_heap.h"
#include "wide_text.h"

namespace planted {

constexpr const WCHAR* kNames[] = {u"one", u"two"};

struct Block {
  char bytes[4096];
};

WCHAR* Copy(unsigned which, Block& to, const Block& from) {
  to = from;
  void* memory = LocalAlloc(LMEM_FIXED, (wcslen(kNames[which & 1]) + 1) * sizeof(WCHAR));
  return wcscpy(static_cast<WCHAR*>(memory), kNames[which & 1]);
}

}  // namespace planted
