/* The POSIX way to find a library's calls at run time, on the Windows way, as far as the tests go it. Libraries are found
 * beside the program, whatever folder they are named with. */
#ifndef XKRDB_TESTS_DEVICE_DLFCN_H
#define XKRDB_TESTS_DEVICE_DLFCN_H

enum { RTLD_NOW = 2, RTLD_LOCAL = 0 };

#ifdef __cplusplus
extern "C" {
#endif

void* dlopen(const char* path, int mode);
void* dlsym(void* library, const char* name);
const char* dlerror(void);

#ifdef __cplusplus
}
#endif

#endif
