// See output_file.h. The temporary file lies in the folder of the real one, since a move must not cross file systems.
#include "output_file.h"

#include <fmt/format.h>
#include <windows.h>

#include <algorithm>

#include "system_text.h"
#include "tool_error.h"

namespace xkrdb {
namespace {

ToolError WriteFailure(const std::string& path, DWORD error) {
  const bool exists = error == ERROR_ALREADY_EXISTS || error == ERROR_FILE_EXISTS;
  return {ExitCode::kInputOutput,
          fmt::format("cannot write {}: {}{}", path, SystemMessage(error), exists ? "; --force replaces it" : "")};
}

// 0, or the error.
DWORD WriteAll(HANDLE file, std::string_view text) {
  constexpr size_t kPieceBytes = size_t{1} << 20;
  while (!text.empty()) {
    DWORD written = 0;
    const auto piece = static_cast<DWORD>(std::min(text.size(), kPieceBytes));
    if (WriteFile(file, text.data(), piece, &written, nullptr) == 0) return GetLastError();
    text.remove_prefix(written);
  }
  return 0;
}

// Closes the file in any case.
DWORD WriteAndClose(HANDLE file, std::string_view text) {
  DWORD error = WriteAll(file, text);
  if (error == 0 && GetFileType(file) == FILE_TYPE_DISK && FlushFileBuffers(file) == 0) error = GetLastError();
  CloseHandle(file);
  return error;
}

// A console, a pipe, a printer: nothing to replace, nothing to move.
bool IsDevice(const std::wstring& path) {
  HANDLE file = CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  const bool device = GetFileType(file) != FILE_TYPE_DISK;
  CloseHandle(file);
  return device;
}

}  // namespace

void WriteFileWhole(const std::string& path, std::string_view text, bool replace) {
  const std::wstring target = WideArgument(path);
  const bool device = IsDevice(target);
  const std::wstring temporary = device ? target : target + L"." + std::to_wstring(GetCurrentProcessId());
  HANDLE file = CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, device ? OPEN_EXISTING : CREATE_NEW,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) throw WriteFailure(path, GetLastError());
  DWORD error = WriteAndClose(file, text);
  if (!device && error == 0) {
    const DWORD flags = MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0);
    if (MoveFileExW(temporary.c_str(), target.c_str(), flags) == 0) error = GetLastError();
  }
  if (error == 0) return;
  if (!device) DeleteFileW(temporary.c_str());
  throw WriteFailure(path, error);
}

}  // namespace xkrdb
