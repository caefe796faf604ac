/* The process's local heap, whose blocks know their sizes. */
#ifndef XKRDB_PLATFORM_LOCAL_HEAP_H
#define XKRDB_PLATFORM_LOCAL_HEAP_H

#include "platform_types.h"

enum { LMEM_FIXED = 0x0, LMEM_MOVEABLE = 0x2, LMEM_ZEROINIT = 0x40 };

#ifdef __cplusplus
extern "C" {
#endif

/* Null with last error 14 when memory is short. LMEM_ZEROINIT: the block is filled with zeros. */
void* LocalAlloc(DWORD flags, size_t size);

/* Grows or shrinks a block, which may move; the old block stays on failure (null). With LMEM_ZEROINIT what is added is
 * filled with zeros. */
void* LocalReAlloc(void* block, size_t size, DWORD flags);

/* The size that was asked for; 0 for null. */
size_t LocalSize(void* block);

/* Frees a block; null is allowed. Returns null. */
void* LocalFree(void* block);

#ifdef __cplusplus
}
#endif

#endif
