// See file_in_use.h.
//
// The system lets a file be deleted while it is open; the platform does not, and a volume that was deleted while it is
// mounted would take every later flush with it. What this process has open is looked up among its descriptors first: a
// second descriptor of a locked file must never be closed here, since closing it gives up the locks of the first.
#include "file_in_use.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>

namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};

bool IsSameFile(const struct stat& a, const struct stat& b) { return a.st_dev == b.st_dev && a.st_ino == b.st_ino; }

// Without the system's list, or a descriptor to read it: every number that this process could have open is asked.
bool IsAmongAllDescriptors(const struct stat& file) {
  constexpr rlim_t kMostAsked = 1 << 16;
  constexpr rlim_t kFewestAsked = 1 << 10;  // a limit may have been lowered below what is open
  rlimit limit;
  const rlim_t known = getrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_cur : kMostAsked;
  const auto count = static_cast<int>(std::clamp(known, kFewestAsked, kMostAsked));
  for (int descriptor = 0; descriptor < count; ++descriptor) {
    struct stat open_file;
    if (fstat(descriptor, &open_file) == 0 && IsSameFile(open_file, file)) return true;
  }
  return false;
}

bool IsOpenInThisProcess(const struct stat& file) {
  const std::unique_ptr<DIR, CloseFolder> descriptors(opendir("/proc/self/fd"));
  if (descriptors == nullptr) return IsAmongAllDescriptors(file);
  while (const dirent* entry = readdir(descriptors.get())) {
    struct stat open_file;
    if (fstatat(dirfd(descriptors.get()), entry->d_name, &open_file, 0) == 0 && IsSameFile(open_file, file))
      return true;
  }
  return false;
}

bool IsLockedByAnotherProcess(const std::string& path) {
  const int descriptor = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  // Without a descriptor nothing can be learnt; a file that may be in use is not deleted.
  if (descriptor < 0) return errno == EMFILE || errno == ENFILE || errno == ENOMEM;
  struct flock lock = {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  const bool locked = fcntl(descriptor, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
  close(descriptor);
  return locked;
}

}  // namespace

bool IsFileInUse(const std::string& path) {
  struct stat file;
  if (lstat(path.c_str(), &file) != 0 || !S_ISREG(file.st_mode)) return false;
  return IsOpenInThisProcess(file) || IsLockedByAnotherProcess(path);
}
