// Files as the operating system tells them apart, and the path under which SQLite gets to see one.
#pragma once

#include <cstdint>
#include <string>

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

struct FileFacts {
  FileKind kind = FileKind::kMissing;
  FileIdentity identity;
  uint64_t bytes = 0;
};

// What stands under a name. That nothing does is no failure; that it cannot be told is.
Status LookAt(const std::string& path, FileFacts& facts);

}  // namespace objectstore
