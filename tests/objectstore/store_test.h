// What every test of the object store's calls starts from: one mounted volume in a fresh directory, short names for
// building property values, and reads whose result is a plain copy. Nothing here checks more than it says; the calls
// themselves are made by the tests.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <iosfwd>
#include <string>
#include <vector>

#include "object_store.h"
#include "temporary_directory.h"

constexpr CEGUID kSystemStore = {0, 0, 0, 0};
constexpr CEGUID kNoVolume = {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF};
constexpr CEGUID kNeverMounted = {0x12345678, 1, 2, 3};

// A last error that no call sets: what it leaves behind was not touched.
constexpr DWORD kUntouched = 0x5EED;

inline bool SameGuid(const CEGUID& a, const CEGUID& b) {
  return a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3 && a.Data4 == b.Data4;
}

// The call answers 0 (or FALSE) and leaves this last error of its own.
#define EXPECT_REFUSED(call, error)            \
  do {                                         \
    SetLastError(kUntouched);                  \
    EXPECT_EQ(static_cast<DWORD>(call), 0u);   \
    EXPECT_EQ(GetLastError(), DWORD{(error)}); \
  } while (false)

// The same for the calls that answer INVALID_HANDLE_VALUE.
#define EXPECT_NO_HANDLE(call, error)          \
  do {                                         \
    SetLastError(kUntouched);                  \
    EXPECT_EQ(call, INVALID_HANDLE_VALUE);     \
    EXPECT_EQ(GetLastError(), DWORD{(error)}); \
  } while (false)

constexpr CEPROPID Prop(WORD id, WORD type) { return static_cast<CEPROPID>(id) << 16 | type; }

constexpr WORD TypeOf(CEPROPID propid) { return static_cast<WORD>(propid); }

// Property values. Text and bytes stay where the caller has them.
CEPROPVAL I2(WORD id, int16_t value);
CEPROPVAL UI2(WORD id, uint16_t value);
CEPROPVAL I4(WORD id, int32_t value);
CEPROPVAL UI4(WORD id, uint32_t value);
CEPROPVAL R8(WORD id, double value);
CEPROPVAL Bool(WORD id, BOOL value);
CEPROPVAL Time(WORD id, uint64_t ticks);
CEPROPVAL Text(WORD id, const WCHAR* text);
CEPROPVAL Blob(WORD id, const BYTE* bytes, DWORD count);
CEPROPVAL Blob(WORD id, const std::vector<BYTE>& bytes);
CEPROPVAL Deleted(CEPROPID propid);

// A copy of one property's value that outlives the block it was read into. Numbers are their bytes, text is its
// characters without the terminator.
struct Stored {
  CEPROPID propid = 0;
  WORD flags = 0;
  std::string bytes;

  bool operator==(const Stored&) const = default;
};
void PrintTo(const Stored& stored, std::ostream* out);
Stored CopyOf(const CEPROPVAL& value);

// What one read gave. Without a record, oid is 0 and error says why.
struct Reading {
  CEOID oid = 0;
  DWORD error = 0;
  std::vector<Stored> values;
};
Reading ReadAll(HANDLE database);
Reading Read(HANDLE database, const std::vector<CEPROPID>& ids);

// The values as a read returns them.
std::vector<Stored> Values(std::initializer_list<CEPROPVAL> values);

CEDBASEINFO DatabaseInfo(const WCHAR* name, const std::vector<SORTORDERSPEC>& orders = {}, DWORD type = 0);
CEOID CreateDatabase(const CEGUID& volume, const WCHAR* name, const std::vector<SORTORDERSPEC>& orders = {},
                     DWORD type = 0);
HANDLE OpenDatabase(const CEGUID& volume, CEOID database, CEPROPID order = 0, DWORD flags = 0);
CEOID Write(HANDLE database, CEOID record, std::initializer_list<CEPROPVAL> values);
CEOID Write(HANDLE database, CEOID record, const std::vector<CEPROPVAL>& values);

// Positional seeks and seeks to an identifier.
CEOID Seek(HANDLE database, DWORD type, int32_t value, DWORD* index = nullptr);
CEOID SeekTo(HANDLE database, CEOID record);
CEOID SeekValue(HANDLE database, DWORD type, const CEPROPVAL& value, DWORD* index = nullptr);

// Every record in the handle's order, by position from the start. Leaves the pointer at the end.
std::vector<CEOID> Order(HANDLE database);

CEDBASEINFO Describe(const CEGUID& volume, CEOID database);
std::u16string NameOf(const CEDBASEINFO& info);

// The names of every database of the volume, as the enumeration lists them.
std::vector<std::u16string> DatabaseNames(const CEGUID& volume);

// Leaves no database in the system's own store, which all tests of this process share.
void EmptySystemStore();

class StoreTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // The volume's file, under the name that every test uses.
  std::u16string Path() const { return directory_ / u"volume.cdb"; }
  void Mount(DWORD disposition = OPEN_EXISTING);
  void Unmount();
  void Remount();

  TemporaryDirectory directory_;
  CEGUID volume_ = kNoVolume;
  bool mounted_ = false;
};

// A volume with one database, and a handle to it in the given order.
class DatabaseTest : public StoreTest {
 protected:
  void Create(const std::vector<SORTORDERSPEC>& orders = {}) {
    database_ = CreateDatabase(volume_, u"records", orders);
    ASSERT_NE(database_, 0u);
    handle_ = Open();
  }
  HANDLE Open(CEPROPID order = 0, DWORD flags = 0) { return OpenDatabase(volume_, database_, order, flags); }

  // Creates one record for each key, in the given order of creation.
  std::vector<CEOID> WriteKeys(std::initializer_list<int32_t> keys, WORD id = 1) {
    std::vector<CEOID> records;
    for (int32_t key : keys) records.push_back(Write(handle_, 0, {I4(id, key)}));
    return records;
  }

  CEOID database_ = 0;
  HANDLE handle_ = INVALID_HANDLE_VALUE;
};
