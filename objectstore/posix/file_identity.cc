// See file_identity.h.
#include "file_identity.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "file_system.h"

namespace objectstore {

namespace {

// SQLite knows paths of at most 512 bytes, those of side files included.
constexpr size_t kLongestPathBytes = 500;

struct FreeMemory {
  void operator()(char* memory) const { std::free(memory); }
};

Status LookAt(const std::string& path, FileKind& kind, struct stat& found) {
  if (lstat(path.c_str(), &found) != 0) {
    kind = FileKind::kMissing;
    return errno == ENOENT ? Status::kOk : StatusOfSystemError(errno);
  }
  kind = S_ISREG(found.st_mode) ? FileKind::kRegular : FileKind::kOther;
  return Status::kOk;
}

}  // namespace

Status ResolvePath(const std::string& path, FilePath& resolved) {
  const size_t slash = path.rfind('/');
  const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  if (name.empty()) return Status::kPathNotFound;
  const std::unique_ptr<char, FreeMemory> real(realpath(directory.c_str(), nullptr));
  // Nothing, or links without an end, where a folder should be.
  if (real == nullptr) return errno == ENOENT || errno == ELOOP ? Status::kPathNotFound : StatusOfSystemError(errno);
  resolved.directory = real.get();
  resolved.full = resolved.directory == "/" ? "/" + name : resolved.directory + "/" + name;
  return resolved.full.size() <= kLongestPathBytes ? Status::kOk : Status::kPathNotFound;
}

Status Identify(const FilePath& path, FileKind& kind, FileIdentity& identity, uint64_t* bytes) {
  struct stat found;
  STORE_TRY(LookAt(path.full, kind, found));
  if (kind == FileKind::kMissing) return Status::kOk;
  identity = {static_cast<uint64_t>(found.st_dev), static_cast<uint64_t>(found.st_ino)};
  if (bytes != nullptr) *bytes = static_cast<uint64_t>(found.st_size);
  return Status::kOk;
}

Status LookAt(const std::string& path, FileKind& kind, uint64_t* bytes) {
  struct stat found;
  STORE_TRY(LookAt(path, kind, found));
  if (kind != FileKind::kMissing && bytes != nullptr) *bytes = static_cast<uint64_t>(found.st_size);
  return Status::kOk;
}

}  // namespace objectstore
