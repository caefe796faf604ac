// See file_identity.h. Paths are UTF-8 here as on every host; both kinds of slash separate folders.
#include "file_identity.h"

#include "file_system.h"
#include "handle_facts.h"
#include "system_calls.h"

namespace objectstore {

namespace {

// The system takes plain paths of 260 units with their end; side files and a file that has no name yet want some of them.
constexpr size_t kLongestPlainUnits = 240;

// One that it takes as it is, and therefore of any length. It must be absolute, with backslashes alone.
std::string MarkedPath(const std::string& path) {
  return path.starts_with("\\\\") ? "\\\\?\\UNC" + path.substr(1) : "\\\\?\\" + path;
}

// A name with a colon is that of something within a file, or begins with a drive whose own folder is meant.
bool IsFileName(const std::string& name) { return !name.empty() && name.find(':') == std::string::npos; }

}  // namespace

Status ResolvePath(const std::string& path, FilePath& resolved) {
  const size_t slash = path.find_last_of("/\\");
  const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  if (!IsFileName(name)) return Status::kPathNotFound;
  const windows::ErrorNumber error = windows::FinalPathOfFolder(directory, resolved.directory);
  if (error != 0) {
    const Status status = StatusOfSystemError(static_cast<int>(error));
    return status == Status::kFileNotFound ? Status::kPathNotFound : status;
  }
  const bool is_root = resolved.directory.back() == '\\';
  resolved.full = is_root ? resolved.directory + name : resolved.directory + "\\" + name;
  if (windows::WideText(resolved.full).size() > kLongestPlainUnits) {
    resolved.directory = MarkedPath(resolved.directory);
    resolved.full = MarkedPath(resolved.full);
  }
  return Status::kOk;
}

Status LookAt(const std::string& path, FileFacts& facts) {
  windows::Facts found;
  facts = {};
  const windows::ErrorNumber error = windows::FactsOfName(path, found);
  if (error != 0) {
    const Status status = StatusOfSystemError(static_cast<int>(error));
    return status == Status::kFileNotFound ? Status::kOk : status;
  }
  facts = FactsOf(found);
  return Status::kOk;
}

}  // namespace objectstore
