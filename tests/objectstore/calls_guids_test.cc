// What each call makes of each kind of volume name: none, the system's own store, no volume, a mounted volume, one that
// is not mounted any more and one that never was. One table for all calls.
#include <functional>

#include "store_test.h"

namespace {

enum Kind { kNull, kSystem, kInvalid, kMounted, kStale, kUnknown, kKinds };
const char* const kKindNames[kKinds] = {"null", "system", "invalid", "mounted", "stale", "never mounted"};

constexpr DWORD kDone = 0;  // stands for success where the table gives last errors

struct Call {
  const char* name;
  // Makes the call on a database that exists in the store and in the volume, and answers whether it succeeded.
  std::function<bool(const CEGUID* guid, CEOID database)> make;
  DWORD errors[kKinds];
};

bool CreateOne(const CEGUID* guid, CEOID) {
  CEDBASEINFO info = DatabaseInfo(u"created");
  return CeCreateDatabaseEx(guid, &info) != 0;
}

bool OpenOne(const CEGUID* guid, CEOID database) {
  HANDLE handle = CeOpenDatabaseEx(guid, &database, u"records", 0, 0, nullptr);
  bool opened = handle != INVALID_HANDLE_VALUE;
  if (opened) {
    EXPECT_EQ(CloseHandle(handle), TRUE);
  }
  return opened;
}

bool ChangeOne(const CEGUID* guid, CEOID database) {
  CEDBASEINFO info{};
  info.dwFlags = CEDB_VALIDTYPE;
  info.dwDbaseType = 9;
  return CeSetDatabaseInfoEx(guid, database, &info);
}

bool DescribeOne(const CEGUID* guid, CEOID database) {
  CEOIDINFO info{};
  return CeOidGetInfoEx(guid, database, &info);
}

bool EnumerateOne(const CEGUID* guid, CEOID) {
  HANDLE find = CeFindFirstDatabaseEx(guid, 0);
  bool found = find != INVALID_HANDLE_VALUE;
  if (found) {
    EXPECT_EQ(CloseHandle(find), TRUE);
  }
  return found;
}

constexpr DWORD kBad = ERROR_INVALID_PARAMETER;

const Call kCalls[] = {
    {"unmount",
     [](const CEGUID* guid, CEOID) { return CeUnmountDBVol(guid) != 0; },
     {kBad, kBad, kBad, kDone, kBad, kBad}},
    {"flush",
     [](const CEGUID* guid, CEOID) { return CeFlushDBVol(guid) != 0; },
     {kDone, kDone, kBad, kDone, kBad, kBad}},
    {"create database", CreateOne, {kBad, kDone, kBad, kDone, kBad, kBad}},
    {"open database", OpenOne, {kBad, kDone, kDone, kDone, kBad, kBad}},
    {"delete database",
     [](const CEGUID* guid, CEOID database) { return CeDeleteDatabaseEx(guid, database) != 0; },
     {kBad, kDone, kBad, kDone, kBad, kBad}},
    {"set database information", ChangeOne, {kBad, kDone, kBad, kDone, kBad, kBad}},
    {"find first database", EnumerateOne, {kDone, kDone, kDone, kDone, kBad, kBad}},
    {"object information",
     DescribeOne,
     {kBad, kDone, ERROR_INVALID_HANDLE, kDone, ERROR_INVALID_HANDLE, ERROR_INVALID_HANDLE}},
};

class Guids : public StoreTest {
 protected:
  void SetUp() override {
    EmptySystemStore();
    StoreTest::SetUp();
    stale_ = volume_;
    Remount();
  }
  void TearDown() override {
    StoreTest::TearDown();
    EmptySystemStore();
  }

  const CEGUID* Guid(Kind kind) const {
    const CEGUID* const kGuids[kKinds] = {nullptr, &kSystemStore, &kNoVolume, &volume_, &stale_, &kNeverMounted};
    return kGuids[kind];
  }

  CEGUID stale_ = kNoVolume;
};

TEST_F(Guids, EveryCallKnowsEveryKindOfVolumeName) {
  ASSERT_FALSE(SameGuid(stale_, volume_)) << "a new mount has a new name";
  for (const Call& call : kCalls) {
    for (int kind = 0; kind < kKinds; kind++) {
      SCOPED_TRACE(std::string(call.name) + ", " + kKindNames[kind]);
      CEOID in_store = CreateDatabase(kSystemStore, u"records");
      CEOID in_volume = CreateDatabase(volume_, u"records");
      SetLastError(kUntouched);
      bool done = call.make(Guid(Kind(kind)), kind == kSystem ? in_store : in_volume);
      EXPECT_EQ(done, call.errors[kind] == kDone);
      if (!done) {
        EXPECT_EQ(GetLastError(), call.errors[kind]);
      }
      if (done && call.name == std::string("unmount")) mounted_ = false;
      EmptySystemStore();
      if (mounted_) Unmount();
      Mount(CREATE_ALWAYS);
    }
  }
}

TEST_F(Guids, SystemStoreHoldsDatabasesWithoutAnyMount) {
  Unmount();
  CEOID database = CreateDatabase(kSystemStore, u"records", {}, 5);
  ASSERT_NE(database, 0u);
  HANDLE handle = OpenDatabase(kSystemStore, database);
  ASSERT_NE(handle, INVALID_HANDLE_VALUE);
  EXPECT_NE(Write(handle, 0, {I4(1, 7)}), 0u);
  EXPECT_EQ(Describe(kSystemStore, database).wNumRecords, 1u);
  EXPECT_EQ(CloseHandle(handle), TRUE);
  EXPECT_EQ(CeDeleteDatabaseEx(&kSystemStore, database), TRUE);
}

TEST_F(Guids, SystemStoreKeepsItsDatabasesWhenVolumesComeAndGo) {
  CEOID database = CreateDatabase(kSystemStore, u"records");
  HANDLE handle = OpenDatabase(kSystemStore, database);
  Remount();
  EXPECT_EQ(CeUnmountDBVol(&kSystemStore), FALSE);
  EXPECT_EQ(CeFlushDBVol(&kSystemStore), TRUE);
  EXPECT_NE(Write(handle, 0, {I4(1, 7)}), 0u);
  EXPECT_EQ(CloseHandle(handle), TRUE);
}

TEST_F(Guids, NamesAreSearchedInTheStoreFirstAndThenInTheOrderOfMounting) {
  CEGUID second = kNoVolume;
  ASSERT_EQ(CeMountDBVol(&second, (directory_ / u"another.cdb").c_str(), CREATE_NEW), TRUE);
  const struct {
    const char* where;
    const CEGUID* guid;
  } kPlaces[] = {{"store", &kSystemStore}, {"first volume", &volume_}, {"second volume", &second}};

  // Each holds the name, with a record that says where; found places are emptied one after the other.
  CEOID databases[3];
  for (int i = 0; i < 3; i++) {
    CreateDatabase(*kPlaces[i].guid, u"before");
    databases[i] = CreateDatabase(*kPlaces[i].guid, u"Shared");
    HANDLE handle = OpenDatabase(*kPlaces[i].guid, databases[i]);
    EXPECT_NE(Write(handle, 0, {I4(1, i)}), 0u);
    EXPECT_EQ(CloseHandle(handle), TRUE);
  }
  for (int i = 0; i < 3; i++) {
    SCOPED_TRACE(kPlaces[i].where);
    CEOID found = 0;
    HANDLE handle = CeOpenDatabaseEx(&kNoVolume, &found, u"shared", 0, 0, nullptr);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    EXPECT_EQ(found, databases[i]);
    EXPECT_EQ(ReadAll(handle).values, Values({I4(1, i)}));
    EXPECT_EQ(CloseHandle(handle), TRUE);
    EXPECT_EQ(CeDeleteDatabaseEx(kPlaces[i].guid, databases[i]), TRUE);
  }
  CEOID found = 0;
  EXPECT_NO_HANDLE(CeOpenDatabaseEx(&kNoVolume, &found, u"shared", 0, 0, nullptr), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(CeUnmountDBVol(&second), TRUE);
}

TEST_F(Guids, WithNoVolumeNamedAnOpenGoesByNameWhateverTheIdentifierSays) {
  CEOID wanted = CreateDatabase(volume_, u"wanted");
  CEOID other = CreateDatabase(volume_, u"other");
  for (CEOID given : {other, CEOID{0x7FFFFFFF}}) {
    CEOID oid = given;
    HANDLE handle = CeOpenDatabaseEx(&kNoVolume, &oid, u"wanted", 0, 0, nullptr);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    EXPECT_EQ(oid, wanted);
    CEOID record = Write(handle, 0, {I4(1, 1)});
    CEOIDINFO info{};
    ASSERT_EQ(CeOidGetInfoEx(&volume_, record, &info), TRUE);
    EXPECT_EQ(info.infRecord.oidParent, wanted);
    EXPECT_EQ(CloseHandle(handle), TRUE);
  }
}

TEST_F(Guids, IdentifiersBelongToOneVolume) {
  CEOID first = CreateDatabase(volume_, u"first");
  CEGUID second = kNoVolume;
  ASSERT_EQ(CeMountDBVol(&second, (directory_ / u"another.cdb").c_str(), CREATE_NEW), TRUE);
  CEOIDINFO info{};
  EXPECT_REFUSED(CeOidGetInfoEx(&second, first, &info), ERROR_INVALID_HANDLE);
  EXPECT_NO_HANDLE(OpenDatabase(second, first), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(CeUnmountDBVol(&second), TRUE);
}

}  // namespace
