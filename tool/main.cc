// The program: every failure ends here, as one line on standard error and an exit code.
#include <fmt/format.h>
#include <signal.h>

#include <exception>
#include <new>

#include "command_line.h"
#include "interruption.h"
#include "program_start.h"
#include "terminal.h"
#include "tool_error.h"

int main(int argc, char** argv) {
  using xkrdb::ExitCode;
  xkrdb::PrepareProgram();
  try {
    return xkrdb::RunCommandLine(xkrdb::ProgramArguments(argc, argv));
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
