// Files as the operating system tells them apart, and the path under which SQLite gets to see one.
#pragma once

#include <sys/types.h>

#include <cerrno>
#include <span>
#include <string>
#include <utility>

#include "status.h"

namespace objectstore {

// Equal for one file, whatever path leads to it.
struct FileIdentity {
  uint64_t device = 0;
  uint64_t number = 0;
  bool operator==(const FileIdentity& other) const = default;
};

struct FilePath {
  std::string directory;  // absolute, without symbolic links
  std::string full;       // directory and name; the name itself may be a symbolic link
};

// What stands at the end of a path. A symbolic link is not followed.
enum class FileKind { kMissing, kRegular, kOther };

// Path not found when the directory is missing.
Status ResolvePath(const std::string& path, FilePath& resolved);

// bytes, unless null, receives the size of what is there.
Status Identify(const FilePath& path, FileKind& kind, FileIdentity& identity, uint64_t* bytes = nullptr);

// The last error number for what a system call left in errno.
Status StatusOfErrno(int number);

// Makes a system call anew for as long as signals interrupt it.
template <typename Call>
auto Uninterrupted(Call call) {
  for (;;) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

// Takes the lock on a file's bytes that a process holds alone while it has the volume mounted; those who only read the
// file share it. It goes with any descriptor of the file that the process closes. Sharing violation when somebody else
// is in the way.
enum class LockKind { kShared, kAlone };
Status LockAsMount(int file, LockKind kind);

// Fills bytes from a place in a file; count says how many it has there.
Status ReadAt(int file, off_t start, std::span<uint8_t> bytes, size_t& count);

// All of the bytes, or the reason why not.
Status WriteAt(int file, std::span<const uint8_t> bytes, off_t offset);

// Makes the directory's entries durable.
Status SyncDirectory(const std::string& directory);

// An open file descriptor.
class FileDescriptor {
 public:
  explicit FileDescriptor(int number) : number_(number) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor();
  int number() const { return number_; }
  bool valid() const { return number_ >= 0; }
  void Swap(FileDescriptor& other) { std::swap(number_, other.number_); }

 private:
  int number_;
};

}  // namespace objectstore
