// See folder_snapshot.h. Contents beyond the first MiB are not read: a sparse file may be larger than the machine.
#include "folder_snapshot.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <functional>

namespace places {
namespace {

namespace fs = std::filesystem;

// Kind, permissions, owner and the like. The size of a folder is the file system's own business.
std::string StatusText(const struct stat& status, bool with_time) {
  std::string text = std::to_string(status.st_mode & S_IFMT) + " mode " + std::to_string(status.st_mode & 07777) +
                     " owner " + std::to_string(status.st_uid) + ":" + std::to_string(status.st_gid) + " device " +
                     std::to_string(status.st_rdev);
  if (!S_ISDIR(status.st_mode))
    text += " size " + std::to_string(status.st_size) + " names " + std::to_string(status.st_nlink);
  if (with_time)
    text += " changed " + std::to_string(status.st_mtim.tv_sec) + "." + std::to_string(status.st_mtim.tv_nsec);
  return text;
}

std::string ContentsText(const fs::path& file) {
  constexpr size_t kMostBytes = 1 << 20;
  const int descriptor = open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | O_NOATIME);
  const int readable = descriptor >= 0 ? descriptor : open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  if (readable < 0) return " unreadable";
  std::string bytes(kMostBytes, '\0');
  size_t filled = 0;
  for (ssize_t count = 1; count > 0 && filled < kMostBytes; filled += static_cast<size_t>(std::max<ssize_t>(count, 0)))
    count = pread(readable, bytes.data() + filled, kMostBytes - filled, static_cast<off_t>(filled));
  close(readable);
  bytes.resize(filled);
  return " contents " + std::to_string(std::hash<std::string>()(bytes));
}

void Describe(const fs::path& entry, const std::string& name, bool with_time, Lines& lines) {
  struct stat status;
  if (lstat(entry.c_str(), &status) != 0) {
    lines.push_back(name + " is gone");
    return;
  }
  std::string line = name + ": " + StatusText(status, with_time);
  if (S_ISLNK(status.st_mode)) line += " to " + fs::read_symlink(entry).string();
  if (S_ISREG(status.st_mode)) line += ContentsText(entry);
  lines.push_back(line);
  if (!S_ISDIR(status.st_mode)) return;
  std::error_code unreadable;
  for (const auto& below : fs::directory_iterator(entry, unreadable))
    Describe(below.path(), name + "/" + below.path().filename().string(), true, lines);
}

}  // namespace

Lines SnapshotOfFolder(const fs::path& folder, OwnTime own_time) {
  Lines lines;
  Describe(folder, ".", own_time == OwnTime::kTaken, lines);
  std::sort(lines.begin(), lines.end());
  return lines;
}

Lines OpenDescriptors() {
  Lines lines;
  DIR* folder = opendir("/proc/self/fd");
  EXPECT_NE(folder, nullptr);
  if (folder == nullptr) return lines;
  while (const dirent* entry = readdir(folder)) {
    if (entry->d_name[0] == '.' || std::to_string(dirfd(folder)) == entry->d_name) continue;
    std::error_code gone;
    lines.push_back(std::string(entry->d_name) + " " +
                    fs::read_symlink(fs::path("/proc/self/fd") / entry->d_name, gone).string());
  }
  closedir(folder);
  std::sort(lines.begin(), lines.end());
  return lines;
}

// A lock of the open file, not of the process: it meets the locks of this process, too.
bool IsLocked(const fs::path& file) {
  const int descriptor = open(file.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (descriptor < 0) return false;
  struct flock lock = {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  const bool locked = fcntl(descriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
  close(descriptor);  // gives up this process's locks on the file, of which a test expects none
  return locked;
}

}  // namespace places
