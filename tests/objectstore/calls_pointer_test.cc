// The pointer of a handle: what reads, writes and deletions through it and through other handles do to where it stands.
#include "store_test.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);

class Pointer : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    Create({{kNumber, 0}});
    records_ = WriteKeys({10, 20, 30, 40, 50});
    stepping_ = Open(kNumber, CEDB_AUTOINCREMENT);
    other_ = Open(kNumber);
  }

  std::vector<CEOID> records_;  // keys 10, 20, 30, 40, 50
  HANDLE stepping_ = INVALID_HANDLE_VALUE;
  HANDLE other_ = INVALID_HANDLE_VALUE;
};

TEST_F(Pointer, ReadMovesItOnlyWithTheAutomaticStep) {
  for (int i = 0; i < 3; i++) EXPECT_EQ(ReadAll(other_).oid, records_[0]);
  for (CEOID record : records_) EXPECT_EQ(ReadAll(stepping_).oid, record);
  for (int i = 0; i < 3; i++) EXPECT_EQ(ReadAll(stepping_).error, DWORD{ERROR_NO_MORE_ITEMS});
}

TEST_F(Pointer, StepsOverARecordWithoutTheWantedProperties) {
  EXPECT_EQ(Read(stepping_, {Prop(9, CEVT_I4)}).error, DWORD{ERROR_NO_DATA});
  EXPECT_EQ(ReadAll(stepping_).oid, records_[1]) << "the record was visited";
  EXPECT_EQ(Read(other_, {Prop(9, CEVT_I4)}).error, DWORD{ERROR_NO_DATA});
  EXPECT_EQ(ReadAll(other_).oid, records_[0]);
}

TEST_F(Pointer, DoesNotStepWhenTheReadFailed) {
  WORD count = 0;
  BYTE bytes[1] = {};
  BYTE* buffer = bytes;
  DWORD size = sizeof(bytes);
  EXPECT_REFUSED(CeReadRecordPropsEx(stepping_, 0, &count, nullptr, &buffer, &size, 0), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_REFUSED(CeReadRecordPropsEx(stepping_, 0, nullptr, nullptr, &buffer, &size, 0), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(ReadAll(stepping_).oid, records_[0]);
}

TEST_F(Pointer, DeletionOfTheCurrentRecordLeavesAGap) {
  SeekTo(other_, records_[2]);
  EXPECT_EQ(CeDeleteRecord(other_, records_[2]), TRUE);
  for (int i = 0; i < 2; i++) EXPECT_EQ(ReadAll(other_).error, DWORD{ERROR_KEY_DELETED}) << "it stays in the gap";
  EXPECT_EQ(Seek(other_, CEDB_SEEK_CURRENT, 1), records_[3]);
}

TEST_F(Pointer, DeletionOfTheCurrentRecordStepsWithTheAutomaticStep) {
  SeekTo(stepping_, records_[2]);
  EXPECT_EQ(CeDeleteRecord(stepping_, records_[2]), TRUE);
  EXPECT_EQ(ReadAll(stepping_).oid, records_[3]);
  EXPECT_EQ(CeDeleteRecord(stepping_, records_[4]), TRUE) << "the pointer had stepped to it";
  EXPECT_EQ(ReadAll(stepping_).error, DWORD{ERROR_NO_MORE_ITEMS});
}

TEST_F(Pointer, DeletionOfAnotherRecordDoesNotDisturbIt) {
  for (DWORD flags : {DWORD{0}, DWORD{CEDB_AUTOINCREMENT}}) {
    HANDLE handle = Open(kNumber, flags);
    SeekTo(handle, records_[2]);
    EXPECT_EQ(CeDeleteRecord(handle, records_[1]), TRUE);
    EXPECT_EQ(CeDeleteRecord(handle, records_[3]), TRUE);
    DWORD index = 77;
    EXPECT_EQ(Seek(handle, CEDB_SEEK_CURRENT, 0, &index), records_[2]);
    EXPECT_EQ(index, 1u) << "one record before it is gone";
    EXPECT_EQ(ReadAll(handle).oid, records_[2]);
    records_[1] = Write(handle, 0, {I4(1, 20)});
    records_[3] = Write(handle, 0, {I4(1, 40)});
  }
}

TEST_F(Pointer, RecordDeletedThroughAnotherHandleLeavesAGap) {
  for (HANDLE handle : {handle_, stepping_}) {
    SeekTo(handle, records_[1]);
    EXPECT_EQ(CeDeleteRecord(other_, records_[1]), TRUE);
    EXPECT_EQ(ReadAll(handle).error, DWORD{ERROR_KEY_DELETED});
    EXPECT_EQ(ReadAll(handle).error, DWORD{ERROR_KEY_DELETED}) << "a gap is not stepped over";
    EXPECT_EQ(Seek(handle, CEDB_SEEK_CURRENT, -1), records_[0]);
    records_[1] = Write(handle, 0, {I4(1, 20)});
  }
}

TEST_F(Pointer, RecordReachedByAnAutomaticStepIsReplacedByItsSuccessor) {
  EXPECT_EQ(ReadAll(stepping_).oid, records_[0]);
  EXPECT_EQ(CeDeleteRecord(other_, records_[1]), TRUE);
  EXPECT_EQ(ReadAll(stepping_).oid, records_[2]) << "silently";
  EXPECT_EQ(CeDeleteRecord(other_, records_[3]), TRUE);
  EXPECT_EQ(CeDeleteRecord(other_, records_[4]), TRUE);
  EXPECT_EQ(ReadAll(stepping_).error, DWORD{ERROR_NO_MORE_ITEMS}) << "no successor is left";
}

TEST_F(Pointer, SuccessorsOfAnAutomaticStepMayGoOneAfterTheOther) {
  EXPECT_EQ(ReadAll(stepping_).oid, records_[0]);
  for (size_t i = 1; i < 4; i++) EXPECT_EQ(CeDeleteRecord(other_, records_[i]), TRUE);
  EXPECT_EQ(ReadAll(stepping_).oid, records_[4]);
}

TEST_F(Pointer, SeekEndsWhatTheAutomaticStepMeant) {
  EXPECT_EQ(ReadAll(stepping_).oid, records_[0]);
  EXPECT_EQ(SeekTo(stepping_, records_[3]), records_[3]);
  EXPECT_EQ(CeDeleteRecord(other_, records_[3]), TRUE);
  EXPECT_EQ(ReadAll(stepping_).error, DWORD{ERROR_KEY_DELETED});
}

TEST_F(Pointer, CreationNeverMovesIt) {
  SeekTo(other_, records_[2]);
  Seek(stepping_, CEDB_SEEK_END, -99);
  for (int32_t key : {5, 25, 30, 35, 55}) {
    EXPECT_NE(Write(other_, 0, {I4(1, key)}), 0u);
    EXPECT_NE(Write(stepping_, 0, {I4(1, key)}), 0u);
  }
  EXPECT_EQ(ReadAll(other_).oid, records_[2]);
  EXPECT_EQ(ReadAll(stepping_).error, DWORD{ERROR_NO_MORE_ITEMS}) << "the end stays the end";
}

TEST_F(Pointer, EndOfAnEmptyDatabaseStaysTheEndWhenRecordsCome) {
  HANDLE handle = OpenDatabase(volume_, CreateDatabase(volume_, u"empty"));
  CEOID record = Write(handle, 0, {I4(1, 1)});
  EXPECT_EQ(ReadAll(handle).error, DWORD{ERROR_NO_MORE_ITEMS});
  EXPECT_EQ(Seek(handle, CEDB_SEEK_CURRENT, -1), record);
}

TEST_F(Pointer, WriteOfAnotherRecordDoesNotMoveIt) {
  SeekTo(other_, records_[2]);
  for (int32_t key : {25, 35, 5, 99, 20}) {
    EXPECT_EQ(Write(other_, records_[1], {I4(1, key)}), records_[1]);
    EXPECT_EQ(ReadAll(other_).oid, records_[2]);
  }
}

TEST_F(Pointer, GoesWithItsRecordWhenThatMovesInTheOrder) {
  const struct {
    const char* why;
    int32_t key;
    DWORD index;
    size_t next;  // 5 when there is none
  } kMoves[] = {
      {"the key stays", 30, 2, 3}, {"another property's write", 0, 2, 3}, {"to the start", 5, 0, 0},
      {"to the end", 99, 4, 5},    {"over one neighbour", 45, 3, 4},      {"to a key that is there", 10, 1, 1},
  };
  for (HANDLE writer : {other_, handle_}) {
    for (const auto& row : kMoves) {
      SCOPED_TRACE(row.why);
      EXPECT_EQ(Write(writer, records_[2], {I4(1, 30)}), records_[2]);
      SeekTo(other_, records_[2]);
      EXPECT_EQ(Write(writer, records_[2], {row.key == 0 ? I4(2, 1) : I4(1, row.key)}), records_[2]);
      EXPECT_EQ(ReadAll(other_).oid, records_[2]);
      DWORD index = 77;
      EXPECT_EQ(Seek(other_, CEDB_SEEK_CURRENT, 0, &index), records_[2]);
      EXPECT_EQ(index, row.index);
      EXPECT_EQ(Seek(other_, CEDB_SEEK_CURRENT, 1), row.next == 5 ? 0 : records_[row.next]);
    }
  }
}

TEST_F(Pointer, RefusedCallsDoNotMoveIt) {
  SeekTo(other_, records_[2]);
  EXPECT_EQ(Write(other_, records_[2], {I4(1, 99), Text(2, nullptr)}), 0u);
  EXPECT_EQ(Write(other_, 0x7FFFFFFF, {I4(1, 99)}), 0u);
  EXPECT_EQ(CeDeleteRecord(other_, 0x7FFFFFFF), FALSE);
  EXPECT_EQ(Seek(other_, 0, 0), 0u);
  EXPECT_EQ(ReadAll(other_).oid, records_[2]);
}

TEST_F(Pointer, FlushDoesNotMoveIt) {
  SeekTo(other_, records_[2]);
  SeekTo(handle_, records_[3]);
  EXPECT_EQ(CeDeleteRecord(handle_, records_[3]), TRUE);
  EXPECT_EQ(CeFlushDBVol(&volume_), TRUE);
  EXPECT_EQ(ReadAll(other_).oid, records_[2]);
  EXPECT_EQ(ReadAll(handle_).error, DWORD{ERROR_KEY_DELETED});
  EXPECT_EQ(Seek(handle_, CEDB_SEEK_CURRENT, -1), records_[2]);
}

}  // namespace
