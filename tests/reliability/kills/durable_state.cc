// Reading volumes through the object store's calls.
#include "durable_state.h"

#include <algorithm>
#include <cstring>
#include <filesystem>

#include "broken_promise.h"
#include "local_heap.h"

namespace kills {
namespace {

std::string Bytes(const void* from, size_t count) {
  return count == 0 ? std::string() : std::string(static_cast<const char*>(from), count);
}

Property Copied(const CEPROPVAL& value) {
  Property copy;
  copy.id = value.propid;
  switch (value.propid & 0xFFFF) {
    case CEVT_UI2:
      copy.number = value.val.uiVal;
      break;
    case CEVT_I4:
    case CEVT_UI4:
      copy.number = value.val.ulVal;
      break;
    case CEVT_BOOL:
      copy.number = value.val.boolVal != 0;
      break;
    case CEVT_LPWSTR:
      copy.bytes = Bytes(value.val.lpwstr, std::u16string_view(value.val.lpwstr).size() * sizeof(WCHAR));
      break;
    case CEVT_BLOB:
      copy.bytes = Bytes(value.val.blob.lpb, value.val.blob.dwCount);
      break;
    default:
      throw BrokenPromise("a property of a type that the engine never writes: " + std::to_string(value.propid));
  }
  return copy;
}

std::vector<Record> RecordsOfHandle(HANDLE database) {
  std::vector<Record> records;
  for (DWORD position = 0; CeSeekDatabase(database, CEDB_SEEK_BEGINNING, position, nullptr) != 0; ++position) {
    WORD count = 0;
    BYTE* block = nullptr;
    DWORD size = 0;
    if (CeReadRecordPropsEx(database, CEDB_ALLOWREALLOC, &count, nullptr, &block, &size, 0) == 0) {
      throw BrokenPromise("a record cannot be read, error " + std::to_string(GetLastError()));
    }
    const auto* values = reinterpret_cast<const CEPROPVAL*>(block);
    Record& record = records.emplace_back();
    for (WORD i = 0; i < count; ++i) record.push_back(Copied(values[i]));
    LocalFree(block);
  }
  return records;
}

StoredDatabase ReadDatabase(const CEGUID& volume, const CEDBASEINFO& info) {
  StoredDatabase database;
  database.type = info.dwDbaseType;
  for (WORD i = 0; i < info.wNumSortOrder; ++i) {
    database.sorts.emplace_back(info.rgSortSpecs[i].propid, info.rgSortSpecs[i].dwFlags);
  }
  CEOID oid = 0;
  const HANDLE handle = CeOpenDatabaseEx(&volume, &oid, info.szDbaseName, 0, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    throw BrokenPromise("a database cannot be opened, error " + std::to_string(GetLastError()));
  }
  database.records = RecordsOfHandle(handle);
  CloseHandle(handle);
  if (database.records.size() != info.wNumRecords) throw BrokenPromise("a database's record count is not its records'");
  return database;
}

std::string Narrow(const std::u16string& name) { return {name.begin(), name.end()}; }

std::string Describe(const Record& record) {
  std::string text;
  for (const Property& property : record) {
    char number[64];
    std::snprintf(number, sizeof number, "%x=%llx ", property.id, static_cast<unsigned long long>(property.number));
    text += number;
    if (!property.bytes.empty()) text += "(" + std::to_string(property.bytes.size()) + " bytes) ";
  }
  return text;
}

std::string DifferenceOfRecords(const std::vector<Record>& expected, const std::vector<Record>& found) {
  const size_t both = std::min(expected.size(), found.size());
  for (size_t i = 0; i < both; ++i) {
    if (expected[i] == found[i]) continue;
    return "record " + std::to_string(i) + " is " + Describe(found[i]) + "and not " + Describe(expected[i]);
  }
  if (expected.size() == found.size()) return "";
  return std::to_string(found.size()) + " records and not " + std::to_string(expected.size());
}

}  // namespace

DurableState StateOfVolume(const CEGUID& volume) {
  DurableState state;
  state.exists = true;
  const HANDLE find = CeFindFirstDatabaseEx(&volume, 0);
  if (find == INVALID_HANDLE_VALUE) throw BrokenPromise("databases cannot be listed");
  while (const CEOID oid = CeFindNextDatabaseEx(find, nullptr)) {
    CEOIDINFO info;
    if (!CeOidGetInfoEx(&volume, oid, &info)) throw BrokenPromise("no information on a database");
    state.databases[info.infDatabase.szDbaseName] = ReadDatabase(volume, info.infDatabase);
  }
  CloseHandle(find);
  return state;
}

DurableState StateOfFile(const std::u16string& path) {
  if (!std::filesystem::exists(std::filesystem::path(path))) return {};
  CEGUID volume;
  if (!CeMountDBVol(&volume, path.c_str(), OPEN_EXISTING)) {
    throw BrokenPromise("the file cannot be mounted, error " + std::to_string(GetLastError()));
  }
  DurableState state = StateOfVolume(volume);
  if (!CeUnmountDBVol(&volume)) throw BrokenPromise("the file cannot be unmounted");
  return state;
}

uint64_t NumberOf(const Record& record, CEPROPID id) {
  for (const Property& property : record) {
    if (property.id == id) return property.number;
  }
  return ~uint64_t{0};
}

std::string Difference(const DurableState& expected, const DurableState& found) {
  if (expected.exists != found.exists) return found.exists ? "a file where none should be" : "no file";
  for (const auto& [name, database] : expected.databases) {
    const auto at = found.databases.find(name);
    if (at == found.databases.end()) return Narrow(name) + " is missing";
    if (at->second.type != database.type || at->second.sorts != database.sorts) {
      return Narrow(name) + " has another type or other sort orders";
    }
    const std::string records = DifferenceOfRecords(database.records, at->second.records);
    if (!records.empty()) return Narrow(name) + ": " + records;
  }
  for (const auto& [name, database] : found.databases) {
    if (!expected.databases.contains(name)) return Narrow(name) + " should not be there";
  }
  return "";
}

}  // namespace kills
