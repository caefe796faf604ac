// Standard output and standard error. Output is written whole and checked to the last byte; messages are always made
// safe, since standard error may be a terminal although standard output is not.
#include "terminal.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "console.h"
#include "safe_text.h"
#include "tool_error.h"

namespace xkrdb {
namespace {

constexpr auto kFirstDrawing = std::chrono::milliseconds(500);
constexpr auto kBetweenDrawings = std::chrono::milliseconds(100);
constexpr size_t kBarColumns = 30;
constexpr std::string_view kClearLine = "\r\x1b[K";

void WriteMessage(std::string_view text) {
  // A message that cannot be written has nowhere else to go.
  (void)fwrite(text.data(), 1, text.size(), stderr);
  (void)fflush(stderr);
}

}  // namespace

bool OutputIsTerminal() { return IsTerminal(Stream::kOutput); }
bool MessagesAreTerminal() { return IsTerminal(Stream::kMessages); }

size_t OutputWidth() {
  if (!OutputIsTerminal()) return 0;
  if (const size_t known = TerminalColumns(); known > 0) return known;
  const char* columns = std::getenv("COLUMNS");
  size_t width = 0;
  if (columns != nullptr) std::from_chars(columns, columns + std::strlen(columns), width);
  return width > 0 ? width : 80;
}

bool OutputIsStyled() {
  const char* no_color = std::getenv("NO_COLOR");
  const char* term = std::getenv("TERM");
  const bool refused = no_color != nullptr && no_color[0] != '\0';
  return OutputIsTerminal() && !refused && term != nullptr && std::string_view(term) != "dumb";
}

void WriteOutput(std::string_view text) {
  const int error = WriteToOutput(text);
  if (error != 0)
    throw ToolError(ExitCode::kInputOutput, fmt::format("cannot write the output: {}", std::strerror(error)));
}

void PrintMessage(std::string_view text) { WriteMessage(SafeText(text) + "\n"); }

Progress::Progress(std::string label, size_t total)
    : label_(std::move(label)), total_(total), terminal_(MessagesAreTerminal()), next_(Clock::now() + kFirstDrawing) {}

Progress::~Progress() {
  if (drawn_) WriteMessage(kClearLine);
}

void Progress::Update(size_t done) {
  if (!terminal_ || Clock::now() < next_) return;
  next_ = Clock::now() + kBetweenDrawings;
  drawn_ = true;
  Draw(done);
}

void Progress::Draw(size_t done) const {
  std::string line = fmt::format("{}{}: {}", kClearLine, label_, done);
  if (total_ > 0) {
    const size_t filled = std::min(done, total_) * kBarColumns / total_;
    line = fmt::format("{}{} [{:#<{}}{:.<{}}] {} of {}", kClearLine, label_, "", filled, "", kBarColumns - filled, done,
                       total_);
  }
  WriteMessage(line);
}

}  // namespace xkrdb
