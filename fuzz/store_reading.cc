// See whole_volume.h: the store's side.
#include <cstring>
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

void AddRecord(std::string& contents, CEOID oid, const BYTE* buffer, WORD count) {
  Add(contents, &oid, sizeof oid);
  const auto* values = reinterpret_cast<const CEPROPVAL*>(buffer);
  for (WORD i = 0; i < count; ++i) {
    const CEPROPVAL& value = values[i];
    Add(contents, &value.propid, sizeof value.propid);
    switch (static_cast<WORD>(value.propid)) {
      case CEVT_LPWSTR:
        Add(contents, value.val.lpwstr, (std::char_traits<char16_t>::length(value.val.lpwstr) + 1) * sizeof(WCHAR));
        break;
      case CEVT_BLOB:
        Add(contents, value.val.blob.lpb, value.val.blob.dwCount);
        break;
      default:
        Add(contents, &value.val, sizeof(uint16_t));
        break;
    }
  }
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
  for (size_t i = 0; i <= info.wNumRecords; ++i) {
    WORD count = 0;
    DWORD size = room;
    const CEOID record = CeReadRecordPropsEx(database.get(), CEDB_ALLOWREALLOC, &count, nullptr, &buffer, &size, 0);
    room = static_cast<DWORD>(LocalSize(buffer));
    if (record == 0) {
      error = GetLastError();
      break;
    }
    if (count > 0) AddRecord(contents, record, buffer, count);
    seen.push_back(record);
  }
  LocalFree(buffer);
  if (error == ERROR_FILE_CORRUPT) return error;
  FUZZ_REQUIRE(error != 0, "there are no more records than the catalogue says");
  FUZZ_REQUIRE(error == ERROR_NO_MORE_ITEMS || error == ERROR_SEEK || error == ERROR_NO_DATA ||
                   error == ERROR_KEY_DELETED || error == ERROR_INVALID_PARAMETER,
               "reading ends at the end");
  FUZZ_REQUIRE(seen.size() == info.wNumRecords, "every record that the catalogue counts is read");
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

}  // namespace

DWORD ReadThroughStore(const std::u16string& path, std::string& contents) {
  CEGUID guid{};
  if (!CeMountDBVol(&guid, path.c_str(), OPEN_EXISTING)) return Damaged();
  const HANDLE find = CeFindFirstDatabaseEx(&guid, 0);
  FUZZ_REQUIRE(find != INVALID_HANDLE_VALUE, "a volume's databases are listed");
  std::vector<CEOID> databases;
  while (const CEOID oid = CeFindNextDatabaseEx(find, nullptr)) {
    databases.push_back(oid);
    FUZZ_REQUIRE(databases.size() < kMostDatabases, "the list of databases ends");
  }
  FUZZ_REQUIRE(CloseHandle(find), "the list is closed");
  DWORD error = 0;
  for (const CEOID oid : databases) {
    const DWORD of_database = ReadDatabase(guid, oid, contents);
    if (error == 0) error = of_database;
  }
  FUZZ_REQUIRE(CeUnmountDBVol(&guid), "a volume that was only read is unmounted");
  return error;
}

}  // namespace fuzz
