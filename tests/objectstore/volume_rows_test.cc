// Blocks of records in a volume's file, and databases of which only the first records have been read.
#include <functional>

#include "volume_file_fixture.h"

namespace {

// 200 records of two numbers, flushed for the first time: one block and no rows.
class RecordBlocks : public VolumeFileTest {
 protected:
  void SetUp() override {
    guid_ = Mount(CREATE_NEW);
    database_ = Create(guid_, u"a");
    handle_ = Open(guid_, database_);
    for (uint32_t i = 0; i < 200; ++i) oids_.push_back(Add(1000 - i * 7, i));
    ASSERT_TRUE(CeFlushDBVol(&guid_));
  }

  CEOID Add(uint32_t number, uint32_t other) const {
    CEPROPVAL values[2] = {};
    values[0].propid = kNumber;
    values[0].val.ulVal = number;
    values[1].propid = kOther;
    values[1].val.ulVal = other;
    const CEOID oid = CeWriteRecordProps(handle_, 0, 2, values);
    EXPECT_NE(oid, 0u) << "last error " << GetLastError();
    return oid;
  }

  // The same after a mount as before it, with so many rows and blocks in the file.
  void ExpectLasting(int64_t rows, int64_t blocks) {
    const auto contents = Contents(guid_, database_);
    Unmount(guid_);
    EXPECT_EQ(Ask(File(), "SELECT count(*) FROM record"), rows);
    EXPECT_EQ(Ask(File(), "SELECT count(*) FROM packed WHERE key & 4294967295 = 0"), blocks);
    guid_ = Mount(OPEN_EXISTING);
    EXPECT_EQ(Contents(guid_, database_), contents);
    handle_ = Open(guid_, database_);
  }
  void TearDown() override { Unmount(guid_); }

  CEGUID guid_;
  CEOID database_;
  HANDLE handle_;
  std::vector<CEOID> oids_;
};

TEST_F(RecordBlocks, ManyRecordsOfNumbersAreOneRow) { ExpectLasting(0, 1); }

TEST_F(RecordBlocks, ARecordsDatabaseIsKnownBeforeAnybodyHasOpenedIt) {
  ASSERT_TRUE(CeDeleteRecord(handle_, oids_[9]));
  Unmount(guid_);
  guid_ = Mount(OPEN_EXISTING);
  CEOIDINFO info = {};
  ASSERT_TRUE(CeOidGetInfoEx(&guid_, oids_[3], &info));
  EXPECT_EQ(info.wObjType, OBJTYPE_RECORD);
  EXPECT_EQ(info.infRecord.oidParent, database_);
  EXPECT_FALSE(CeOidGetInfoEx(&guid_, oids_[9], &info));
}

TEST_F(RecordBlocks, ADeletedRecordDoesNotComeBack) {
  for (size_t i = 0; i < oids_.size(); i += 3) ASSERT_TRUE(CeDeleteRecord(handle_, oids_[i]));
  ExpectLasting(0, 1);
}

TEST_F(RecordBlocks, ARowOfARecordWinsOverTheBlock) {
  SetNumber(handle_, oids_[5], kOther, 4711);
  ASSERT_NE(Write(handle_, oids_[7], 1, u"with a text", 2), 0u);
  ExpectLasting(2, 1);
  ASSERT_TRUE(CeDeleteRecord(handle_, oids_[5]));
  ExpectLasting(1, 1);
}

TEST_F(RecordBlocks, RecordsThatComeLaterAreRows) {
  for (uint32_t i = 0; i < 100; ++i) Add(i, i);
  ExpectLasting(100, 1);
}

TEST_F(RecordBlocks, AColumnCountsForTheRecordsOfABlock) {
  for (const CEOID oid : oids_) SetNumber(handle_, oid, kOther, oid * 5);
  ExpectLasting(0, 1);
  EXPECT_EQ(Contents(guid_, database_)[oids_[9]], std::to_string(1000 - 9 * 7) + " - " + std::to_string(oids_[9] * 5));
}

TEST_F(RecordBlocks, ABlockInWhichNothingIsLeftIsDeleted) {
  for (size_t i = 0; i < oids_.size(); ++i) {
    if (i % 2 == 0) {
      ASSERT_TRUE(CeDeleteRecord(handle_, oids_[i]));
    } else {
      ASSERT_NE(Write(handle_, oids_[i], 1, u"with a text", 2), 0u);
    }
  }
  ExpectLasting(100, 0);
}

// The block still holds an older state of the record; it must not stand in for the row.
TEST_F(RecordBlocks, ARowThatGotLostIsNotReplacedByTheBlock) {
  SetNumber(handle_, oids_[5], kOther, 4711);
  Unmount(guid_);
  const std::string sound = Bytes(File());
  ChangeBehindTheStore(File(), "DELETE FROM record");
  guid_ = Mount(OPEN_EXISTING);
  CEOID oid = database_;
  EXPECT_EQ(CeOpenDatabaseEx(&guid_, &oid, nullptr, 0, 0, nullptr), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_CORRUPT});
  Unmount(guid_);
  WriteBytes(File(), sound);
  ChangeBehindTheStore(File(), "INSERT INTO record SELECT key + 1, body FROM record");
  guid_ = Mount(OPEN_EXISTING);
  EXPECT_EQ(CeOpenDatabaseEx(&guid_, &oid, nullptr, 0, 0, nullptr), INVALID_HANDLE_VALUE);
}

TEST_F(RecordBlocks, ADeletedDatabaseTakesItsBlockAlong) {
  ASSERT_TRUE(CloseHandle(handle_));
  ASSERT_TRUE(CeDeleteDatabaseEx(&guid_, database_));
  Unmount(guid_);
  EXPECT_EQ(Ask(File(), "SELECT count(*) FROM packed"), 0);
  guid_ = Mount(OPEN_EXISTING);
}

TEST_F(RecordBlocks, ABlockThatIsMissingOrAnothersIsCorrupt) {
  Unmount(guid_);
  const std::string sound = Bytes(File());
  for (const char* statement : {"DELETE FROM packed", "UPDATE packed SET key = key + 65536",
                                "UPDATE packed SET body = (SELECT body FROM database LIMIT 1)"}) {
    WriteBytes(File(), sound);
    ChangeBehindTheStore(File(), statement);
    guid_ = Mount(OPEN_EXISTING);
    CEOID oid = database_;
    EXPECT_EQ(CeOpenDatabaseEx(&guid_, &oid, nullptr, 0, 0, nullptr), INVALID_HANDLE_VALUE) << statement;
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_CORRUPT}) << statement;
    Unmount(guid_);
  }
  WriteBytes(File(), sound);
  guid_ = Mount(OPEN_EXISTING);
}

// 3500 records of 64 numbers that have nothing to do with one another: more than a row can be.
TEST_F(RecordBlocks, ABlockThatWouldBeTooLongBecomesRows) {
  const CEOID wide = Create(guid_, u"wide");
  const HANDLE handle = Open(guid_, wide);
  CEPROPVAL values[64] = {};
  uint32_t number = 0;
  for (int i = 0; i < 3500; ++i) {
    for (WORD j = 0; j < 64; ++j) {
      values[j].propid = (uint32_t{j} + 1) << 16 | CEVT_UI4;
      values[j].val.ulVal = number += 2654435761u;
    }
    ASSERT_NE(CeWriteRecordProps(handle, 0, 64, values), 0u);
  }
  ASSERT_TRUE(CeFlushDBVol(&guid_));
  const auto contents = Contents(guid_, wide);
  ExpectLasting(3500, 1);
  EXPECT_EQ(Contents(guid_, wide), contents);
}

// 500 records in the order of their number, which is that of their identifiers.
class FirstRecords : public VolumeFileTest {
 protected:
  void SetUp() override {
    guid_ = Mount(CREATE_NEW);
    database_ = Create(guid_, u"a");
    const HANDLE handle = Open(guid_, database_);
    for (uint32_t i = 0; i < 500; ++i) oids_.push_back(Write(handle, 0, i * 2, u"text", i));
    Remount();
  }
  void TearDown() override { Unmount(guid_); }

  void Remount() {
    Unmount(guid_);
    guid_ = Mount(OPEN_EXISTING);
  }
  CEOID At(HANDLE handle, DWORD position) const {
    return CeSeekDatabase(handle, CEDB_SEEK_BEGINNING, position, nullptr);
  }
  // Damages the row of a record behind the first ones.
  void DamageRow(size_t index) {
    Unmount(guid_);
    const std::string key = std::to_string(database_) + " * 4294967296 + " + std::to_string(oids_[index]);
    ChangeBehindTheStore(File(), "UPDATE record SET body = x'00' WHERE key = " + key);
    guid_ = Mount(OPEN_EXISTING);
  }

  CEGUID guid_;
  CEOID database_;
  std::vector<CEOID> oids_;
};

TEST_F(FirstRecords, EveryCallBehindThemFindsTheRest) {
  const struct {
    const char* why;
    std::function<bool(HANDLE)> call;
  } kRows[] = {
      {"a position", [this](HANDLE handle) { return At(handle, 499) == oids_[499]; }},
      {"from the end",
       [this](HANDLE handle) { return CeSeekDatabase(handle, CEDB_SEEK_END, 0, nullptr) == oids_[499]; }},
      {"an identifier",
       [this](HANDLE handle) {
         DWORD index = 0;
         return CeSeekDatabase(handle, CEDB_SEEK_CEOID, oids_[77], &index) == oids_[77] && index == 77;
       }},
      {"from the current one",
       [this](HANDLE handle) {
         return At(handle, 10) == oids_[10] && CeSeekDatabase(handle, CEDB_SEEK_CURRENT, 90, nullptr) == oids_[100];
       }},
      {"a value",
       [this](HANDLE handle) {
         CEPROPVAL value = {};
         value.propid = kNumber;
         value.val.ulVal = 600;
         return CeSeekDatabase(handle, CEDB_SEEK_VALUEFIRSTEQUAL, reinterpret_cast<DWORD_PTR>(&value), nullptr) ==
                oids_[300];
       }},
      {"a write", [this](HANDLE handle) { return Write(handle, 0, 1000, u"new") > oids_[499]; }},
      {"a change", [this](HANDLE handle) { return Write(handle, oids_[3], 6, u"changed") == oids_[3]; }},
      {"a deletion", [this](HANDLE handle) { return CeDeleteRecord(handle, oids_[4]) != FALSE; }},
      {"another order",
       [this](HANDLE handle) {
         CEOID oid = database_;
         (void)handle;
         return CeOpenDatabaseEx(&guid_, &oid, nullptr, kNumber, 0, nullptr) != INVALID_HANDLE_VALUE;
       }},
  };
  for (const auto& row : kRows) {
    const HANDLE handle = Open(guid_, database_);
    ASSERT_EQ(At(handle, 2), oids_[2]) << row.why;
    EXPECT_TRUE(row.call(handle)) << row.why;
    EXPECT_EQ(At(handle, 0), oids_[0]) << row.why;
    const auto contents = Contents(guid_, database_);
    Remount();
    EXPECT_EQ(Contents(guid_, database_), contents) << row.why;
  }
}

TEST_F(FirstRecords, DamageBehindThemIsReportedWhenItIsReached) {
  DamageRow(400);
  const HANDLE handle = Open(guid_, database_);
  EXPECT_EQ(At(handle, 31), oids_[31]);
  SetLastError(0);
  EXPECT_EQ(At(handle, 32), 0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_CORRUPT});
  EXPECT_EQ(CeWriteRecordProps(handle, 0, 0, nullptr), 0u);
  EXPECT_EQ(At(handle, 0), oids_[0]) << "what was read stays";
  CEPROPVAL value = {};
  value.propid = kNumber;
  EXPECT_EQ(CeWriteRecordProps(handle, 0, 1, &value), 0u);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_CORRUPT});
  EXPECT_FALSE(CeDeleteRecord(handle, oids_[0]));
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_CORRUPT});
}

TEST_F(FirstRecords, DamageAmongThemIsReportedAtOnce) {
  DamageRow(20);
  CEOID oid = database_;
  EXPECT_EQ(CeOpenDatabaseEx(&guid_, &oid, nullptr, 0, 0, nullptr), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_CORRUPT});
}

TEST_F(FirstRecords, ARowThatIsGoneFromAmongThemIsReportedAtOnce) {
  Unmount(guid_);
  ChangeBehindTheStore(File(),
                       "DELETE FROM record WHERE key IN (SELECT key FROM record ORDER BY key LIMIT 1 OFFSET 3)");
  guid_ = Mount(OPEN_EXISTING);
  CEOID oid = database_;
  EXPECT_EQ(CeOpenDatabaseEx(&guid_, &oid, nullptr, 0, 0, nullptr), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_CORRUPT});
}

TEST_F(FirstRecords, AnOrderThatIsNotTheirsReadsAll) {
  HANDLE handle = Open(guid_, database_);
  SetNumber(handle, oids_[450], kNumber, 1);
  Remount();
  handle = Open(guid_, database_);
  EXPECT_EQ(At(handle, 0), oids_[0]);
  EXPECT_EQ(At(handle, 1), oids_[450]);
}

}  // namespace
