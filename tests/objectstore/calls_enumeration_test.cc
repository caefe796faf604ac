// Enumerating databases: order, filter, what deletions and creations on the way do to it.
#include "store_test.h"

namespace {

class Enumeration : public StoreTest {
 protected:
  void TearDown() override {
    StoreTest::TearDown();
    EmptySystemStore();
  }
  HANDLE Start(DWORD type = 0) { return CeFindFirstDatabaseEx(&volume_, type); }
};

// What is left of an enumeration, ended by its last error.
std::vector<CEOID> Rest(HANDLE find, DWORD end = ERROR_NO_MORE_ITEMS) {
  std::vector<CEOID> databases;
  SetLastError(kUntouched);
  while (CEOID database = CeFindNextDatabaseEx(find, nullptr)) databases.push_back(database);
  EXPECT_EQ(GetLastError(), end);
  return databases;
}

TEST_F(Enumeration, EmptyVolumeGivesAHandleAndNoDatabase) {
  HANDLE find = Start();
  ASSERT_NE(find, INVALID_HANDLE_VALUE);
  EXPECT_NE(find, 0u);
  for (int i = 0; i < 3; i++) EXPECT_REFUSED(CeFindNextDatabaseEx(find, nullptr), ERROR_NO_MORE_ITEMS);
  EXPECT_EQ(CloseHandle(find), TRUE);
}

TEST_F(Enumeration, FirstDatabaseComesFromTheFirstNext) {
  CEOID a = CreateDatabase(volume_, u"z");
  CEOID b = CreateDatabase(volume_, u"a");
  std::vector<CEOID> expected = {a, b};
  EXPECT_EQ(Rest(Start()), expected) << "ascending identifiers, not names";
}

TEST_F(Enumeration, TypeSelectsExactlyAndZeroSelectsAll) {
  CEOID none = CreateDatabase(volume_, u"none", {}, 0);
  CEOID five = CreateDatabase(volume_, u"five", {}, 5);
  CEOID high = CreateDatabase(volume_, u"high", {}, 0x80000005);
  CEOID five_too = CreateDatabase(volume_, u"five too", {}, 5);
  const struct {
    DWORD type;
    std::vector<CEOID> found;
  } kTypes[] = {{0, {none, five, high, five_too}}, {5, {five, five_too}}, {0x80000005, {high}}, {4, {}}};
  for (const auto& row : kTypes) EXPECT_EQ(Rest(Start(row.type)), row.found) << "type " << row.type;
}

TEST_F(Enumeration, OrderIsTheSameAfterARemount) {
  std::vector<CEOID> created;
  for (const WCHAR* name : {u"c", u"a", u"b"}) created.push_back(CreateDatabase(volume_, name));
  Remount();
  EXPECT_EQ(Rest(Start()), created);
}

TEST_F(Enumeration, AllVolumesComeAfterTheStoreInTheOrderOfMounting) {
  CEGUID second = kNoVolume;
  ASSERT_EQ(CeMountDBVol(&second, (directory_ / u"a.cdb").c_str(), CREATE_NEW), TRUE);
  // Created in another order than they are listed in.
  CEOID in_second = CreateDatabase(second, u"2");
  CEOID in_first = CreateDatabase(volume_, u"1a");
  CEOID in_first_too = CreateDatabase(volume_, u"1b");
  CEOID in_store = CreateDatabase(kSystemStore, u"0");
  const struct {
    CEOID oid;
    CEGUID guid;
  } kExpected[] = {{in_store, kSystemStore}, {in_first, volume_}, {in_first_too, volume_}, {in_second, second}};
  for (const CEGUID* all : {static_cast<const CEGUID*>(nullptr), &kNoVolume}) {
    HANDLE find = CeFindFirstDatabaseEx(all, 0);
    ASSERT_NE(find, INVALID_HANDLE_VALUE);
    for (const auto& expected : kExpected) {
      CEGUID guid = kNeverMounted;
      EXPECT_EQ(CeFindNextDatabaseEx(find, &guid), expected.oid);
      EXPECT_TRUE(SameGuid(guid, expected.guid)) << "the volume of the database just returned";
    }
    EXPECT_REFUSED(CeFindNextDatabaseEx(find, nullptr), ERROR_NO_MORE_ITEMS);
    EXPECT_EQ(CloseHandle(find), TRUE);
  }
  EXPECT_EQ(CeUnmountDBVol(&second), TRUE);
}

TEST_F(Enumeration, StoreAloneListsNoVolume) {
  CreateDatabase(volume_, u"in the volume");
  CEOID in_store = CreateDatabase(kSystemStore, u"in the store");
  EXPECT_EQ(Rest(CeFindFirstDatabaseEx(&kSystemStore, 0)), std::vector<CEOID>{in_store});
}

TEST_F(Enumeration, AnyDeletionOnTheWayEndsItForGood) {
  const struct {
    const char* why;
    int read_before;
    size_t deleted;
    DWORD type;
  } kDeletions[] = {
      {"before the first", 0, 0, 0},
      {"the one just returned", 1, 0, 0},
      {"one still to come", 1, 2, 0},
      {"one long returned", 2, 0, 0},
      {"after the last", 3, 2, 0},
      {"one that the filter hides", 1, 2, 1},
      {"the one that would be next", 1, 1, 0},
  };
  for (const auto& row : kDeletions) {
    SCOPED_TRACE(row.why);
    CEOID databases[] = {CreateDatabase(volume_, u"a", {}, 1), CreateDatabase(volume_, u"b", {}, 1),
                         CreateDatabase(volume_, u"c", {}, 2)};
    HANDLE find = Start(row.type);
    for (int i = 0; i < row.read_before; i++) EXPECT_EQ(CeFindNextDatabaseEx(find, nullptr), databases[i]);
    EXPECT_EQ(CeDeleteDatabaseEx(&volume_, databases[row.deleted]), TRUE);
    for (int i = 0; i < 3; i++) EXPECT_REFUSED(CeFindNextDatabaseEx(find, nullptr), ERROR_KEY_DELETED);
    EXPECT_EQ(Rest(Start()).size(), 2u) << "a new enumeration works";
    EXPECT_EQ(CloseHandle(find), TRUE);
    for (CEOID database : databases) CeDeleteDatabaseEx(&volume_, database);
  }
}

TEST_F(Enumeration, DeletionThatWasRefusedDoesNotEndIt) {
  CEOID database = CreateDatabase(volume_, u"open");
  HANDLE handle = OpenDatabase(volume_, database);
  HANDLE find = Start();
  EXPECT_EQ(CeDeleteDatabaseEx(&volume_, database), FALSE);
  EXPECT_EQ(Rest(find), std::vector<CEOID>{database});
  EXPECT_EQ(CloseHandle(handle), TRUE);
}

TEST_F(Enumeration, DeletionInAnotherVolumeMattersOnlyWhenAllAreEnumerated) {
  CEOID database = CreateDatabase(volume_, u"records");
  CEOID in_store = CreateDatabase(kSystemStore, u"records");
  HANDLE volume_only = Start();
  HANDLE all = CeFindFirstDatabaseEx(nullptr, 0);
  EXPECT_EQ(CeDeleteDatabaseEx(&kSystemStore, in_store), TRUE);
  EXPECT_EQ(Rest(volume_only), std::vector<CEOID>{database});
  EXPECT_TRUE(Rest(all, ERROR_KEY_DELETED).empty());
  EXPECT_EQ(CloseHandle(all), TRUE);
}

TEST_F(Enumeration, DeletedRecordsDoNotEndIt) {
  CEOID database = CreateDatabase(volume_, u"records");
  HANDLE handle = OpenDatabase(volume_, database);
  CEOID record = Write(handle, 0, {I4(1, 1)});
  HANDLE find = Start();
  EXPECT_EQ(CeDeleteRecord(handle, record), TRUE);
  EXPECT_EQ(Rest(find), std::vector<CEOID>{database});
}

TEST_F(Enumeration, DatabasesCreatedOnTheWayAppear) {
  CEOID first = CreateDatabase(volume_, u"a");
  HANDLE find = Start();
  EXPECT_EQ(CeFindNextDatabaseEx(find, nullptr), first);
  CEOID second = CreateDatabase(volume_, u"b");
  EXPECT_EQ(CeFindNextDatabaseEx(find, nullptr), second);
  CEOID third = CreateDatabase(volume_, u"c");
  EXPECT_EQ(Rest(find), std::vector<CEOID>{third});
}

TEST_F(Enumeration, OnlyItsOwnHandleIsTaken) {
  HANDLE handle = OpenDatabase(volume_, CreateDatabase(volume_, u"records"));
  HANDLE closed = Start();
  EXPECT_EQ(CloseHandle(closed), TRUE);
  for (HANDLE find : {HANDLE{0}, INVALID_HANDLE_VALUE, handle, closed}) {
    EXPECT_REFUSED(CeFindNextDatabaseEx(find, nullptr), ERROR_INVALID_HANDLE);
  }
  EXPECT_REFUSED(CloseHandle(closed), ERROR_INVALID_HANDLE);
}

TEST_F(Enumeration, TwoEnumerationsDoNotDisturbEachOther) {
  CEOID a = CreateDatabase(volume_, u"a");
  CEOID b = CreateDatabase(volume_, u"b");
  HANDLE first = Start();
  HANDLE second = Start();
  EXPECT_EQ(CeFindNextDatabaseEx(first, nullptr), a);
  EXPECT_EQ(CeFindNextDatabaseEx(second, nullptr), a);
  EXPECT_EQ(CloseHandle(first), TRUE);
  EXPECT_EQ(CeFindNextDatabaseEx(second, nullptr), b);
}

}  // namespace
