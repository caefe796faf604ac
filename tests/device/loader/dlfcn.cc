// See dlfcn.h.
#include "dlfcn.h"

#include <windows.h>

#include <filesystem>
#include <string>

extern "C" void* dlopen(const char* path, int) {
  return reinterpret_cast<void*>(LoadLibraryW(std::filesystem::path(path).filename().c_str()));
}

extern "C" void* dlsym(void* library, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

extern "C" const char* dlerror() {
  static std::string text;
  text = "error " + std::to_string(GetLastError());
  return text.c_str();
}
