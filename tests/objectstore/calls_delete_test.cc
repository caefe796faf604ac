// Deleting records, and what the calls make of handles and identifiers that are none.
#include <algorithm>
#include <thread>

#include "store_test.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);

using Deletions = DatabaseTest;

TEST_F(Deletions, RecordIsGoneFromEveryOrder) {
  Create({{kNumber, 0}, {Prop(2, CEVT_LPWSTR), CEDB_SORT_DESCENDING}});
  CEOID a = Write(handle_, 0, {I4(1, 1), Text(2, u"a")});
  CEOID b = Write(handle_, 0, {I4(1, 2), Text(2, u"b")});
  CEOID c = Write(handle_, 0, {I4(1, 3)});
  EXPECT_EQ(CeDeleteRecord(handle_, b), TRUE);
  EXPECT_EQ(Order(handle_), (std::vector<CEOID>{a, c}));
  EXPECT_EQ(Order(Open(Prop(2, CEVT_LPWSTR))), (std::vector<CEOID>{a, c}));
  Remount();
  EXPECT_EQ(Order(Open()), (std::vector<CEOID>{a, c}));
}

TEST_F(Deletions, NeedARecordOfThisDatabase) {
  Create();
  CEOID record = WriteKeys({1})[0];
  CEOID other_database = CreateDatabase(volume_, u"others");
  HANDLE other = OpenDatabase(volume_, other_database);
  CEOID foreign = Write(other, 0, {I4(1, 1)});
  for (CEOID oid : {CEOID{0}, foreign, database_, other_database, CEOID{0x7FFFFFFF}}) {
    EXPECT_REFUSED(CeDeleteRecord(handle_, oid), ERROR_INVALID_PARAMETER);
  }
  EXPECT_EQ(Order(other), std::vector<CEOID>{foreign});
  EXPECT_EQ(CeDeleteRecord(handle_, record), TRUE);
  EXPECT_REFUSED(CeDeleteRecord(handle_, record), ERROR_INVALID_PARAMETER);
}

TEST_F(Deletions, RecordThatWasChangedSinceItWasStoredIsGoneForGood) {
  Create({{kNumber, 0}});
  std::vector<CEOID> records = WriteKeys({1, 2, 3});
  EXPECT_EQ(CeFlushDBVol(&volume_), TRUE);
  Write(handle_, records[0], {I4(1, 9)});
  Write(handle_, records[1], {I4(5, 5), Deleted(kNumber)});
  EXPECT_EQ(CeDeleteRecord(handle_, records[0]), TRUE);
  EXPECT_EQ(CeDeleteRecord(handle_, records[1]), TRUE);
  Remount();
  EXPECT_EQ(Order(Open()), std::vector<CEOID>{records[2]});
}

TEST_F(Deletions, EveryRecordCanGoAndOthersCome) {
  Create({{kNumber, 0}});
  for (int round = 0; round < 3; round++) {
    for (CEOID record : WriteKeys({3, 1, 2, 2, 1})) EXPECT_EQ(CeDeleteRecord(handle_, record), TRUE);
    EXPECT_TRUE(Order(handle_).empty());
  }
  EXPECT_EQ(Describe(volume_, database_).dwSize, 0u);
}

using Identifiers = DatabaseTest;

TEST_F(Identifiers, OfDatabasesAndRecordsAreOneRowOfNumbersWithoutZero) {
  Create();
  std::vector<CEOID> all = {database_};
  for (int i = 0; i < 5; i++) {
    all.push_back(Write(handle_, 0, {I4(1, i)}));
    const WCHAR name[] = {static_cast<WCHAR>(u'a' + i), 0};
    all.push_back(CreateDatabase(volume_, name));
  }
  for (size_t i = 0; i < all.size(); i++) {
    EXPECT_NE(all[i], 0u);
    for (size_t j = 0; j < i; j++) EXPECT_NE(all[i], all[j]);
  }
}

TEST_F(Identifiers, AreNeverGivenOutAgain) {
  Create();
  CEOID highest = 0;
  auto take = [&highest](CEOID oid) {
    EXPECT_GT(oid, highest);
    highest = std::max(highest, oid);
    return oid;
  };
  const struct {
    const char* why;
    bool remount_before;  // between the creation and the deletion
    bool remount_after;
  } kRounds[] = {
      {"deleted at once", false, false},
      {"deleted before it was ever stored, and mounted again", false, true},
      {"deleted after it was stored", true, false},
      {"deleted after it was stored, and mounted again", true, true},
      {"nothing between", false, false},
  };
  for (const auto& row : kRounds) {
    SCOPED_TRACE(row.why);
    CEOID record = take(Write(handle_, 0, {I4(1, 1)}));
    CEOID database = take(CreateDatabase(volume_, u"passing"));
    if (row.remount_before) {
      Remount();
      handle_ = Open();
    }
    EXPECT_EQ(CeDeleteRecord(handle_, record), TRUE);
    EXPECT_EQ(CeDeleteDatabaseEx(&volume_, database), TRUE);
    if (row.remount_after) {
      Remount();
      handle_ = Open();
    }
  }
}

TEST_F(Identifiers, OfADatabaseThatPassedBetweenTwoMountsAreNotGivenOutAgain) {
  CEOID passing = CreateDatabase(volume_, u"passing");
  EXPECT_EQ(CeDeleteDatabaseEx(&volume_, passing), TRUE);
  Remount();
  EXPECT_GT(CreateDatabase(volume_, u"passing"), passing);
}

TEST_F(Identifiers, OfAFailedCreationMayBeLostButNothingElse) {
  Create({{kNumber, CEDB_SORT_UNIQUE}});
  CEOID first = Write(handle_, 0, {I4(1, 1)});
  EXPECT_EQ(Write(handle_, 0, {I4(1, 1)}), 0u);
  EXPECT_GT(Write(handle_, 0, {I4(1, 2)}), first);
}

using LastErrors = DatabaseTest;

TEST_F(LastErrors, HandlesThatAreNoneAreRefusedByEveryCall) {
  Create();
  CEOID record = WriteKeys({1})[0];
  HANDLE closed = Open();
  EXPECT_EQ(CloseHandle(closed), TRUE);
  HANDLE find = CeFindFirstDatabaseEx(&volume_, 0);
  for (HANDLE handle : {HANDLE{0}, INVALID_HANDLE_VALUE, closed, HANDLE{0x7FFF0000}, find}) {
    SCOPED_TRACE(handle);
    bool enumeration = handle == find;
    WORD count = 0;
    BYTE* block = nullptr;
    DWORD size = 0;
    EXPECT_REFUSED(CeDeleteRecord(handle, record), ERROR_INVALID_PARAMETER);
    EXPECT_REFUSED(CeSeekDatabase(handle, CEDB_SEEK_BEGINNING, 0, nullptr), ERROR_INVALID_HANDLE);
    EXPECT_REFUSED(CeReadRecordPropsEx(handle, CEDB_ALLOWREALLOC, &count, nullptr, &block, &size, 0),
                   ERROR_INVALID_HANDLE);
    EXPECT_REFUSED(Write(handle, 0, {I4(1, 1)}), ERROR_INVALID_HANDLE);
    if (!enumeration) {
      EXPECT_REFUSED(CloseHandle(handle), ERROR_INVALID_HANDLE);
    }
  }
  EXPECT_EQ(Order(handle_), std::vector<CEOID>{record});
}

TEST_F(LastErrors, BelongToTheThread) {
  SetLastError(1234);
  DWORD elsewhere = 1;
  std::thread([&elsewhere] {
    elsewhere = GetLastError();
    EXPECT_EQ(CloseHandle(0), FALSE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  }).join();
  EXPECT_EQ(elsewhere, 0u) << "a new thread starts with none";
  EXPECT_EQ(GetLastError(), 1234u);
}

}  // namespace
