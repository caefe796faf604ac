// The starting points that store_test.h declares.
#include "store_test.h"

#include <string.h>

#include <ostream>

#include "local_heap.h"

namespace {

CEPROPVAL Typed(WORD id, WORD type) {
  CEPROPVAL value{};
  value.propid = Prop(id, type);
  return value;
}

std::string Bytes(const void* start, size_t count) {
  return count == 0 ? std::string() : std::string(static_cast<const char*>(start), count);
}

size_t TextBytes(const WCHAR* text) { return std::u16string_view(text).size() * sizeof(WCHAR); }

Reading ReadInto(HANDLE database, WORD count, const CEPROPID* ids) {
  Reading reading;
  BYTE* block = nullptr;
  DWORD size = 0;
  SetLastError(kUntouched);
  reading.oid = CeReadRecordPropsEx(database, CEDB_ALLOWREALLOC, &count, ids, &block, &size, 0);
  reading.error = reading.oid == 0 ? GetLastError() : 0;
  if (reading.oid != 0 || reading.error == ERROR_NO_DATA) {
    const CEPROPVAL* values = reinterpret_cast<const CEPROPVAL*>(block);
    for (WORD i = 0; i < count; i++) reading.values.push_back(CopyOf(values[i]));
  }
  LocalFree(block);
  return reading;
}

}  // namespace

CEPROPVAL I2(WORD id, int16_t value) {
  CEPROPVAL result = Typed(id, CEVT_I2);
  result.val.iVal = value;
  return result;
}

CEPROPVAL UI2(WORD id, uint16_t value) {
  CEPROPVAL result = Typed(id, CEVT_UI2);
  result.val.uiVal = value;
  return result;
}

CEPROPVAL I4(WORD id, int32_t value) {
  CEPROPVAL result = Typed(id, CEVT_I4);
  result.val.lVal = value;
  return result;
}

CEPROPVAL UI4(WORD id, uint32_t value) {
  CEPROPVAL result = Typed(id, CEVT_UI4);
  result.val.ulVal = value;
  return result;
}

CEPROPVAL R8(WORD id, double value) {
  CEPROPVAL result = Typed(id, CEVT_R8);
  result.val.dblVal = value;
  return result;
}

CEPROPVAL Bool(WORD id, BOOL value) {
  CEPROPVAL result = Typed(id, CEVT_BOOL);
  result.val.boolVal = value;
  return result;
}

CEPROPVAL Time(WORD id, uint64_t ticks) {
  CEPROPVAL result = Typed(id, CEVT_FILETIME);
  result.val.filetime = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  return result;
}

CEPROPVAL Text(WORD id, const WCHAR* text) {
  CEPROPVAL result = Typed(id, CEVT_LPWSTR);
  result.val.lpwstr = const_cast<WCHAR*>(text);
  return result;
}

CEPROPVAL Blob(WORD id, const BYTE* bytes, DWORD count) {
  CEPROPVAL result = Typed(id, CEVT_BLOB);
  result.val.blob = {count, const_cast<BYTE*>(bytes)};
  return result;
}

CEPROPVAL Blob(WORD id, const std::vector<BYTE>& bytes) {
  return Blob(id, bytes.data(), static_cast<DWORD>(bytes.size()));
}

CEPROPVAL Deleted(CEPROPID propid) {
  CEPROPVAL result{};
  result.propid = propid;
  result.wFlags = CEDB_PROPDELETE;
  return result;
}

void PrintTo(const Stored& stored, std::ostream* out) {
  *out << std::hex << "{0x" << stored.propid << " flags 0x" << stored.flags << std::dec << ", " << stored.bytes.size()
       << " bytes: ";
  for (size_t i = 0; i < stored.bytes.size() && i < 40; i++) {
    *out << testing::internal::String::FormatByte(static_cast<unsigned char>(stored.bytes[i]));
  }
  *out << '}';
}

Stored CopyOf(const CEPROPVAL& value) {
  Stored stored{value.propid, value.wFlags, {}};
  if ((value.wFlags & CEDB_PROPNOTFOUND) != 0) return stored;
  switch (TypeOf(value.propid)) {
    case CEVT_I2:
    case CEVT_UI2:
      stored.bytes = Bytes(&value.val.iVal, 2);
      break;
    case CEVT_I4:
    case CEVT_UI4:
    case CEVT_BOOL:
      stored.bytes = Bytes(&value.val.lVal, 4);
      break;
    case CEVT_R8:
    case CEVT_FILETIME:
      stored.bytes = Bytes(&value.val.filetime, 8);
      break;
    case CEVT_LPWSTR:
      stored.bytes = Bytes(value.val.lpwstr, TextBytes(value.val.lpwstr));
      break;
    case CEVT_BLOB:
      stored.bytes = Bytes(value.val.blob.lpb, value.val.blob.dwCount);
      break;
    default:
      ADD_FAILURE() << "a value of unknown type 0x" << std::hex << value.propid;
  }
  return stored;
}

Reading ReadAll(HANDLE database) { return ReadInto(database, 0, nullptr); }

Reading Read(HANDLE database, const std::vector<CEPROPID>& ids) {
  return ReadInto(database, static_cast<WORD>(ids.size()), ids.data());
}

std::vector<Stored> Values(std::initializer_list<CEPROPVAL> values) {
  std::vector<Stored> copies;
  for (const CEPROPVAL& value : values) copies.push_back(CopyOf(value));
  return copies;
}

CEDBASEINFO DatabaseInfo(const WCHAR* name, const std::vector<SORTORDERSPEC>& orders, DWORD type) {
  CEDBASEINFO info{};
  info.dwFlags = CEDB_VALIDCREATE;
  std::u16string_view(name).copy(info.szDbaseName, CEDB_MAXDBASENAMELEN);
  info.dwDbaseType = type;
  info.wNumSortOrder = static_cast<WORD>(orders.size());
  for (size_t i = 0; i < orders.size() && i < CEDB_MAXSORTORDER; i++) info.rgSortSpecs[i] = orders[i];
  return info;
}

CEOID CreateDatabase(const CEGUID& volume, const WCHAR* name, const std::vector<SORTORDERSPEC>& orders, DWORD type) {
  CEDBASEINFO info = DatabaseInfo(name, orders, type);
  return CeCreateDatabaseEx(&volume, &info);
}

HANDLE OpenDatabase(const CEGUID& volume, CEOID database, CEPROPID order, DWORD flags) {
  return CeOpenDatabaseEx(&volume, &database, nullptr, order, flags, nullptr);
}

CEOID Write(HANDLE database, CEOID record, std::initializer_list<CEPROPVAL> values) {
  return CeWriteRecordProps(database, record, static_cast<WORD>(values.size()), values.begin());
}

CEOID Write(HANDLE database, CEOID record, const std::vector<CEPROPVAL>& values) {
  return CeWriteRecordProps(database, record, static_cast<WORD>(values.size()), values.data());
}

CEOID Seek(HANDLE database, DWORD type, int32_t value, DWORD* index) {
  return CeSeekDatabase(database, type, static_cast<DWORD>(value), index);
}

CEOID SeekTo(HANDLE database, CEOID record) { return CeSeekDatabase(database, CEDB_SEEK_CEOID, record, nullptr); }

CEOID SeekValue(HANDLE database, DWORD type, const CEPROPVAL& value, DWORD* index) {
  return CeSeekDatabase(database, type, reinterpret_cast<DWORD_PTR>(&value), index);
}

std::vector<CEOID> Order(HANDLE database) {
  std::vector<CEOID> records;
  for (int32_t i = 0;; i++) {
    CEOID record = Seek(database, CEDB_SEEK_BEGINNING, i);
    if (record == 0) return records;
    records.push_back(record);
  }
}

CEDBASEINFO Describe(const CEGUID& volume, CEOID database) {
  CEOIDINFO info{};
  EXPECT_EQ(CeOidGetInfoEx(&volume, database, &info), TRUE);
  EXPECT_EQ(info.wObjType, OBJTYPE_DATABASE);
  return info.infDatabase;
}

std::u16string NameOf(const CEDBASEINFO& info) {
  std::u16string_view whole(info.szDbaseName, CEDB_MAXDBASENAMELEN);
  return std::u16string(whole.substr(0, whole.find(u'\0')));
}

std::vector<std::u16string> DatabaseNames(const CEGUID& volume) {
  std::vector<std::u16string> names;
  HANDLE find = CeFindFirstDatabaseEx(&volume, 0);
  EXPECT_NE(find, INVALID_HANDLE_VALUE);
  while (CEOID database = CeFindNextDatabaseEx(find, nullptr)) names.push_back(NameOf(Describe(volume, database)));
  EXPECT_EQ(CloseHandle(find), TRUE);
  return names;
}

void EmptySystemStore() {
  std::vector<CEOID> databases;
  HANDLE find = CeFindFirstDatabaseEx(&kSystemStore, 0);
  while (CEOID database = CeFindNextDatabaseEx(find, nullptr)) databases.push_back(database);
  CloseHandle(find);
  for (CEOID database : databases) EXPECT_EQ(CeDeleteDatabaseEx(&kSystemStore, database), TRUE);
}

void StoreTest::SetUp() { Mount(CREATE_NEW); }

void StoreTest::TearDown() {
  if (mounted_) Unmount();
}

void StoreTest::Mount(DWORD disposition) {
  ASSERT_EQ(CeMountDBVol(&volume_, Path().c_str(), disposition), TRUE) << "last error " << GetLastError();
  mounted_ = true;
}

void StoreTest::Unmount() {
  mounted_ = false;
  ASSERT_EQ(CeUnmountDBVol(&volume_), TRUE) << "last error " << GetLastError();
}

void StoreTest::Remount() {
  Unmount();
  Mount();
}
