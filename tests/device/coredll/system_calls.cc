// The device's system calls for files, the heap, the clock and errors, on desktop Windows' own.
//
// Desktop Windows declares the same names with another convention and, for file listings, another record. So each call
// stands here under a name of its own, and is known to the linker by the device's.
#include <windows.h>

#include <clocale>
#include <cstdint>

namespace {

// What a listing finds, as the device lays it out: an identifier of the object, and no second, short name.
struct FoundFile {
  DWORD attributes;
  FILETIME created;
  FILETIME accessed;
  FILETIME written;
  DWORD size_high;
  DWORD size_low;
  DWORD object;
  WCHAR name[MAX_PATH];
};
static_assert(sizeof(FoundFile) == 560);

constexpr uint32_t kNoHandle = 0xFFFFFFFF;

HANDLE HandleOf(uint32_t number) { return reinterpret_cast<HANDLE>(static_cast<uintptr_t>(number)); }

// The device lists neither the folder itself nor the one above it.
bool IsListed(const WCHAR* name) { return wcscmp(name, L".") != 0 && wcscmp(name, L"..") != 0; }

void Convert(const WIN32_FIND_DATAW& from, FoundFile* to) {
  *to = FoundFile{from.dwFileAttributes,
                  from.ftCreationTime,
                  from.ftLastAccessTime,
                  from.ftLastWriteTime,
                  from.nFileSizeHigh,
                  from.nFileSizeLow,
                  0,
                  {}};
  wcscpy(to->name, from.cFileName);
}

}  // namespace

#define DEVICE_CALL(result, name, ...)                            \
  extern "C" result Device##name(__VA_ARGS__) __asm__("_" #name); \
  extern "C" result Device##name(__VA_ARGS__)

DEVICE_CALL(DWORD, GetLastError, void) { return ::GetLastError(); }
DEVICE_CALL(void, SetLastError, DWORD error) { ::SetLastError(error); }

DEVICE_CALL(void*, LocalAlloc, DWORD flags, size_t size) { return ::LocalAlloc(flags, size); }
DEVICE_CALL(void*, LocalReAlloc, void* block, size_t size, DWORD flags) { return ::LocalReAlloc(block, size, flags); }
DEVICE_CALL(size_t, LocalSize, void* block) { return block == nullptr ? 0 : ::LocalSize(block); }
DEVICE_CALL(void*, LocalFree, void* block) { return ::LocalFree(block); }

DEVICE_CALL(void, GetSystemTime, SYSTEMTIME* time) { ::GetSystemTime(time); }

DEVICE_CALL(int32_t, CreateDirectoryW, const WCHAR* path, void*) { return ::CreateDirectoryW(path, nullptr); }
DEVICE_CALL(int32_t, DeleteFileW, const WCHAR* path) { return ::DeleteFileW(path); }

DEVICE_CALL(int32_t, FindNextFileW, uint32_t find, FoundFile* found) {
  WIN32_FIND_DATAW data;
  do {
    if (!::FindNextFileW(HandleOf(find), &data)) return FALSE;
  } while (!IsListed(data.cFileName));
  Convert(data, found);
  return TRUE;
}

DEVICE_CALL(int32_t, FindClose, uint32_t find) { return ::FindClose(HandleOf(find)); }

DEVICE_CALL(uint32_t, FindFirstFileW, const WCHAR* pattern, FoundFile* found) {
  WIN32_FIND_DATAW data;
  const HANDLE handle = ::FindFirstFileW(pattern, &data);
  if (handle == INVALID_HANDLE_VALUE) return kNoHandle;
  const auto number = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(handle));
  if (IsListed(data.cFileName)) {
    Convert(data, found);
  } else if (!DeviceFindNextFileW(number, found)) {
    ::FindClose(handle);
    ::SetLastError(ERROR_FILE_NOT_FOUND);
    return kNoHandle;
  }
  return number;
}

// The runtime's text functions fold the case of letters beyond ASCII only in a locale that somebody asked for.
BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
  if (reason == DLL_PROCESS_ATTACH) std::setlocale(LC_ALL, "");
  return TRUE;
}
