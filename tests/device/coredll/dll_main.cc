// What the test's coredll.dll does when it is loaded.
#include <windows.h>

#include <clocale>

// The runtime's text functions, which it hands on, fold the case of letters beyond ASCII only in a locale that somebody
// asked for.
BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
  if (reason == DLL_PROCESS_ATTACH) std::setlocale(LC_ALL, "");
  return TRUE;
}
