// Where the loader enters the library. There is nothing to prepare: the engine has no state of its own, and its folders
// hold neither static initialisers nor writable data.
#include "platform_types.h"

extern "C" BOOL DllEntry(HANDLE module, DWORD reason, void* reserved);

extern "C" BOOL DllEntry(HANDLE, DWORD, void*) { return TRUE; }
