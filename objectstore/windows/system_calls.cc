// See system_calls.h. The only file of the store that sees the system's header.
#include "system_calls.h"

#include <windows.h>

#include <bcrypt.h>

namespace objectstore::windows {

namespace {

HANDLE HandleOf(intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

ErrorNumber ResultOf(BOOL succeeded) {
  if (succeeded != FALSE) return ERROR_SUCCESS;
  const DWORD error = GetLastError();
  return error != ERROR_SUCCESS ? error : ERROR_GEN_FAILURE;
}

// Where in a file a call that takes no other place works.
OVERLAPPED PlaceOf(uint64_t start) {
  OVERLAPPED place = {};
  place.Offset = static_cast<DWORD>(start);
  place.OffsetHigh = static_cast<DWORD>(start >> 32);
  return place;
}

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

ErrorNumber OpenPath(const std::wstring& path, DWORD access, DWORD disposition, DWORD flags, intptr_t& handle) {
  if (path.empty()) return ERROR_INVALID_NAME;
  HANDLE opened = CreateFileW(path.c_str(), access, kShareAll, nullptr, disposition, flags, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return ResultOf(FALSE);
  handle = reinterpret_cast<intptr_t>(opened);
  return ERROR_SUCCESS;
}

ErrorNumber PathOfHandle(intptr_t handle, std::wstring& path) {
  wchar_t room[MAX_PATH + 32];
  const DWORD length = GetFinalPathNameByHandleW(HandleOf(handle), room, MAX_PATH + 32, FILE_NAME_NORMALIZED);
  if (length == 0) return ResultOf(FALSE);
  if (length >= MAX_PATH + 32) return ERROR_FILENAME_EXCED_RANGE;
  path.assign(room, length);
  return ERROR_SUCCESS;
}

}  // namespace

std::wstring WideText(const std::string& text) {
  const int bytes = static_cast<int>(text.size());
  const int units = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), bytes, nullptr, 0);
  std::wstring wide(static_cast<size_t>(units), L'\0');
  if (units != 0) MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), bytes, wide.data(), units);
  return wide;
}

std::string NarrowText(const std::wstring& text) {
  const int units = static_cast<int>(text.size());
  const int bytes =
      WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), units, nullptr, 0, nullptr, nullptr);
  std::string narrow(static_cast<size_t>(bytes), '\0');
  if (bytes != 0)
    WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), units, narrow.data(), bytes, nullptr, nullptr);
  return narrow;
}

// Others may delete and rename the file meanwhile, so that it can be given its name while it is open.
ErrorNumber OpenFile(const std::string& path, Opening opening, intptr_t& handle) {
  const bool reads = opening == Opening::kRead || opening == Opening::kReadAndWrite;
  const bool writes = opening != Opening::kRead;
  const DWORD access = (reads ? GENERIC_READ : 0) | (writes ? GENERIC_WRITE : 0);
  const DWORD disposition = opening == Opening::kNew ? CREATE_NEW : OPEN_EXISTING;
  const std::wstring wide = WideText(path);
  if (opening != Opening::kNew) {
    const DWORD attributes = GetFileAttributesW(wide.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return kIsLink;
  }
  return OpenPath(wide, access, disposition, FILE_ATTRIBUTE_NORMAL, handle);
}

void Close(intptr_t handle) { CloseHandle(HandleOf(handle)); }

ErrorNumber FactsOf(intptr_t handle, Facts& facts) {
  BY_HANDLE_FILE_INFORMATION found;
  const bool on_disk = GetFileType(HandleOf(handle)) == FILE_TYPE_DISK;
  facts = {};
  if (!on_disk) return ERROR_SUCCESS;
  const ErrorNumber error = ResultOf(GetFileInformationByHandle(HandleOf(handle), &found));
  if (error != ERROR_SUCCESS) return error;
  facts.is_link = (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
  facts.is_file = !facts.is_link && (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
  facts.volume = found.dwVolumeSerialNumber;
  facts.number = uint64_t{found.nFileIndexHigh} << 32 | found.nFileIndexLow;
  facts.bytes = uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow;
  return ERROR_SUCCESS;
}

ErrorNumber FactsOfName(const std::string& path, Facts& facts) {
  intptr_t handle = 0;
  constexpr DWORD kFlags = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;
  ErrorNumber error = OpenPath(WideText(path), FILE_READ_ATTRIBUTES, OPEN_EXISTING, kFlags, handle);
  if (error != ERROR_SUCCESS) return error;
  error = FactsOf(handle, facts);
  Close(handle);
  return error;
}

ErrorNumber ReadBytes(intptr_t handle, uint64_t start, uint8_t* bytes, uint32_t count, uint32_t& got) {
  OVERLAPPED place = PlaceOf(start);
  DWORD read = 0;
  const ErrorNumber error = ResultOf(ReadFile(HandleOf(handle), bytes, count, &read, &place));
  got = read;
  return error == ERROR_HANDLE_EOF ? ERROR_SUCCESS : error;
}

ErrorNumber WriteBytes(intptr_t handle, uint64_t start, const uint8_t* bytes, uint32_t count, uint32_t& written) {
  OVERLAPPED place = PlaceOf(start);
  DWORD done = 0;
  const ErrorNumber error = ResultOf(WriteFile(HandleOf(handle), bytes, count, &done, &place));
  written = done;
  return error;
}

ErrorNumber SetFileBytes(intptr_t handle, uint64_t bytes) {
  LARGE_INTEGER end;
  end.QuadPart = static_cast<LONGLONG>(bytes);
  const ErrorNumber error = ResultOf(SetFilePointerEx(HandleOf(handle), end, nullptr, FILE_BEGIN));
  return error == ERROR_SUCCESS ? ResultOf(SetEndOfFile(HandleOf(handle))) : error;
}

ErrorNumber FlushFile(intptr_t handle) { return ResultOf(FlushFileBuffers(HandleOf(handle))); }

ErrorNumber LockBytes(intptr_t handle, uint64_t start, uint32_t count, bool alone) {
  OVERLAPPED place = PlaceOf(start);
  const DWORD flags = LOCKFILE_FAIL_IMMEDIATELY | (alone ? LOCKFILE_EXCLUSIVE_LOCK : 0);
  return ResultOf(LockFileEx(HandleOf(handle), flags, 0, count, 0, &place));
}

ErrorNumber FreeDiskBytes(intptr_t handle, uint64_t& bytes) {
  std::wstring path;
  const ErrorNumber error = PathOfHandle(handle, path);
  if (error != ERROR_SUCCESS) return error;
  path.resize(path.find_last_of(L'\\') + 1);
  ULARGE_INTEGER free;
  const ErrorNumber asked = ResultOf(GetDiskFreeSpaceExW(path.c_str(), &free, nullptr, nullptr));
  bytes = free.QuadPart;
  return asked;
}

ErrorNumber DeleteName(const std::string& path) { return ResultOf(DeleteFileW(WideText(path).c_str())); }

ErrorNumber MoveName(const std::string& path, const std::string& new_path, bool replace) {
  const DWORD flags = MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0);
  return ResultOf(MoveFileExW(WideText(path).c_str(), WideText(new_path).c_str(), flags));
}

// The system's answer begins with a mark for paths that are taken as they are; SQLite takes shorter ones without it.
ErrorNumber FinalPathOfFolder(const std::string& path, std::string& found) {
  intptr_t handle = 0;
  ErrorNumber error = OpenPath(WideText(path), FILE_READ_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, handle);
  if (error != ERROR_SUCCESS) return error;
  Facts facts;
  std::wstring final_path;
  error = FactsOf(handle, facts);
  if (error == ERROR_SUCCESS) error = facts.is_file ? kDirectoryInvalid : PathOfHandle(handle, final_path);
  Close(handle);
  if (error != ERROR_SUCCESS) return error;
  const std::wstring mark = L"\\\\?\\";
  const std::wstring network = mark + L"UNC\\";
  if (final_path.starts_with(network)) {
    final_path.replace(0, network.size(), L"\\\\");
  } else if (final_path.starts_with(mark)) {
    final_path.erase(0, mark.size());
  }
  found = NarrowText(final_path);
  return found.empty() ? ErrorNumber{ERROR_INVALID_NAME} : ErrorNumber{ERROR_SUCCESS};
}

// One that its last owner did not release is taken all the same.
ErrorNumber TakeNamedMutex(const std::string& name, intptr_t& handle) {
  HANDLE mutex = CreateMutexW(nullptr, FALSE, WideText(name).c_str());
  handle = 0;
  if (mutex == nullptr) return ResultOf(FALSE);
  const DWORD waited = WaitForSingleObject(mutex, 0);
  if (waited == WAIT_OBJECT_0 || waited == WAIT_ABANDONED) {
    handle = reinterpret_cast<intptr_t>(mutex);
  } else {
    CloseHandle(mutex);
  }
  return ERROR_SUCCESS;
}

void ReleaseNamedMutex(intptr_t handle) {
  ReleaseMutex(HandleOf(handle));
  CloseHandle(HandleOf(handle));
}

ErrorNumber FillWithRandomBytes(uint8_t* bytes, size_t count) {
  const NTSTATUS status = BCryptGenRandom(nullptr, bytes, static_cast<ULONG>(count), BCRYPT_USE_SYSTEM_PREFERRED_RNG);
  return status >= 0 ? ERROR_SUCCESS : ERROR_GEN_FAILURE;
}

uint32_t CurrentProcess() { return GetCurrentProcessId(); }

uint64_t CurrentFileTime() {
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  return uint64_t{now.dwHighDateTime} << 32 | now.dwLowDateTime;
}

ErrorNumber LastErrorNumber() { return GetLastError(); }
void SetLastErrorNumber(ErrorNumber number) { SetLastError(number); }

}  // namespace objectstore::windows
