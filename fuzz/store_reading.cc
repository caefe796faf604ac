// See whole_volume.h: the store's side.
#include <algorithm>
#include <string>
#include <vector>

#include "local_heap.h"
#include "object_store.h"
#include "requirement.h"
#include "whole_volume.h"

namespace fuzz {
namespace {

// A volume's databases are few; a damaged catalogue does not make them more than the file has rows.
constexpr size_t kMostDatabases = 1000;

DWORD Damaged() {
  const DWORD error = GetLastError();
  FUZZ_REQUIRE(error == ERROR_FILE_CORRUPT, "what cannot be read of a volume is damaged");
  return error;
}

void Add(std::string& contents, const void* bytes, size_t size) {
  contents.append(static_cast<const char*>(bytes), size);
}

// Returns what the record counts for.
size_t AddRecord(std::string& contents, CEOID oid, const BYTE* buffer, WORD count) {
  constexpr size_t kRecordBytes = 20;
  constexpr size_t kPropertyBytes = 4;
  size_t counted = kRecordBytes;
  Add(contents, &oid, sizeof oid);
  const auto* values = reinterpret_cast<const CEPROPVAL*>(buffer);
  for (WORD i = 0; i < count; ++i) {
    const CEPROPVAL& value = values[i];
    Add(contents, &value.propid, sizeof value.propid);
    const void* payload = &value.val;
    size_t size = 0;
    switch (static_cast<WORD>(value.propid)) {
      case CEVT_LPWSTR:
        payload = value.val.lpwstr;
        size = (std::char_traits<char16_t>::length(value.val.lpwstr) + 1) * sizeof(WCHAR);
        break;
      case CEVT_BLOB:
        payload = value.val.blob.lpb;
        size = value.val.blob.dwCount;
        break;
      case CEVT_I2:
      case CEVT_UI2:
        size = 2;
        break;
      case CEVT_R8:
      case CEVT_FILETIME:
        size = 8;
        break;
      default:
        size = 4;
        break;
    }
    Add(contents, payload, size);
    counted += kPropertyBytes + size;
  }
  return counted;
}

class OpenDatabase {
 public:
  OpenDatabase(const CEGUID& guid, CEOID oid, CEPROPID order)
      : handle_(CeOpenDatabaseEx(&guid, &oid, nullptr, order, CEDB_AUTOINCREMENT, nullptr)) {}
  ~OpenDatabase() {
    if (handle_ != INVALID_HANDLE_VALUE) FUZZ_REQUIRE(CloseHandle(handle_), "an open database is closed");
  }
  OpenDatabase(const OpenDatabase&) = delete;
  OpenDatabase& operator=(const OpenDatabase&) = delete;
  HANDLE get() const { return handle_; }

 private:
  HANDLE handle_;
};

// Every record once, as many as the catalogue says.
DWORD ReadInOrder(const CEGUID& guid, CEOID oid, CEPROPID order, const CEDBASEINFO& info, std::string& contents) {
  const OpenDatabase database(guid, oid, order);
  if (database.get() == INVALID_HANDLE_VALUE) return Damaged();
  std::vector<CEOID> seen;
  BYTE* buffer = nullptr;
  DWORD room = 0;
  DWORD error = 0;
  size_t counted = 0;
  for (size_t i = 0; i <= info.wNumRecords; ++i) {
    WORD count = 0;
    DWORD size = room;
    const CEOID record = CeReadRecordPropsEx(database.get(), CEDB_ALLOWREALLOC, &count, nullptr, &buffer, &size, 0);
    room = static_cast<DWORD>(LocalSize(buffer));
    if (record == 0) {
      error = GetLastError();
      break;
    }
    counted += count > 0 ? AddRecord(contents, record, buffer, count) : AddRecord(contents, record, nullptr, 0);
    seen.push_back(record);
  }
  LocalFree(buffer);
  if (error == ERROR_FILE_CORRUPT) return error;
  FUZZ_REQUIRE(error != 0, "there are no more records than the catalogue says");
  FUZZ_REQUIRE(error == ERROR_NO_MORE_ITEMS || error == ERROR_SEEK || error == ERROR_NO_DATA ||
                   error == ERROR_KEY_DELETED || error == ERROR_INVALID_PARAMETER,
               "reading ends at the end");
  FUZZ_REQUIRE(seen.size() == info.wNumRecords, "every record that the catalogue counts is read");
  FUZZ_REQUIRE(counted == info.dwSize, "and they are as large as it says");
  std::sort(seen.begin(), seen.end());
  FUZZ_REQUIRE(std::adjacent_find(seen.begin(), seen.end()) == seen.end(), "each record once");
  return 0;
}

DWORD ReadDatabase(const CEGUID& guid, CEOID oid, std::string& contents) {
  CEOIDINFO info;
  FUZZ_REQUIRE(CeOidGetInfoEx(&guid, oid, &info), "a database that is listed is known");
  FUZZ_REQUIRE(info.wObjType == OBJTYPE_DATABASE, "and is a database");
  Add(contents, &info.infDatabase, sizeof info.infDatabase);
  DWORD error = ReadInOrder(guid, oid, 0, info.infDatabase, contents);
  for (WORD i = 0; i < info.infDatabase.wNumSortOrder && error == 0; ++i) {
    error = ReadInOrder(guid, oid, info.infDatabase.rgSortSpecs[i].propid, info.infDatabase, contents);
  }
  return error;
}

std::vector<CEOID> DatabasesOf(const CEGUID& guid) {
  const HANDLE find = CeFindFirstDatabaseEx(&guid, 0);
  FUZZ_REQUIRE(find != INVALID_HANDLE_VALUE, "a volume's databases are listed");
  std::vector<CEOID> databases;
  while (const CEOID oid = CeFindNextDatabaseEx(find, nullptr)) {
    databases.push_back(oid);
    FUZZ_REQUIRE(databases.size() < kMostDatabases, "the list of databases ends");
  }
  FUZZ_REQUIRE(CloseHandle(find), "the list is closed");
  return databases;
}

// What an identifier names before it is given to something new.
bool IsTaken(const CEGUID& guid, CEOID oid) {
  CEOIDINFO info;
  return CeOidGetInfoEx(&guid, oid, &info) != 0;
}

}  // namespace

bool WriteThroughStore(const std::u16string& path) {
  CEGUID guid{};
  FUZZ_REQUIRE(CeMountDBVol(&guid, path.c_str(), OPEN_EXISTING), "a whole volume is mounted again");
  CEOID highest = 0;
  for (CEOID oid = 1; oid < 300; ++oid) highest = IsTaken(guid, oid) ? oid : highest;
  CEDBASEINFO info{};
  info.dwFlags = CEDB_VALIDNAME;
  info.szDbaseName[0] = u'\u2603';
  CEOID database = CeCreateDatabaseEx(&guid, &info);
  if (database != 0) {  // else there is one of that name, or no identifier is left
    FUZZ_REQUIRE(database > highest, "a new database has an identifier of its own");
    const HANDLE handle = CeOpenDatabaseEx(&guid, &database, nullptr, 0, 0, nullptr);
    FUZZ_REQUIRE(handle != INVALID_HANDLE_VALUE, "a new database is opened");
    CEPROPVAL value{};
    value.propid = CEVT_UI4;
    const CEOID record = CeWriteRecordProps(handle, 0, 1, &value);
    FUZZ_REQUIRE(record == 0 || record > database, "a new record has an identifier of its own");
    FUZZ_REQUIRE(CloseHandle(handle), "an open database is closed");
  }
  if (!CeUnmountDBVol(&guid)) {
    (void)Damaged();
    return false;
  }
  std::string contents;
  FUZZ_REQUIRE(ReadThroughStore(path, contents) == 0, "a volume that was written is as whole as before");
  return true;
}

DWORD ReadThroughStore(const std::u16string& path, std::string& contents) {
  CEGUID guid{};
  if (!CeMountDBVol(&guid, path.c_str(), OPEN_EXISTING)) return Damaged();
  const std::vector<CEOID> databases = DatabasesOf(guid);
  DWORD error = 0;
  for (const CEOID oid : databases) {
    const DWORD of_database = ReadDatabase(guid, oid, contents);
    if (error == 0) error = of_database;
  }
  FUZZ_REQUIRE(CeUnmountDBVol(&guid), "a volume that was only read is unmounted");
  return error;
}

}  // namespace fuzz
