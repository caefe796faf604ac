// Database files in a folder, and folders: thin calls over the platform's, so that a client needs no file interface of
// its own.
#include "files.h"
#include "mdb.h"
#include "mdb_try.h"
#include "wide_copy.h"

using namespace mdb;

MDbStatus MDbFindFirstFile(MDbHandle* handle, const MDbChar* pattern, MDbChar* name, uint32_t size) {
  WIN32_FIND_DATAW found;
  *handle = FindFirstFileW(pattern, &found);
  if (*handle == INVALID_HANDLE_VALUE) return MDbStatusFailed;
  CopyWideTruncated(size, found.cFileName, name);
  return MDbStatusOk;
}

MDbStatus MDbFindNextFile(MDbHandle* handle, MDbChar* name, uint32_t size) {
  if (*handle == 0) return MDbStatusFailed;
  WIN32_FIND_DATAW found;
  if (FindNextFileW(*handle, &found)) {
    CopyWideTruncated(size, found.cFileName, name);
    return MDbStatusOk;
  }
  if (GetLastError() != ERROR_NO_MORE_FILES) return MDbStatusFailed;
  (void)FindClose(*handle);  // the listing is over either way
  *handle = 0;
  return MDbStatusNoMoreItems;
}

MDbStatus MDbFindClose(MDbHandle* handle) {
  if (*handle == 0) return MDbStatusFailed;
  return StatusOf(FindClose(*handle) == TRUE);
}

MDbStatus MDbCreateDirectory(const MDbChar* path) { return StatusOf(CreateDirectoryW(path, nullptr) == TRUE); }
