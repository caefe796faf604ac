// What the store tells about databases and records: counts, sizes, times, owners.
#include <functional>

#include "store_test.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kText = Prop(2, CEVT_LPWSTR);

constexpr DWORD kAllValid =
    CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC | CEDB_VALIDMODTIME | CEDB_VALIDDBFLAGS;

uint64_t Ticks(const FILETIME& time) { return uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime; }

class Information : public DatabaseTest {
 protected:
  CEDBASEINFO Describe() const { return ::Describe(volume_, database_); }
  uint64_t Modified() const { return Ticks(Describe().ftLastModified); }
};

TEST_F(Information, UnknownIdentifierIsABadHandle) {
  Create();
  CEOID record = WriteKeys({1})[0];
  CEOIDINFO info{};
  EXPECT_REFUSED(CeOidGetInfoEx(&volume_, 0, &info), ERROR_INVALID_HANDLE);
  EXPECT_REFUSED(CeOidGetInfoEx(&volume_, record + 1000, &info), ERROR_INVALID_HANDLE);
  EXPECT_REFUSED(CeOidGetInfoEx(&volume_, 0xFFFFFFFF, &info), ERROR_INVALID_HANDLE);
  EXPECT_EQ(CeDeleteRecord(handle_, record), TRUE);
  EXPECT_REFUSED(CeOidGetInfoEx(&volume_, record, &info), ERROR_INVALID_HANDLE);
  EXPECT_REFUSED(CeOidGetInfoEx(&volume_, database_, nullptr), ERROR_INVALID_PARAMETER);
}

TEST_F(Information, DatabaseIsDescribedWhole) {
  CEDBASEINFO given = DatabaseInfo(u"Records", {{kNumber, CEDB_SORT_DESCENDING}, {kText, CEDB_SORT_UNKNOWNFIRST}}, 77);
  given.dwFlags |= CEDB_NOCOMPRESS;
  database_ = CeCreateDatabaseEx(&volume_, &given);
  handle_ = Open();
  WriteKeys({1, 2, 3});
  for (const char* when : {"open", "closed", "mounted again", "opened again"}) {
    SCOPED_TRACE(when);
    if (when == std::string("closed")) {
      EXPECT_EQ(CloseHandle(handle_), TRUE);
    }
    if (when == std::string("mounted again")) Remount();
    if (when == std::string("opened again")) handle_ = Open();
    CEDBASEINFO info = Describe();
    EXPECT_EQ(info.dwFlags, kAllValid | CEDB_NOCOMPRESS);
    EXPECT_EQ(NameOf(info), u"Records");
    EXPECT_EQ(info.dwDbaseType, 77u);
    EXPECT_EQ(info.wNumRecords, 3u);
    EXPECT_EQ(info.dwSize, 3u * (20 + 4 + 4));
    EXPECT_NE(Ticks(info.ftLastModified), 0u);
    ASSERT_EQ(info.wNumSortOrder, 2u);
    EXPECT_EQ(info.rgSortSpecs[0].propid, kNumber);
    EXPECT_EQ(info.rgSortSpecs[0].dwFlags, DWORD{CEDB_SORT_DESCENDING});
    EXPECT_EQ(info.rgSortSpecs[1].propid, kText);
    EXPECT_EQ(info.rgSortSpecs[1].dwFlags, DWORD{CEDB_SORT_UNKNOWNFIRST});
  }
}

TEST_F(Information, RecordTellsItsDatabase) {
  Create();
  CEOID record = WriteKeys({1})[0];
  for (bool open : {true, false}) {
    if (!open) Remount();
    CEOIDINFO info{};
    ASSERT_EQ(CeOidGetInfoEx(&volume_, record, &info), TRUE) << "open " << open;
    EXPECT_EQ(info.wObjType, OBJTYPE_RECORD);
    EXPECT_EQ(info.infRecord.oidParent, database_);
  }
}

TEST_F(Information, SizeIsTwentyPerRecordFourPerPropertyAndThePayload) {
  Create();
  const BYTE bytes[5] = {1, 2, 3, 4, 5};
  const struct {
    const char* why;
    std::vector<CEPROPVAL> values;
    DWORD size;
  } kRecords[] = {
      {"a record without properties", {Deleted(kNumber)}, 20},
      {"a 16-bit number", {I2(1, 1)}, 20 + 4 + 2},
      {"a 16-bit number without sign", {UI2(1, 1)}, 20 + 4 + 2},
      {"a 32-bit number", {I4(1, 1)}, 20 + 4 + 4},
      {"a 32-bit number without sign", {UI4(1, 1)}, 20 + 4 + 4},
      {"a truth value", {Bool(1, TRUE)}, 20 + 4 + 4},
      {"a floating number", {R8(1, 1)}, 20 + 4 + 8},
      {"a time", {Time(1, 1)}, 20 + 4 + 8},
      {"a text of three characters", {Text(1, u"abc")}, 20 + 4 + 8},
      {"an empty text is its terminator", {Text(1, u"")}, 20 + 4 + 2},
      {"five bytes", {Blob(1, bytes, 5)}, 20 + 4 + 5},
      {"no bytes", {Blob(1, nullptr, 0)}, 20 + 4},
      {"several", {I2(1, 1), Text(2, u"ab"), Blob(3, bytes, 3)}, 20 + 3 * 4 + 2 + 6 + 3},
  };
  DWORD total = 0;
  for (const auto& row : kRecords) {
    ASSERT_NE(Write(handle_, 0, row.values), 0u) << row.why;
    total += row.size;
    EXPECT_EQ(Describe().dwSize, total) << row.why;
  }
  EXPECT_EQ(Describe().wNumRecords, std::size(kRecords));
  Remount();
  EXPECT_EQ(Describe().dwSize, total) << "known before the database is opened";
}

TEST_F(Information, CountAndSizeFollowEveryChange) {
  Create();
  EXPECT_EQ(Describe().wNumRecords, 0u);
  EXPECT_EQ(Describe().dwSize, 0u);
  CEOID record = Write(handle_, 0, {I4(1, 1), Text(2, u"abc")});
  EXPECT_EQ(Describe().dwSize, 20u + 8 + 4 + 8);
  Write(handle_, record, {Text(2, u"abcde")});
  EXPECT_EQ(Describe().dwSize, 20u + 8 + 4 + 12);
  Write(handle_, record, {Deleted(kText)});
  EXPECT_EQ(Describe().dwSize, 20u + 4 + 4);
  EXPECT_EQ(Describe().wNumRecords, 1u);
  EXPECT_EQ(CeDeleteRecord(handle_, record), TRUE);
  EXPECT_EQ(Describe().wNumRecords, 0u);
  EXPECT_EQ(Describe().dwSize, 0u);
}

TEST_F(Information, EverySuccessfulChangeIsTheLastModification) {
  Create();
  CEOID record = WriteKeys({1})[0];
  const struct {
    const char* what;
    std::function<bool()> change;
  } kChanges[] = {
      {"a write", [&] { return Write(handle_, record, {I4(1, 2)}) != 0; }},
      {"a creation and a deletion", [&] { return CeDeleteRecord(handle_, Write(handle_, 0, {I4(1, 2)})) != 0; }},
      {"a new type",
       [&] {
         CEDBASEINFO info{};
         info.dwFlags = CEDB_VALIDTYPE;
         return CeSetDatabaseInfoEx(&volume_, database_, &info) != 0;
       }},
  };
  for (const auto& row : kChanges) {
    SCOPED_TRACE(row.what);
    uint64_t before = Modified();
    uint64_t after = before;
    // The clock may be coarse: the change is made again until it ticks.
    for (int i = 0; i < 200000 && after == before; i++) {
      ASSERT_TRUE(row.change());
      after = Modified();
      ASSERT_GE(after, before);
    }
    EXPECT_GT(after, before);
  }
}

TEST_F(Information, RefusedChangesAndReadsAreNoModification) {
  Create();
  CEOID record = WriteKeys({1})[0];
  uint64_t before = Modified();
  EXPECT_EQ(Write(handle_, record + 1000, {I4(1, 2)}), 0u);
  EXPECT_EQ(CeDeleteRecord(handle_, record + 1000), FALSE);
  CEDBASEINFO info = DatabaseInfo(u"");
  EXPECT_EQ(CeSetDatabaseInfoEx(&volume_, database_, &info), FALSE);
  EXPECT_EQ(Seek(handle_, CEDB_SEEK_END, 0), record);
  EXPECT_EQ(ReadAll(handle_).oid, record);
  EXPECT_EQ(CloseHandle(Open()), TRUE);
  EXPECT_EQ(CeFlushDBVol(&volume_), TRUE);
  EXPECT_EQ(Modified(), before);
  Remount();
  EXPECT_EQ(Modified(), before);
}

TEST_F(Information, LastModificationNeverGoesBackwards) {
  Create();
  constexpr uint64_t kFarAhead = 0x02F00000'00000000;  // some centuries from now
  CEDBASEINFO info{};
  info.dwFlags = CEDB_VALIDMODTIME;
  info.ftLastModified = {static_cast<DWORD>(kFarAhead), static_cast<DWORD>(kFarAhead >> 32)};
  ASSERT_EQ(CeSetDatabaseInfoEx(&volume_, database_, &info), TRUE);
  EXPECT_EQ(Modified(), kFarAhead);
  CEOID record = WriteKeys({1})[0];
  EXPECT_GE(Modified(), kFarAhead);
  EXPECT_EQ(CeDeleteRecord(handle_, record), TRUE);
  EXPECT_GE(Modified(), kFarAhead);
  Remount();
  EXPECT_GE(Modified(), kFarAhead);
}

}  // namespace
