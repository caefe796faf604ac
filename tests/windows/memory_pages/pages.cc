// See sys/mman.h beside this file.
#include <sys/mman.h>
#include <windows.h>

void* mmap(void*, size_t size, int, int, int, long) {
  return VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

int mprotect(void* address, size_t size, int protection) {
  DWORD before = 0;
  return VirtualProtect(address, size, protection == PROT_NONE ? PAGE_NOACCESS : PAGE_READWRITE, &before) ? 0 : -1;
}

int munmap(void* address, size_t) { return VirtualFree(address, 0, MEM_RELEASE) ? 0 : -1; }

long sysconf(int) {
  SYSTEM_INFO system;
  GetSystemInfo(&system);
  return static_cast<long>(system.dwPageSize);
}
