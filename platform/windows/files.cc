// Files and folders are the system's. Of a listing it is left out what the platform does not list: the folder itself, the
// one above it, and names that match by their second, short form alone.
#include "files.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>

#include "file_pattern.h"
#include "system.h"

namespace {

struct EndListing {
  void operator()(void* listing) const { windows::EndListing(listing); }
};

struct Listing {
  std::u16string pattern;  // the last part, in lower case
  std::unique_ptr<void, EndListing> system;
};

// Never destroyed: a program may end with listings open in threads that still run.
struct Listings {
  std::mutex lock;
  std::map<HANDLE, Listing> open;
  HANDLE last_handle = 0;
  static Listings& Get() {
    static Listings* const listings = new Listings;
    return *listings;
  }
};

BOOL Fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

std::u16string InLowerCase(std::u16string_view text) {
  std::u16string lower(text);
  for (char16_t& unit : lower) unit = windows::LowerCase(unit);
  return lower;
}

bool IsListed(std::u16string_view name, std::u16string_view pattern) {
  if (name == u"." || name == u"..") return false;
  return pattern == u"*.*" || file_pattern::Matches(pattern, InLowerCase(name));
}

FILETIME FileTime(uint64_t steps) { return {static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)}; }

void Describe(const windows::Entry& entry, WIN32_FIND_DATAW* found) {
  *found = WIN32_FIND_DATAW{};
  found->dwFileAttributes = entry.attributes;
  found->ftCreationTime = FileTime(entry.created);
  found->ftLastAccessTime = FileTime(entry.accessed);
  found->ftLastWriteTime = FileTime(entry.written);
  found->nFileSizeHigh = static_cast<DWORD>(entry.bytes >> 32);
  found->nFileSizeLow = static_cast<DWORD>(entry.bytes);
  std::copy(std::begin(entry.name), std::end(entry.name), found->cFileName);
}

// False at the end, with the system's reason as the last error.
bool FindListed(const Listing& listing, windows::Entry& entry, bool has_entry) {
  while (!has_entry || !IsListed(entry.name, listing.pattern)) {
    if (!windows::NextEntry(listing.system.get(), entry)) return false;
    has_entry = true;
  }
  return true;
}

HANDLE Register(Listing listing) {
  Listings& listings = Listings::Get();
  const std::lock_guard hold(listings.lock);
  do {
    ++listings.last_handle;
  } while (listings.last_handle == 0 || listings.last_handle == INVALID_HANDLE_VALUE ||
           listings.open.count(listings.last_handle) != 0);
  listings.open.emplace(listings.last_handle, std::move(listing));
  return listings.last_handle;
}

HANDLE StartListing(std::u16string_view pattern, WIN32_FIND_DATAW* found) {
  const size_t name = pattern.find_last_of(u"/\\") + 1;  // 0 when there is no separator
  windows::Entry entry;
  Listing listing{InLowerCase(pattern.substr(name)), nullptr};
  listing.system.reset(windows::BeginListing(std::u16string(pattern).c_str(), entry));
  if (listing.system == nullptr) return INVALID_HANDLE_VALUE;
  if (!FindListed(listing, entry, true)) {
    if (GetLastError() == ERROR_NO_MORE_FILES) SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  }
  Describe(entry, found);
  return Register(std::move(listing));
}

}  // namespace

extern "C" HANDLE FindFirstFileW(const WCHAR* pattern, WIN32_FIND_DATAW* found) {
  if (pattern == nullptr || found == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  try {
    return StartListing(pattern, found);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_OUTOFMEMORY);
    return INVALID_HANDLE_VALUE;
  }
}

extern "C" BOOL FindNextFileW(HANDLE find, WIN32_FIND_DATAW* found) {
  Listings& listings = Listings::Get();
  const std::lock_guard hold(listings.lock);
  const auto listing = listings.open.find(find);
  if (listing == listings.open.end()) return Fail(ERROR_INVALID_HANDLE);
  if (found == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  try {
    windows::Entry entry;
    if (!FindListed(listing->second, entry, false)) return FALSE;
    Describe(entry, found);
    return TRUE;
  } catch (const std::bad_alloc&) {
    return Fail(ERROR_OUTOFMEMORY);
  }
}

extern "C" BOOL FindClose(HANDLE find) {
  Listings& listings = Listings::Get();
  const std::lock_guard hold(listings.lock);
  return listings.open.erase(find) != 0 ? BOOL{TRUE} : Fail(ERROR_INVALID_HANDLE);
}

extern "C" BOOL CreateDirectoryW(const WCHAR* path, void*) {
  if (path == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  return windows::MakeFolder(path) ? BOOL{TRUE} : FALSE;
}

extern "C" BOOL DeleteFileW(const WCHAR* path) {
  if (path == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  return windows::DeleteFileOf(path) ? BOOL{TRUE} : FALSE;
}
