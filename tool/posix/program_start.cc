// See program_start.h.
#include "program_start.h"

#include <signal.h>

#include <clocale>

namespace xkrdb {

// Widths of characters are asked for in UTF-8: that is what is written.
void PrepareProgram() {
  (void)std::setlocale(LC_CTYPE, "C.UTF-8");
  (void)signal(SIGPIPE, SIG_IGN);
}

std::vector<std::string> ProgramArguments(int count, char** arguments) {
  return {arguments + (count > 0 ? 1 : 0), arguments + count};
}

}  // namespace xkrdb
