// The store's own calls of the system, behind the linker's --wrap. SQLite's do not come here: see faulty_files.h.
// Syncs reach no disk.
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>

#include "faults.h"

using faults::Ask;
using faults::Failure;
using faults::Operation;

namespace {

// Sets errno and says that the call fails.
bool Refused(Operation operation) {
  const std::optional<Failure> failure = Ask(operation);
  if (!failure) return false;
  errno = faults::ErrorOf(*failure);
  return true;
}

// Half of the bytes, when the transfer is to be cut short.
std::optional<size_t> Transfer(Operation operation, size_t count) {
  const std::optional<Failure> failure = Ask(operation);
  if (!failure) return count;
  if (*failure == Failure::kShort) return count / 2;
  errno = faults::ErrorOf(*failure);
  return std::nullopt;
}

}  // namespace

extern "C" {

int __real_open(const char* path, int flags, mode_t mode);
int __real_close(int file);
ssize_t __real_write(int file, const void* bytes, size_t count);
ssize_t __real_pread(int file, void* bytes, size_t count, off_t offset);
ssize_t __real_pwrite(int file, const void* bytes, size_t count, off_t offset);
int __real_ftruncate(int file, off_t bytes);
int __real_fcntl(int file, int command, void* argument);
int __real_flock(int file, int operation);
int __real_fstat(int file, struct stat* found);
int __real_lstat(const char* path, struct stat* found);
int __real_unlink(const char* path);
int __real_link(const char* from, const char* to);
int __real_rename(const char* from, const char* to);
int __real_renameat2(int from_folder, const char* from, int to_folder, const char* to, unsigned flags);
char* __real_realpath(const char* path, char* room);
ssize_t __real_getrandom(void* bytes, size_t count, unsigned flags);

int __wrap_open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return Refused(Operation::kOpen) ? -1 : __real_open(path, flags, mode);
}

// The descriptor is gone also when closing it fails.
int __wrap_close(int file) {
  const int result = __real_close(file);
  return Refused(Operation::kClose) ? -1 : result;
}

ssize_t __wrap_write(int file, const void* bytes, size_t count) {
  const std::optional<size_t> allowed = Transfer(Operation::kWrite, count);
  return allowed ? __real_write(file, bytes, *allowed) : -1;
}

ssize_t __wrap_pread(int file, void* bytes, size_t count, off_t offset) {
  const std::optional<size_t> allowed = Transfer(Operation::kRead, count);
  return allowed ? __real_pread(file, bytes, *allowed, offset) : -1;
}

ssize_t __wrap_pwrite(int file, const void* bytes, size_t count, off_t offset) {
  const std::optional<size_t> allowed = Transfer(Operation::kWrite, count);
  return allowed ? __real_pwrite(file, bytes, *allowed, offset) : -1;
}

int __wrap_fdatasync(int) { return Refused(Operation::kSync) ? -1 : 0; }
int __wrap_fsync(int) { return Refused(Operation::kSync) ? -1 : 0; }

int __wrap_ftruncate(int file, off_t bytes) {
  return Refused(Operation::kTruncate) ? -1 : __real_ftruncate(file, bytes);
}

int __wrap_fcntl(int file, int command, ...) {
  va_list arguments;
  va_start(arguments, command);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  return Refused(Operation::kLock) ? -1 : __real_fcntl(file, command, argument);
}

int __wrap_flock(int file, int operation) { return Refused(Operation::kTurn) ? -1 : __real_flock(file, operation); }
int __wrap_fstat(int file, struct stat* found) { return Refused(Operation::kSize) ? -1 : __real_fstat(file, found); }
int __wrap_lstat(const char* path, struct stat* found) {
  return Refused(Operation::kStatus) ? -1 : __real_lstat(path, found);
}
int __wrap_unlink(const char* path) { return Refused(Operation::kDelete) ? -1 : __real_unlink(path); }
int __wrap_link(const char* from, const char* to) { return Refused(Operation::kLink) ? -1 : __real_link(from, to); }
int __wrap_rename(const char* from, const char* to) {
  return Refused(Operation::kRename) ? -1 : __real_rename(from, to);
}
int __wrap_renameat2(int from_folder, const char* from, int to_folder, const char* to, unsigned flags) {
  return Refused(Operation::kRenameNew) ? -1 : __real_renameat2(from_folder, from, to_folder, to, flags);
}
char* __wrap_realpath(const char* path, char* room) {
  return Refused(Operation::kPathName) ? nullptr : __real_realpath(path, room);
}
ssize_t __wrap_getrandom(void* bytes, size_t count, unsigned flags) {
  return Refused(Operation::kRandom) ? -1 : __real_getrandom(bytes, count, flags);
}

}  // extern "C"
