// What stands at the other end of standard output and standard error: a terminal of some width, or a file or pipe.
#ifndef XKRDB_TOOL_TERMINAL_H
#define XKRDB_TOOL_TERMINAL_H

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace xkrdb {

bool OutputIsTerminal();
bool MessagesAreTerminal();

// Columns of the terminal on standard output; 0 (no limit) when it is none. COLUMNS counts when the terminal does not
// know its width.
size_t OutputWidth();

// Whether headings may be set in bold: a terminal, TERM other than dumb, and no NO_COLOR in the environment.
bool OutputIsStyled();

// Writes text to standard output, whole. Throws ToolError when it cannot be written; a reader that went away is no
// failure (head has seen enough).
void WriteOutput(std::string_view text);

// Writes one line to standard error. The text is made safe here: callers pass values as they are.
void PrintMessage(std::string_view text);

// A progress bar on standard error, drawn only when that is a terminal and the work has taken half a second. Nothing
// of it stays on the screen.
class Progress {
 public:
  // total 0: not known; the count alone is shown then.
  Progress(std::string label, size_t total);
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Update(size_t done);

 private:
  void Draw(size_t done) const;

  using Clock = std::chrono::steady_clock;
  std::string label_;
  size_t total_;
  bool terminal_;
  bool drawn_ = false;
  Clock::time_point next_;
};

}  // namespace xkrdb

#endif
