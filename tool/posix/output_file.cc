// The temporary file lies in the folder of the real one, since a move must not cross file systems.
#include "output_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tool_error.h"

namespace xkrdb {
namespace {

ToolError WriteFailure(const std::string& path, int error) {
  const char* hint = error == EEXIST ? "; --force replaces it" : "";
  return {ExitCode::kInputOutput, fmt::format("cannot write {}: {}{}", path, std::strerror(error), hint)};
}

// 0, or the error. The descriptor is closed in any case.
int WriteAndClose(int descriptor, std::string_view text) {
  int error = 0;
  while (!text.empty() && error == 0) {
    const ssize_t written = write(descriptor, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<size_t>(written));
    } else if (errno != EINTR) {
      error = errno;
    }
  }
  const mode_t mask = umask(0);
  (void)umask(mask);
  if (error == 0 && fchmod(descriptor, 0666 & ~mask) != 0) error = errno;
  if (error == 0 && fsync(descriptor) != 0) error = errno;
  if (close(descriptor) != 0 && error == 0) error = errno;
  return error;
}

// 0, or the error. Some file systems cannot move without replacing; there a second name stands in for the move.
int MoveInto(const std::string& from, const std::string& to, bool replace) {
  if (replace) return rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  if (link(from.c_str(), to.c_str()) != 0) return errno;
  return unlink(from.c_str()) == 0 ? 0 : errno;
}

bool IsPlainFileOrMissing(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode);
}

}  // namespace

void WriteFileWhole(const std::string& path, std::string_view text, bool replace) {
  if (!IsPlainFileOrMissing(path)) {  // a device or a pipe: nothing to replace, nothing to move
    const int device = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    const int error = device < 0 ? errno : 0;
    if (error != 0) throw WriteFailure(path, error);
    while (!text.empty()) {
      const ssize_t written = write(device, text.data(), text.size());
      if (written < 0 && errno == EINTR) continue;
      if (written < 0) {
        const int failed = errno;
        (void)close(device);
        throw WriteFailure(path, failed);
      }
      text.remove_prefix(static_cast<size_t>(written));
    }
    if (close(device) != 0) throw WriteFailure(path, errno);
    return;
  }
  std::string temporary = path + ".XXXXXX";
  const int descriptor = mkstemp(temporary.data());
  if (descriptor < 0) throw WriteFailure(path, errno);
  int error = WriteAndClose(descriptor, text);
  if (error == 0) error = MoveInto(temporary, path, replace);
  if (error == 0) return;
  (void)unlink(temporary.c_str());
  throw WriteFailure(path, error);
}

}  // namespace xkrdb
