// See console.h.
#include "console.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

namespace xkrdb {

bool IsTerminal(Stream stream) {
  const int kept = errno;
  const bool terminal = isatty(stream == Stream::kOutput ? STDOUT_FILENO : STDERR_FILENO) == 1;
  errno = kept;
  return terminal;
}

size_t TerminalColumns() {
  winsize size{};
  return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

int WriteToOutput(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(STDOUT_FILENO, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<size_t>(written));
    } else if (errno == EPIPE) {
      return 0;
    } else if (errno != EINTR) {
      return errno;
    }
  }
  return 0;
}

}  // namespace xkrdb
