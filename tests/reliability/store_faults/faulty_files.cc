// See faulty_files.h.
#include "faulty_files.h"

#include <sqlite3.h>

#include <cerrno>

#include "faults.h"

namespace faults {

namespace {

struct File {
  sqlite3_file base;
  sqlite3_file* real;  // stands behind this record
};

sqlite3_vfs* real_files = nullptr;

sqlite3_file* Real(sqlite3_file* file) { return reinterpret_cast<File*>(file)->real; }

// SQLite's result for an operation that the device refused.
int RefusalOf(Operation operation) {
  switch (operation) {
    case Operation::kClose:
      return SQLITE_IOERR_CLOSE;
    case Operation::kRead:
      return SQLITE_IOERR_READ;
    case Operation::kWrite:
      return SQLITE_IOERR_WRITE;
    case Operation::kTruncate:
      return SQLITE_IOERR_TRUNCATE;
    case Operation::kSync:
      return SQLITE_IOERR_FSYNC;
    case Operation::kSize:
      return SQLITE_IOERR_FSTAT;
    case Operation::kLock:
      return SQLITE_IOERR_LOCK;
    case Operation::kUnlock:
      return SQLITE_IOERR_UNLOCK;
    case Operation::kDelete:
      return SQLITE_IOERR_DELETE;
    default:
      return SQLITE_IOERR;
  }
}

// SQLITE_OK: nothing fails. Its own file system begins anew when it is interrupted.
int ResultOf(Operation operation) {
  const std::optional<Failure> failure = Ask(operation);
  if (!failure || *failure == Failure::kInterrupted) return SQLITE_OK;
  if (*failure == Failure::kBusy) return SQLITE_BUSY;
  const bool full = *failure == Failure::kFull || *failure == Failure::kOverQuota;
  return full && operation == Operation::kWrite ? SQLITE_FULL : RefusalOf(operation);
}

int Close(sqlite3_file* file) {
  const int failure = ResultOf(Operation::kClose);
  const int result = Real(file)->pMethods->xClose(Real(file));
  return failure != SQLITE_OK ? failure : result;
}

// Never short: SQLite's own file system reads on until the file ends, and a file that ends too early is a damaged one.
int Read(sqlite3_file* file, void* bytes, int count, sqlite3_int64 offset) {
  const std::optional<Failure> failure = Ask(Operation::kRead);
  if (failure == Failure::kDevice) return SQLITE_IOERR_READ;
  return Real(file)->pMethods->xRead(Real(file), bytes, count, offset);
}

// A write that comes to an end halfway is what a device that fills up leaves.
int Write(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset) {
  const std::optional<Failure> failure = Ask(Operation::kWrite);
  if (!failure || *failure == Failure::kInterrupted)
    return Real(file)->pMethods->xWrite(Real(file), bytes, count, offset);
  if (*failure == Failure::kDevice) return SQLITE_IOERR_WRITE;
  if (*failure == Failure::kShort)
    static_cast<void>(Real(file)->pMethods->xWrite(Real(file), bytes, count / 2, offset));
  return SQLITE_FULL;
}

int Truncate(sqlite3_file* file, sqlite3_int64 size) {
  const int failure = ResultOf(Operation::kTruncate);
  return failure != SQLITE_OK ? failure : Real(file)->pMethods->xTruncate(Real(file), size);
}

int Sync(sqlite3_file*, int) { return ResultOf(Operation::kSync); }

int FileSize(sqlite3_file* file, sqlite3_int64* size) {
  const int failure = ResultOf(Operation::kSize);
  return failure != SQLITE_OK ? failure : Real(file)->pMethods->xFileSize(Real(file), size);
}

int Lock(sqlite3_file* file, int level) {
  const int failure = ResultOf(Operation::kLock);
  return failure != SQLITE_OK ? failure : Real(file)->pMethods->xLock(Real(file), level);
}

int Unlock(sqlite3_file* file, int level) {
  const int failure = ResultOf(Operation::kUnlock);
  return failure != SQLITE_OK ? failure : Real(file)->pMethods->xUnlock(Real(file), level);
}

int CheckReservedLock(sqlite3_file* file, int* reserved) {
  const int failure = ResultOf(Operation::kLock);
  return failure != SQLITE_OK ? failure : Real(file)->pMethods->xCheckReservedLock(Real(file), reserved);
}

int FileControl(sqlite3_file* file, int operation, void* argument) {
  return Real(file)->pMethods->xFileControl(Real(file), operation, argument);
}
int SectorSize(sqlite3_file* file) { return Real(file)->pMethods->xSectorSize(Real(file)); }
int DeviceCharacteristics(sqlite3_file* file) { return Real(file)->pMethods->xDeviceCharacteristics(Real(file)); }

// Without shared memory: a connection that has the file for itself needs none.
constexpr sqlite3_io_methods kMethods = {1,
                                         Close,
                                         Read,
                                         Write,
                                         Truncate,
                                         Sync,
                                         FileSize,
                                         Lock,
                                         Unlock,
                                         CheckReservedLock,
                                         FileControl,
                                         SectorSize,
                                         DeviceCharacteristics,
                                         nullptr,
                                         nullptr,
                                         nullptr,
                                         nullptr,
                                         nullptr,
                                         nullptr};

int Open(sqlite3_vfs*, const char* path, sqlite3_file* opened, int flags, int* given_flags) {
  auto* file = reinterpret_cast<File*>(opened);
  file->base.pMethods = nullptr;
  file->real = reinterpret_cast<sqlite3_file*>(file + 1);
  const std::optional<Failure> failure = Ask(Operation::kOpen);
  if (failure && *failure != Failure::kInterrupted) {
    errno = ErrorOf(*failure);
    return SQLITE_CANTOPEN;
  }
  const int result = real_files->xOpen(real_files, path, file->real, flags, given_flags);
  if (file->real->pMethods != nullptr) file->base.pMethods = &kMethods;
  return result;
}

int Delete(sqlite3_vfs*, const char* path, int sync_directory) {
  const int failure = ResultOf(Operation::kDelete);
  return failure != SQLITE_OK ? failure : real_files->xDelete(real_files, path, sync_directory);
}

// The host's file system takes any failure of such a question for a no.
int Access(sqlite3_vfs*, const char* path, int flags, int* is) {
  const std::optional<Failure> failure = Ask(Operation::kAccess);
  *is = 0;
  if (failure == Failure::kOverlooked) return SQLITE_OK;
  return failure ? SQLITE_IOERR_ACCESS : real_files->xAccess(real_files, path, flags, is);
}

int FullPathname(sqlite3_vfs*, const char* path, int size, char* full) {
  const std::optional<Failure> failure = Ask(Operation::kPathName);
  if (!failure) return real_files->xFullPathname(real_files, path, size, full);
  errno = ErrorOf(*failure);
  return SQLITE_CANTOPEN_FULLPATH;
}

bool Install() {
  static sqlite3_vfs files;
  if (sqlite3_initialize() != SQLITE_OK) return false;
  real_files = sqlite3_vfs_find(nullptr);
  if (real_files == nullptr) return false;
  files = *real_files;
  files.zName = "faulty";
  files.pNext = nullptr;
  files.szOsFile = static_cast<int>(sizeof(File)) + real_files->szOsFile;
  files.xOpen = Open;
  files.xDelete = Delete;
  files.xAccess = Access;
  files.xFullPathname = FullPathname;
  return sqlite3_vfs_register(&files, 1) == SQLITE_OK;
}

}  // namespace

bool FilesMayFail() {
  static const bool installed = Install();
  return installed;
}

}  // namespace faults
