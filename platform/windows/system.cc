// See system.h. The only file of the platform that sees the system's header.
#include "system.h"

#include <windows.h>

#include <iterator>

namespace windows {

static_assert(sizeof(wchar_t) == sizeof(char16_t));

namespace {

const wchar_t* Wide(const char16_t* text) { return reinterpret_cast<const wchar_t*>(text); }

uint64_t StepsOf(const FILETIME& time) { return uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime; }

void Convert(const WIN32_FIND_DATAW& found, Entry& entry) {
  entry.attributes = found.dwFileAttributes;
  entry.created = StepsOf(found.ftCreationTime);
  entry.accessed = StepsOf(found.ftLastAccessTime);
  entry.written = StepsOf(found.ftLastWriteTime);
  entry.bytes = uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow;
  static_assert(sizeof found.cFileName == sizeof entry.name);
  for (size_t i = 0; i < std::size(entry.name); ++i) entry.name[i] = static_cast<char16_t>(found.cFileName[i]);
}

}  // namespace

uint32_t LastError() { return GetLastError(); }
void SetLastError(uint32_t error) { ::SetLastError(error); }

void* AllocateBlock(size_t size, bool zeros) { return LocalAlloc(zeros ? LPTR : LMEM_FIXED, size); }

void* ResizeBlock(void* block, size_t size, bool zeros) {
  return LocalReAlloc(block, size, LMEM_MOVEABLE | (zeros ? LMEM_ZEROINIT : 0));
}

size_t SizeOfBlock(void* block) { return LocalSize(block); }
void FreeBlock(void* block) { LocalFree(block); }

void Time(uint16_t (&parts)[8]) {
  SYSTEMTIME now;
  GetSystemTime(&now);
  const uint16_t all[8] = {now.wYear, now.wMonth,  now.wDayOfWeek, now.wDay,
                           now.wHour, now.wMinute, now.wSecond,    now.wMilliseconds};
  for (size_t i = 0; i < std::size(all); ++i) parts[i] = all[i];
}

void* BeginListing(const char16_t* pattern, Entry& first) {
  WIN32_FIND_DATAW found;
  HANDLE listing = FindFirstFileW(Wide(pattern), &found);
  if (listing == INVALID_HANDLE_VALUE) return nullptr;
  Convert(found, first);
  return listing;
}

bool NextEntry(void* listing, Entry& next) {
  WIN32_FIND_DATAW found;
  if (!FindNextFileW(listing, &found)) return false;
  Convert(found, next);
  return true;
}

void EndListing(void* listing) { FindClose(listing); }

bool MakeFolder(const char16_t* path) { return CreateDirectoryW(Wide(path), nullptr) != FALSE; }
bool DeleteFileOf(const char16_t* path) { return DeleteFileW(Wide(path)) != FALSE; }

// A letter in place of an address is mapped by itself.
char16_t LowerCase(char16_t unit) {
  const auto lower = reinterpret_cast<uintptr_t>(CharLowerW(reinterpret_cast<wchar_t*>(uintptr_t{unit})));
  return static_cast<char16_t>(lower);
}

}  // namespace windows
