/* Files and folders, by the platform's names. Paths are UTF-16. */
#ifndef XKRDB_PLATFORM_FILES_H
#define XKRDB_PLATFORM_FILES_H

#include "platform_types.h"

enum { FILE_ATTRIBUTE_READONLY = 0x01, FILE_ATTRIBUTE_DIRECTORY = 0x10, FILE_ATTRIBUTE_NORMAL = 0x80 };

typedef struct WIN32_FIND_DATAW {
  DWORD dwFileAttributes;
  FILETIME ftCreationTime;
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  DWORD nFileSizeHigh;
  DWORD nFileSizeLow;
  DWORD dwOID;
  WCHAR cFileName[MAX_PATH];
} WIN32_FIND_DATAW;

#ifdef __cplusplus
extern "C" {
#endif

/* Lists the entries of a folder whose names match the last part of pattern, where * stands for any characters and ? for
 * one. "." and ".." are never listed. INVALID_HANDLE_VALUE with last error 2 when nothing matches, 3 when the folder is
 * missing. */
HANDLE FindFirstFileW(const WCHAR* pattern, WIN32_FIND_DATAW* found);

/* FALSE with last error 18 (ERROR_NO_MORE_FILES) at the end, 6 for an unknown handle. */
BOOL FindNextFileW(HANDLE find, WIN32_FIND_DATAW* found);
BOOL FindClose(HANDLE find);

/* FALSE with last error 183 when it exists, 3 when its parent is missing. security is null. */
BOOL CreateDirectoryW(const WCHAR* path, void* security);

/* FALSE with last error 2 when it is missing, 5 when it may not be deleted, 32 while it is open in this process or
 * locked by another one. */
BOOL DeleteFileW(const WCHAR* path);

#ifdef __cplusplus
}
#endif

#endif
