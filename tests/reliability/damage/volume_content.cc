// See volume_content.h.
#include "volume_content.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "local_heap.h"

namespace damage {

namespace {

void AddNumber(std::string& text, uint64_t number, int base = 10) {
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof digits, number, base).ptr;
  if (base == 16) text += "0x";
  text.append(digits, end);
}

// Printable ASCII as it is, everything else as a number in braces.
void AddText(std::string& text, const WCHAR* units) {
  text += '"';
  for (; *units != 0; ++units) {
    if (*units >= 0x20 && *units < 0x7F && *units != u'"' && *units != u'{') {
      text += static_cast<char>(*units);
    } else {
      text += '{';
      AddNumber(text, *units, 16);
      text += '}';
    }
  }
  text += '"';
}

void AddValue(std::string& text, const CEPROPVAL& value) {
  AddNumber(text, value.propid, 16);
  text += '=';
  uint64_t bits = 0;
  switch (static_cast<WORD>(value.propid)) {
    case CEVT_LPWSTR:
      return AddText(text, value.val.lpwstr);
    case CEVT_BLOB:
      text += '<';
      for (DWORD i = 0; i < value.val.blob.dwCount; ++i) {
        constexpr char kDigits[] = "0123456789abcdef";
        text += kDigits[value.val.blob.lpb[i] >> 4];
        text += kDigits[value.val.blob.lpb[i] & 15];
      }
      text += '>';
      return;
    case CEVT_R8:
    case CEVT_FILETIME:
      std::memcpy(&bits, &value.val, sizeof bits);
      return AddNumber(text, bits, 16);
    case CEVT_I2:
    case CEVT_UI2:
      return AddNumber(text, value.val.uiVal);
    default:
      return AddNumber(text, value.val.ulVal);
  }
}

void AddDescription(std::string& text, CEOID oid, const CEDBASEINFO& info, Times times) {
  text += "database ";
  AddNumber(text, oid);
  text += ' ';
  AddText(text, info.szDbaseName);
  text += " type ";
  AddNumber(text, info.dwDbaseType, 16);
  text += " flags ";
  AddNumber(text, info.dwFlags, 16);
  text += " records ";
  AddNumber(text, info.wNumRecords);
  text += " size ";
  AddNumber(text, info.dwSize);
  if (times == Times::kWith) {
    text += " modified ";
    AddNumber(text, uint64_t{info.ftLastModified.dwHighDateTime} << 32 | info.ftLastModified.dwLowDateTime);
  }
  for (size_t i = 0; i < std::min<size_t>(info.wNumSortOrder, CEDB_MAXSORTORDER); ++i) {
    text += " order ";
    AddNumber(text, info.rgSortSpecs[i].propid, 16);
    text += '/';
    AddNumber(text, info.rgSortSpecs[i].dwFlags, 16);
  }
  text += '\n';
}

// In the database's first order. 0, or the last error.
DWORD AddRecords(std::string& text, HANDLE database, DWORD count) {
  BYTE* block = nullptr;
  DWORD size = 0;
  DWORD error = 0;
  for (DWORD position = 0; position < count && error == 0; ++position) {
    WORD properties = 0;
    const CEOID found = CeSeekDatabase(database, CEDB_SEEK_BEGINNING, position, nullptr);
    if (found == 0 ||
        CeReadRecordPropsEx(database, CEDB_ALLOWREALLOC, &properties, nullptr, &block, &size, 0) != found) {
      error = GetLastError();
      break;
    }
    text += "  ";
    AddNumber(text, found);
    text += ':';
    for (WORD i = 0; i < properties; ++i) {
      text += ' ';
      AddValue(text, reinterpret_cast<const CEPROPVAL*>(block)[i]);
    }
    text += '\n';
  }
  LocalFree(block);
  return error;
}

DWORD AddDatabase(std::string& text, const CEGUID& volume, CEOID oid, Times times) {
  CEOIDINFO info;
  if (!CeOidGetInfoEx(&volume, oid, &info)) return GetLastError();
  AddDescription(text, oid, info.infDatabase, times);
  CEOID opened = oid;
  const HANDLE handle = CeOpenDatabaseEx(&volume, &opened, nullptr, 0, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return GetLastError();
  const DWORD error = AddRecords(text, handle, info.infDatabase.wNumRecords);
  CloseHandle(handle);
  return error;
}

}  // namespace

VolumeText TextOf(const CEGUID& volume, Times times) {
  VolumeText result;
  const HANDLE databases = CeFindFirstDatabaseEx(&volume, 0);
  if (databases == INVALID_HANDLE_VALUE) return {GetLastError(), {}};
  while (result.error == 0) {
    const CEOID oid = CeFindNextDatabaseEx(databases, nullptr);
    if (oid == 0) break;
    result.error = AddDatabase(result.text, volume, oid, times);
  }
  CloseHandle(databases);
  if (result.error != 0) result.text.clear();
  return result;
}

VolumeText TextOfFile(const std::u16string& path, Times times) {
  CEGUID volume;
  if (!CeMountDBVol(&volume, path.c_str(), OPEN_EXISTING)) return {GetLastError(), {}};
  VolumeText result = TextOf(volume, times);
  if (!CeUnmountDBVol(&volume) && result.error == 0) result = {GetLastError(), {}};
  return result;
}

}  // namespace damage
