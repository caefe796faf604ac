// See volume_text.h.
#include "volume_text.h"

#include <cstring>

#include "local_heap.h"

namespace {

constexpr char kDigits[] = "0123456789abcdef";

void AppendBytes(std::string& text, const void* bytes, size_t count) {
  const auto* byte = static_cast<const uint8_t*>(bytes);
  for (size_t i = 0; i < count; ++i) {
    text += kDigits[byte[i] >> 4];
    text += kDigits[byte[i] & 15];
  }
}

void AppendNumber(std::string& text, const char* name, uint64_t number) {
  text += ' ';
  text += name;
  text += ' ';
  text += std::to_string(number);
}

void AppendValue(std::string& text, const CEPROPVAL& value) {
  AppendNumber(text, "property", value.propid);
  AppendNumber(text, "flags", value.wFlags);
  text += ": ";
  switch (static_cast<WORD>(value.propid)) {
    case CEVT_I2:
    case CEVT_UI2:
      return AppendBytes(text, &value.val.iVal, sizeof value.val.iVal);
    case CEVT_LPWSTR: {
      size_t length = 0;
      while (value.val.lpwstr[length] != 0) ++length;
      return AppendBytes(text, value.val.lpwstr, length * sizeof(WCHAR));
    }
    case CEVT_BLOB:
      return AppendBytes(text, value.val.blob.lpb, value.val.blob.dwCount);
    case CEVT_R8:
    case CEVT_FILETIME:
      return AppendBytes(text, &value.val.dblVal, sizeof value.val.dblVal);
    default:
      return AppendBytes(text, &value.val.lVal, sizeof value.val.lVal);
  }
}

void AppendError(std::string& text, const char* what) {
  text += what;
  AppendNumber(text, "failed with last error", GetLastError());
  text += '\n';
}

void AppendRecords(std::string& text, HANDLE handle) {
  BYTE* block = nullptr;
  DWORD size = 0;
  for (;;) {
    WORD count = 0;
    const CEOID oid = CeReadRecordPropsEx(handle, CEDB_ALLOWREALLOC, &count, nullptr, &block, &size, 0);
    if (oid == 0) break;
    AppendNumber(text, "record", oid);
    for (WORD i = 0; i < count; ++i) AppendValue(text, reinterpret_cast<const CEPROPVAL*>(block)[i]);
    text += '\n';
    size = static_cast<DWORD>(LocalSize(block));  // a call leaves there what it needed
  }
  if (GetLastError() != ERROR_NO_MORE_ITEMS) AppendError(text, "reading");
  LocalFree(block);
}

void AppendOrder(std::string& text, const CEGUID& volume, CEOID oid, const SORTORDERSPEC& spec) {
  const HANDLE handle = CeOpenDatabaseEx(&volume, &oid, nullptr, spec.propid, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return AppendError(text, "opening");
  AppendNumber(text, "order", spec.propid);
  AppendNumber(text, "flags", spec.dwFlags);
  text += ':';
  CEOID record = CeSeekDatabase(handle, CEDB_SEEK_BEGINNING, 0, nullptr);
  while (record != 0) {
    text += ' ';
    text += std::to_string(record);
    record = CeSeekDatabase(handle, CEDB_SEEK_CURRENT, 1, nullptr);
  }
  if (GetLastError() != ERROR_SEEK) AppendError(text, "seeking");
  text += '\n';
  CloseHandle(handle);
}

void AppendDatabase(VolumeText& text, const CEGUID& volume, CEOID oid) {
  CEOIDINFO info;
  std::memset(&info, 0, sizeof info);
  if (!CeOidGetInfoEx(&volume, oid, &info)) return AppendError(text.content, "describing");
  const CEDBASEINFO& base = info.infDatabase;
  AppendNumber(text.content, "database", oid);
  AppendNumber(text.content, "type", base.dwDbaseType);
  AppendNumber(text.content, "flags", base.dwFlags);
  AppendNumber(text.content, "records", base.wNumRecords);
  AppendNumber(text.content, "bytes", base.dwSize);
  text.content += " name ";
  AppendBytes(text.content, base.szDbaseName, sizeof base.szDbaseName);
  text.content += '\n';
  AppendNumber(text.times, "low", base.ftLastModified.dwLowDateTime);
  AppendNumber(text.times, "high", base.ftLastModified.dwHighDateTime);
  for (WORD i = 0; i < base.wNumSortOrder; ++i) AppendOrder(text.content, volume, oid, base.rgSortSpecs[i]);
  const HANDLE handle = CeOpenDatabaseEx(&volume, &oid, nullptr, 0, CEDB_AUTOINCREMENT, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return AppendError(text.content, "opening");
  AppendRecords(text.content, handle);
  CloseHandle(handle);
}

}  // namespace

VolumeText TextOf(const CEGUID& volume) {
  VolumeText text;
  const HANDLE find = CeFindFirstDatabaseEx(&volume, 0);
  if (find == INVALID_HANDLE_VALUE) {
    AppendError(text.content, "enumerating");
    return text;
  }
  while (const CEOID oid = CeFindNextDatabaseEx(find, nullptr)) AppendDatabase(text, volume, oid);
  if (GetLastError() != ERROR_NO_MORE_ITEMS) AppendError(text.content, "enumerating");
  CloseHandle(find);
  return text;
}

std::string PlaceOf(HANDLE handle) {
  WORD count = 0;
  DWORD size = 0;
  BYTE* block = nullptr;
  const CEOID oid = CeReadRecordPropsEx(handle, CEDB_ALLOWREALLOC, &count, nullptr, &block, &size, 0);
  const DWORD error = GetLastError();
  LocalFree(block);
  return oid != 0 ? "at " + std::to_string(oid) : "error " + std::to_string(error);
}
