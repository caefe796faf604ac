// The program: every failure ends here, as one line on standard error and an exit code.
#include <fmt/format.h>
#include <signal.h>

#include <clocale>
#include <exception>
#include <new>

#include "command_line.h"
#include "interruption.h"
#include "terminal.h"
#include "tool_error.h"

int main(int argc, char** argv) {
  using xkrdb::ExitCode;
  // Widths of characters are asked for in UTF-8 whatever the user's locale: that is what is written.
  (void)std::setlocale(LC_CTYPE, "C.UTF-8");
  // A reader that goes away is met where output is written.
  (void)signal(SIGPIPE, SIG_IGN);
  try {
    return xkrdb::RunCommandLine(argc, argv);
  } catch (const xkrdb::ToolError& error) {
    xkrdb::PrintMessage(fmt::format("xkrdb: {}", error.what()));
    return static_cast<int>(error.code());
  } catch (const xkrdb::Interrupted& interrupted) {
    xkrdb::PrintMessage("xkrdb: interrupted; nothing was written");
    (void)raise(interrupted.signal);
  } catch (const std::bad_alloc&) {
    xkrdb::PrintMessage("xkrdb: not enough memory");
  } catch (const std::exception& error) {
    xkrdb::PrintMessage(fmt::format("xkrdb: {}", error.what()));
  }
  return static_cast<int>(ExitCode::kInputOutput);
}
