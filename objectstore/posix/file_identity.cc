// See file_identity.h.
#include "file_identity.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

#include "file_system.h"
#include "stat_facts.h"

namespace objectstore {

namespace {

// SQLite knows paths of at most 512 bytes, those of side files included.
constexpr size_t kLongestPathBytes = 500;

struct FreeMemory {
  void operator()(char* memory) const { std::free(memory); }
};

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

Status LookAt(const std::string& path, FileFacts& facts) {
  struct stat found;
  facts = {};
  if (lstat(path.c_str(), &found) != 0) return errno == ENOENT ? Status::kOk : StatusOfSystemError(errno);
  facts = FactsOf(found);
  return Status::kOk;
}

}  // namespace objectstore
