// Files and folders on a POSIX file system. The separator is '/'; names are UTF-8 on disk and UTF-16 in the interface.
//
// A listing is the folder as it was when the listing began, in byte order of the names. Names that have no UTF-16 form
// or do not fit cFileName are left out, since no caller could open them; so is an entry that is gone when its turn
// comes.
#include "files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "file_in_use.h"
#include "file_pattern.h"
#include "path_text.h"

namespace {

struct Listing {
  HANDLE handle = 0;
  std::string folder;  // ends with '/', or is empty for the working folder
  std::vector<std::string> names;
  size_t next = 0;
  Listing* older = nullptr;
};

// All open listings, the youngest first. The list is never destroyed: a program may end with listings open in threads
// that still run.
std::mutex listings_lock;
constinit Listing* listings = nullptr;
constinit HANDLE last_handle = 0;

BOOL Fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

// missing is the last error for a path that leads nowhere, which is not the same for all calls.
DWORD LastErrorOf(int system_error, DWORD missing) {
  switch (system_error) {
    case ENOENT:
      return missing;
    case ENOTDIR:
    case ELOOP:
    case ENAMETOOLONG:
      return ERROR_PATH_NOT_FOUND;
    case EEXIST:
      return ERROR_ALREADY_EXISTS;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case EBUSY:
      return ERROR_ACCESS_DENIED;
    case ENOSPC:
    case EDQUOT:
      return ERROR_DISK_FULL;
    case ENOMEM:
      return ERROR_OUTOFMEMORY;
    default:
      return ERROR_IO_DEVICE;
  }
}

FILETIME FileTime(const timespec& time) {
  constexpr int64_t kSecondsFrom1601To1970 = 11644473600;
  const int64_t seconds = std::max<int64_t>(0, int64_t{time.tv_sec} + kSecondsFrom1601To1970);
  const auto steps = static_cast<uint64_t>(seconds) * 10000000u + static_cast<uint64_t>(time.tv_nsec / 100);
  return FILETIME{static_cast<DWORD>(steps), static_cast<DWORD>(steps >> 32)};
}

void Describe(const struct stat& status, WIN32_FIND_DATAW* found) {
  const bool folder = S_ISDIR(status.st_mode);
  DWORD attributes = folder ? DWORD{FILE_ATTRIBUTE_DIRECTORY} : 0;
  if ((status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) attributes |= FILE_ATTRIBUTE_READONLY;
  const auto size = folder ? 0 : static_cast<uint64_t>(status.st_size);
  found->dwFileAttributes = attributes == 0 ? DWORD{FILE_ATTRIBUTE_NORMAL} : attributes;
  found->ftCreationTime = FileTime(status.st_mtim);  // POSIX keeps no time of creation
  found->ftLastAccessTime = FileTime(status.st_atim);
  found->ftLastWriteTime = FileTime(status.st_mtim);
  found->nFileSizeHigh = static_cast<DWORD>(size >> 32);
  found->nFileSizeLow = static_cast<DWORD>(size);
}

// A link is described as what it leads to, or as itself when it leads nowhere.
bool ReadStatus(const std::string& path, struct stat& status) {
  return stat(path.c_str(), &status) == 0 || lstat(path.c_str(), &status) == 0;
}

// Fills found with the listing's next entry that is still there; false at the end.
bool NextEntry(Listing& listing, WIN32_FIND_DATAW* found) {
  std::u16string wide;
  while (listing.next < listing.names.size()) {
    const std::string& name = listing.names[listing.next++];
    struct stat status;
    if (!path_text::ToUtf16(name, wide) || !ReadStatus(listing.folder + name, status)) continue;
    *found = WIN32_FIND_DATAW{};
    Describe(status, found);
    std::copy(wide.begin(), wide.end(), found->cFileName);
    return true;
  }
  return false;
}

bool IsListed(const char* name, std::u16string_view pattern) {
  const std::string_view text = name;
  std::u16string wide;
  return text != "." && text != ".." && path_text::ToUtf16(text, wide) && wide.size() < MAX_PATH &&
         file_pattern::Matches(pattern, wide);
}

// Reads the names that match, in order. 0, or the last error.
DWORD ReadFolder(std::u16string_view pattern, Listing& listing) {
  const char* path = listing.folder.empty() ? "." : listing.folder.c_str();
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path), [](DIR* open) { return closedir(open); });
  if (folder == nullptr) return LastErrorOf(errno, ERROR_PATH_NOT_FOUND);
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(folder.get());
    if (entry == nullptr) break;
    if (IsListed(entry->d_name, pattern)) listing.names.emplace_back(entry->d_name);
  }
  if (errno != 0) return LastErrorOf(errno, ERROR_PATH_NOT_FOUND);
  std::sort(listing.names.begin(), listing.names.end());
  return 0;
}

// The link that holds the open listing of this handle, or the null link at the end of the list. The lock is held.
Listing** FindLink(HANDLE handle) {
  Listing** link = &listings;
  while (*link != nullptr && (*link)->handle != handle) link = &(*link)->older;
  return link;
}

HANDLE Register(std::unique_ptr<Listing> listing) {
  const std::lock_guard<std::mutex> hold(listings_lock);
  // The numbers come round again in the end; one that is still open is passed over.
  do {
    ++last_handle;
  } while (last_handle == 0 || last_handle == INVALID_HANDLE_VALUE || *FindLink(last_handle) != nullptr);
  listing->handle = last_handle;
  listing->older = listings;
  listings = listing.release();
  return last_handle;
}

// Takes a listing out of the list; null for an unknown handle.
std::unique_ptr<Listing> Unregister(HANDLE handle) {
  const std::lock_guard<std::mutex> hold(listings_lock);
  Listing** link = FindLink(handle);
  std::unique_ptr<Listing> listing(*link);
  if (listing != nullptr) *link = listing->older;
  return listing;
}

HANDLE StartListing(std::u16string_view pattern, WIN32_FIND_DATAW* found) {
  const auto refuse = [](DWORD error) {
    SetLastError(error);
    return HANDLE{INVALID_HANDLE_VALUE};
  };
  const size_t folder_ends = pattern.rfind(u'/') + 1;  // 0 when there is no separator
  auto listing = std::make_unique<Listing>();
  if (!path_text::ToUtf8(pattern.substr(0, folder_ends), listing->folder)) return refuse(ERROR_PATH_NOT_FOUND);
  const DWORD error = ReadFolder(pattern.substr(folder_ends), *listing);
  if (error != 0) return refuse(error);
  if (!NextEntry(*listing, found)) return refuse(ERROR_FILE_NOT_FOUND);
  return Register(std::move(listing));
}

// Runs one call that may be short of memory.
template <typename Result, typename Call>
Result WithMemory(Result failed, Call call) {
  try {
    return call();
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_OUTOFMEMORY);
    return failed;
  }
}

}  // namespace

extern "C" HANDLE FindFirstFileW(const WCHAR* pattern, WIN32_FIND_DATAW* found) {
  if (pattern == nullptr || found == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  return WithMemory(HANDLE{INVALID_HANDLE_VALUE}, [&] { return StartListing(pattern, found); });
}

extern "C" BOOL FindNextFileW(HANDLE find, WIN32_FIND_DATAW* found) {
  return WithMemory(BOOL{FALSE}, [&]() -> BOOL {
    const std::lock_guard<std::mutex> hold(listings_lock);
    Listing* listing = *FindLink(find);
    if (listing == nullptr) return Fail(ERROR_INVALID_HANDLE);
    if (found == nullptr) return Fail(ERROR_INVALID_PARAMETER);
    return NextEntry(*listing, found) ? BOOL{TRUE} : Fail(ERROR_NO_MORE_FILES);
  });
}

extern "C" BOOL FindClose(HANDLE find) { return Unregister(find) != nullptr ? BOOL{TRUE} : Fail(ERROR_INVALID_HANDLE); }

extern "C" BOOL CreateDirectoryW(const WCHAR* path, void*) {
  if (path == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  return WithMemory(BOOL{FALSE}, [&]() -> BOOL {
    std::string name;
    if (!path_text::ToUtf8(path, name)) return Fail(ERROR_PATH_NOT_FOUND);
    return mkdir(name.c_str(), 0777) == 0 ? BOOL{TRUE} : Fail(LastErrorOf(errno, ERROR_PATH_NOT_FOUND));
  });
}

extern "C" BOOL DeleteFileW(const WCHAR* path) {
  if (path == nullptr) return Fail(ERROR_INVALID_PARAMETER);
  return WithMemory(BOOL{FALSE}, [&]() -> BOOL {
    std::string name;
    if (!path_text::ToUtf8(path, name)) return Fail(ERROR_FILE_NOT_FOUND);
    if (IsFileInUse(name)) return Fail(ERROR_SHARING_VIOLATION);
    return unlink(name.c_str()) == 0 ? BOOL{TRUE} : Fail(LastErrorOf(errno, ERROR_FILE_NOT_FOUND));
  });
}
