// See program_start.h.
#include "program_start.h"

#include <fcntl.h>
#include <io.h>
#include <stdlib.h>
#include <windows.h>

#include <shellapi.h>

#include "system_text.h"

namespace xkrdb {

// Bytes go out and come in as they are; a console takes them for UTF-8.
void PrepareProgram() {
  for (const int stream : {0, 1, 2}) (void)_setmode(stream, _O_BINARY);
  SetConsoleOutputCP(CP_UTF8);
}

// The C runtime's arguments have gone through the user's code page.
std::vector<std::string> ProgramArguments(int /*count*/, char** /*arguments*/) {
  std::vector<std::string> all;
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  for (int i = 1; i < count; ++i) all.push_back(NarrowArgument(wide[i]));
  LocalFree(wide);
  return all;
}

}  // namespace xkrdb
