// See console.h. Terminals take the usual escape sequences once they are told to; one that does not counts as none.
#include "console.h"

#include <io.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>

namespace xkrdb {

bool IsTerminal(Stream stream) {
  HANDLE console = GetStdHandle(stream == Stream::kOutput ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
  DWORD mode = 0;
  constexpr DWORD kTakesSequences = 0x0004;
  return GetConsoleMode(console, &mode) != 0 && SetConsoleMode(console, mode | kTakesSequences) != 0;
}

size_t TerminalColumns() {
  CONSOLE_SCREEN_BUFFER_INFO screen;
  if (GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &screen) == 0) return 0;
  return static_cast<size_t>(std::max(screen.srWindow.Right - screen.srWindow.Left + 1, 0));
}

// A pipe whose reader went away answers with one of two errors.
int WriteToOutput(std::string_view text) {
  constexpr size_t kPieceBytes = size_t{1} << 16;
  while (!text.empty()) {
    const auto piece = static_cast<unsigned>(std::min(text.size(), kPieceBytes));
    const int written = _write(1, text.data(), piece);
    if (written < 0) return errno == EPIPE || errno == EINVAL ? 0 : errno;
    text.remove_prefix(static_cast<size_t>(written));
  }
  return 0;
}

}  // namespace xkrdb
