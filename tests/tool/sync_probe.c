/* Loaded before the C library of a program under test: writes a byte to a file for each time it asks the disk to keep its
 * writes, and may send the program a signal at one of them.
 * XKRDB_SYNC_LOG: the file. XKRDB_SYNC_SIGNAL: the signal. XKRDB_SYNC_AT: which time, counted from 1. */
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <unistd.h>

static void note(void) {
  static int count = 0;
  const char* log = getenv("XKRDB_SYNC_LOG");
  const char* signal_number = getenv("XKRDB_SYNC_SIGNAL");
  const char* at = getenv("XKRDB_SYNC_AT");
  ++count;
  if (log != NULL) {
    const int file = open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (file >= 0 && write(file, ".", 1) != 1) abort();
    if (file >= 0) close(file);
  }
  if (signal_number != NULL && at != NULL && count == atoi(at)) raise(atoi(signal_number));
}

__attribute__((visibility("default"))) int fsync(int file) {
  note();
  return (int)syscall(SYS_fsync, file);
}

__attribute__((visibility("default"))) int fdatasync(int file) {
  note();
  return (int)syscall(SYS_fdatasync, file);
}
