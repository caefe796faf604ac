// See system_text.h.
#include "system_text.h"

#include <windows.h>

#include <cerrno>
#include <cstring>

#include "utf_text.h"

namespace xkrdb {
namespace {

int ErrnoOf(uint32_t error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
      return ENOENT;
    case ERROR_DIRECTORY:
      return ENOTDIR;
    case ERROR_ALREADY_EXISTS:
    case ERROR_FILE_EXISTS:
      return EEXIST;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return ENOSPC;
    case ERROR_ACCESS_DENIED:
    case ERROR_WRITE_PROTECT:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return EACCES;
    default:
      return EIO;
  }
}

}  // namespace

static_assert(sizeof(wchar_t) == sizeof(char16_t));

std::wstring WideArgument(std::string_view text) {
  const std::u16string wide = ToWide(text).value_or(std::u16string());
  return {wide.begin(), wide.end()};
}

std::string NarrowArgument(std::wstring_view text) {
  return ToUtf8(std::u16string(text.begin(), text.end())).value_or(std::string());
}

std::string SystemMessage(uint32_t error) { return std::strerror(ErrnoOf(error)); }

}  // namespace xkrdb
