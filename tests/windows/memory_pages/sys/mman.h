// What the tests use of POSIX's calls for pages of memory, on those of Windows.
#pragma once

#include <cstddef>

enum { PROT_NONE = 0, PROT_READ = 1, PROT_WRITE = 2, MAP_PRIVATE = 2, MAP_ANONYMOUS = 32, _SC_PAGESIZE = 30 };
#define MAP_FAILED nullptr

// Fresh pages alone: address, file and offset are not looked at.
void* mmap(void* address, size_t size, int protection, int flags, int file, long offset);
int mprotect(void* address, size_t size, int protection);
int munmap(void* address, size_t size);
long sysconf(int name);
