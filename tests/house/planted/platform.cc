// Stands for the platform's objects: what the planted sources may find there.
#include "local_heap.h"
#include "wide_text.h"

void* LocalAlloc(DWORD, size_t) { return nullptr; }
size_t LocalSize(void*) { return 0; }
size_t wcslen(const WCHAR*) { return 0; }
WCHAR* wcscpy(WCHAR* to, const WCHAR*) { return to; }

namespace path_text {
bool HiddenFromTheEngine(int number);
bool HiddenFromTheEngine(int number) { return number == 0; }
}  // namespace path_text
