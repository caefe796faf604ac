/* The platform's own names for its basic types and for the last-error values that its calls set. */
#ifndef XKRDB_PLATFORM_TYPES_H
#define XKRDB_PLATFORM_TYPES_H

#include "mdb_types.h"

typedef uint8_t BYTE;
typedef uint16_t WORD;
typedef uint32_t DWORD;
typedef uintptr_t DWORD_PTR;
typedef int32_t BOOL;
typedef MDbChar WCHAR;
typedef MDbHandle HANDLE;

#define INVALID_HANDLE_VALUE MDB_INVALID_HANDLE
#define MAX_PATH 260

enum { FALSE = 0, TRUE = 1 };

/* 100-nanosecond steps since 1601-01-01 UTC. */
typedef struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
} FILETIME;

enum {
  ERROR_FILE_NOT_FOUND = 2,
  ERROR_PATH_NOT_FOUND = 3,
  ERROR_ACCESS_DENIED = 5,
  ERROR_INVALID_HANDLE = 6,
  ERROR_NOT_ENOUGH_MEMORY = 8,
  ERROR_OUTOFMEMORY = 14,
  ERROR_NO_MORE_FILES = 18,
  ERROR_WRITE_FAULT = 29,
  ERROR_SEEK = 25,
  ERROR_SHARING_VIOLATION = 32,
  ERROR_DUP_NAME = 52,
  ERROR_INVALID_PARAMETER = 87,
  ERROR_DISK_FULL = 112,
  ERROR_INSUFFICIENT_BUFFER = 122,
  ERROR_ALREADY_EXISTS = 183,
  ERROR_NO_DATA = 232,
  ERROR_NO_MORE_ITEMS = 259,
  ERROR_KEY_DELETED = 1018,
  ERROR_IO_DEVICE = 1117,
  ERROR_FILE_CORRUPT = 1392
};

#define PLATFORM_API MDB_EXPORTED

#ifdef __cplusplus
extern "C" {
#endif

/* Per thread; meaningful after a failure. A successful call need not reset it. */
PLATFORM_API DWORD GetLastError(void);
PLATFORM_API void SetLastError(DWORD error);

#ifdef __cplusplus
}
#endif

#endif
