// The platform's calls on volumes, and the closing of handles.
#include "entry.h"

using objectstore::Enter;
using objectstore::Report;
using objectstore::Status;
using objectstore::Store;

// A successful mount tells by its last error whether the volume was there before.
BOOL CeMountDBVol(CEGUID* guid, const WCHAR* path, DWORD disposition) {
  bool existed = false;
  const Status status = Enter([&](Store& store) {
    if (guid == nullptr) return Status::kInvalidParameter;
    return store.Mount(path, disposition, *guid, existed);
  });
  SetLastError(status != Status::kOk ? static_cast<DWORD>(status) : existed ? ERROR_ALREADY_EXISTS : 0);
  return status == Status::kOk;
}

BOOL CeUnmountDBVol(const CEGUID* guid) {
  return Report(Enter([&](Store& store) { return store.Unmount(guid); }));
}

BOOL CeFlushDBVol(const CEGUID* guid) {
  return Report(Enter([&](Store& store) { return store.Flush(guid); }));
}

BOOL CloseHandle(HANDLE handle) {
  return Report(
      Enter([&](Store& store) { return store.handles().Close(handle) ? Status::kOk : Status::kInvalidHandle; }));
}
