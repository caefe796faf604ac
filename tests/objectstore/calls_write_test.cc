// Writing records: what a call changes, what it refuses, and that a refused call changes nothing.
#include "local_heap.h"
#include "store_test.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kText = Prop(2, CEVT_LPWSTR);
constexpr CEPROPID kBytes = Prop(3, CEVT_BLOB);

const BYTE kFive[] = {1, 2, 3, 4, 5};

class Writes : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    Create();
  }
  std::vector<Stored> Contents(CEOID record) {
    EXPECT_EQ(SeekTo(handle_, record), record);
    return ReadAll(handle_).values;
  }
};

TEST_F(Writes, CreationAnswersANewIdentifierAndAnUpdateTheGivenOne) {
  CEOID first = Write(handle_, 0, {I4(1, 1)});
  CEOID second = Write(handle_, 0, {I4(1, 1)});
  EXPECT_NE(first, 0u);
  EXPECT_GT(second, first);
  EXPECT_EQ(Write(handle_, first, {I4(1, 2)}), first);
  EXPECT_EQ(Order(handle_).size(), 2u);
}

TEST_F(Writes, OnlyTheListedPropertiesChange) {
  CEOID record = Write(handle_, 0, {I4(1, 1), Text(2, u"a"), Blob(3, kFive, 5)});
  Write(handle_, record, {Text(2, u"other")});
  EXPECT_EQ(Contents(record), Values({I4(1, 1), Text(2, u"other"), Blob(3, kFive, 5)}));
  Write(handle_, record, {I4(4, 4)});
  EXPECT_EQ(Contents(record), Values({I4(1, 1), Text(2, u"other"), Blob(3, kFive, 5), I4(4, 4)}));
}

TEST_F(Writes, DeletionsAndChangesMixInOneCall) {
  CEOID record = Write(handle_, 0, {I4(1, 1), Text(2, u"a"), Blob(3, kFive, 5)});
  EXPECT_EQ(Write(handle_, record, {Deleted(kText), I4(1, 9), I2(7, 7), Deleted(kBytes)}), record);
  EXPECT_EQ(Contents(record), Values({I4(1, 9), I2(7, 7)}));
}

TEST_F(Writes, ValueOfADeletedEntryIsNotLookedAt) {
  CEOID record = Write(handle_, 0, {I4(1, 1), Text(2, u"a"), Blob(3, kFive, 5)});
  CEPROPVAL text = Text(2, nullptr);
  text.wFlags = CEDB_PROPDELETE;
  CEPROPVAL bytes = Blob(3, nullptr, 0xFFFFFFFF);
  bytes.wFlags = CEDB_PROPDELETE;
  EXPECT_EQ(Write(handle_, record, {text, bytes}), record);
  EXPECT_EQ(Contents(record), Values({I4(1, 1)}));
}

TEST_F(Writes, DeletionOfAnAbsentPropertyIsNothing) {
  CEOID record = Write(handle_, 0, {I4(1, 1)});
  EXPECT_EQ(Write(handle_, record, {Deleted(kText), Deleted(Prop(1, CEVT_I2))}), record);
  EXPECT_EQ(Contents(record), Values({I4(1, 1)})) << "the same number with another type is another property";
}

TEST_F(Writes, RecordOfNothingButDeletionsIsEmpty) {
  CEOID record = Write(handle_, 0, {Deleted(kNumber), Deleted(kText)});
  ASSERT_NE(record, 0u);
  EXPECT_TRUE(Contents(record).empty());
  EXPECT_EQ(Describe(volume_, database_).wNumRecords, 1u);
  Remount();
  handle_ = Open();
  EXPECT_EQ(ReadAll(handle_).oid, record);
}

TEST_F(Writes, RecordKeepsExistingWithoutItsLastProperty) {
  CEOID record = Write(handle_, 0, {I4(1, 1)});
  EXPECT_EQ(Write(handle_, record, {Deleted(kNumber)}), record);
  EXPECT_EQ(Order(handle_), std::vector<CEOID>{record});
  EXPECT_EQ(Write(handle_, record, {I4(1, 2)}), record);
  EXPECT_EQ(Contents(record), Values({I4(1, 2)}));
}

TEST_F(Writes, LastOfSeveralEntriesForOnePropertyWins) {
  const struct {
    const char* why;
    std::vector<CEPROPVAL> entries;
    std::vector<Stored> expected;
  } kRows[] = {
      {"two values", {I4(1, 1), I4(1, 2)}, Values({I4(1, 2)})},
      {"a value and a deletion", {I4(1, 1), Deleted(kNumber)}, {}},
      {"a deletion and a value", {Deleted(kNumber), I4(1, 2)}, Values({I4(1, 2)})},
      {"three", {I4(1, 1), Deleted(kNumber), I4(1, 3)}, Values({I4(1, 3)})},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.why);
    EXPECT_EQ(Contents(Write(handle_, 0, row.entries)), row.expected) << "in a new record";
    CEOID record = Write(handle_, 0, {I4(1, 9)});
    EXPECT_EQ(Write(handle_, record, row.entries), record);
    EXPECT_EQ(Contents(record), row.expected) << "in an old one";
  }
}

TEST_F(Writes, NumberAndTypeTogetherAreTheProperty) {
  CEOID record = Write(handle_, 0, {I4(1, 1), I2(1, 2), Text(1, u"3")});
  Write(handle_, record, {I2(1, 7)});
  EXPECT_EQ(Contents(record), Values({I4(1, 1), I2(1, 7), Text(1, u"3")}));
}

TEST_F(Writes, RefusedWriteChangesNothing) {
  std::vector<BYTE> too_large(CEDB_MAXPROPDATASIZE + 1, 1);
  std::vector<BYTE> large(CEDB_MAXPROPDATASIZE, 1);
  std::u16string too_long(CEDB_MAXPROPDATASIZE / 2 + 1, u'x');
  CEPROPVAL unknown = I4(1, 1);
  unknown.propid = Prop(1, 0x7F);
  CEPROPVAL typeless = I4(1, 1);
  typeless.propid = Prop(1, 0);
  const struct {
    const char* why;
    std::vector<CEPROPVAL> entries;
  } kRefused[] = {
      {"no entry", {}},
      {"an unknown type", {I4(1, 99), unknown}},
      {"no type", {I4(1, 99), typeless}},
      {"a null text", {I4(1, 99), Text(2, nullptr)}},
      {"null bytes with a count", {I4(1, 99), Blob(3, nullptr, 1)}},
      {"too many bytes", {I4(1, 99), Blob(3, too_large)}},
      {"too long a text", {I4(1, 99), Text(2, too_long.c_str())}},
      {"too large a record", {I4(1, 99), Blob(3, large), Blob(4, large), Blob(5, large.data(), 200)}},
      {"a deletion before the bad entry", {Deleted(kNumber), Text(2, nullptr)}},
      {"a bad entry before good ones", {Text(2, nullptr), I4(1, 99), Deleted(kBytes)}},
  };
  CEOID record = Write(handle_, 0, {I4(1, 1), Blob(3, kFive, 5)});
  for (const auto& row : kRefused) {
    SCOPED_TRACE(row.why);
    EXPECT_REFUSED(Write(handle_, record, row.entries), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Contents(record), Values({I4(1, 1), Blob(3, kFive, 5)}));
    EXPECT_REFUSED(Write(handle_, 0, row.entries), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Order(handle_), std::vector<CEOID>{record});
    EXPECT_EQ(Describe(volume_, database_).dwSize, 20u + 2 * 4 + 4 + 5);
  }
  EXPECT_REFUSED(CeWriteRecordProps(handle_, record, 1, nullptr), ERROR_INVALID_PARAMETER);
  CEPROPVAL value = I4(1, 99);
  EXPECT_REFUSED(CeWriteRecordProps(handle_, record, 0, &value), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Contents(record), Values({I4(1, 1), Blob(3, kFive, 5)}));
}

TEST_F(Writes, RecordIsOneOfThisDatabase) {
  CEOID other_database = CreateDatabase(volume_, u"others");
  HANDLE other = OpenDatabase(volume_, other_database);
  CEOID foreign = Write(other, 0, {I4(1, 1)});
  CEOID gone = Write(handle_, 0, {I4(1, 1)});
  EXPECT_EQ(CeDeleteRecord(handle_, gone), TRUE);
  for (CEOID record : {foreign, gone, database_, other_database, CEOID{0x7FFFFFFF}}) {
    EXPECT_REFUSED(Write(handle_, record, {I4(1, 2)}), ERROR_INVALID_PARAMETER);
  }
  EXPECT_EQ(ReadAll(other).error, DWORD{ERROR_NO_MORE_ITEMS});
  SeekTo(other, foreign);
  EXPECT_EQ(ReadAll(other).values, Values({I4(1, 1)}));
}

TEST_F(Writes, NullBytesWithoutACountAreAnEmptyBlob) {
  CEOID record = Write(handle_, 0, {Blob(3, nullptr, 0)});
  ASSERT_NE(record, 0u);
  EXPECT_EQ(Contents(record), Values({Blob(3, nullptr, 0)}));
}

TEST_F(Writes, LargestTextAndBytesAreTaken) {
  std::vector<BYTE> largest(CEDB_MAXPROPDATASIZE, 0x5A);
  std::u16string longest((CEDB_MAXPROPDATASIZE - 1) / 2 - 1, u'x');  // with its terminator 65470 bytes
  CEOID record = Write(handle_, 0, {Blob(3, largest), Text(2, longest.c_str())});
  ASSERT_NE(record, 0u) << GetLastError();
  Remount();
  handle_ = Open();
  EXPECT_EQ(Contents(record), Values({Blob(3, largest), Text(2, longest.c_str())}));
}

TEST_F(Writes, RecordGrowsToItsLimitAndNotBeyond) {
  std::vector<BYTE> largest(CEDB_MAXPROPDATASIZE, 0x5A);
  CEOID record = Write(handle_, 0, {Blob(3, largest)});
  EXPECT_EQ(Write(handle_, record, {Blob(4, largest)}), record);
  EXPECT_REFUSED(Write(handle_, record, {Blob(5, largest.data(), 200)}), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(Contents(record), Values({Blob(3, largest), Blob(4, largest)}));
  EXPECT_EQ(Write(handle_, record, {Blob(5, largest), Deleted(Prop(4, CEVT_BLOB))}), record) << "what goes makes room";
}

TEST_F(Writes, CallersMemoryIsCopiedAndStaysTheCallers) {
  WCHAR text[] = u"abc";
  BYTE bytes[] = {1, 2, 3};
  CEPROPVAL values[] = {Text(2, text), Blob(3, bytes, 3)};
  values[0].wLenData = 0xDEAD;
  CEOID record = CeWriteRecordProps(handle_, 0, 2, values);
  EXPECT_EQ(values[0].val.lpwstr, text);
  EXPECT_EQ(values[0].wLenData, 0xDEAD);
  text[0] = u'z';
  bytes[0] = 9;
  const BYTE kBefore[] = {1, 2, 3};
  EXPECT_EQ(Contents(record), Values({Text(2, u"abc"), Blob(3, kBefore, 3)}));
}

TEST_F(Writes, BlockOfAReadCanBeChangedAndWrittenBack) {
  CEOID record = Write(handle_, 0, {I4(1, 1), Text(2, u"abc"), Blob(3, kFive, 5), Text(4, u"kept")});
  SeekTo(handle_, record);
  WORD count = 0;
  BYTE* block = nullptr;
  DWORD size = 0;
  ASSERT_NE(CeReadRecordPropsEx(handle_, CEDB_ALLOWREALLOC, &count, nullptr, &block, &size, 0), 0u);
  CEPROPVAL* values = reinterpret_cast<CEPROPVAL*>(block);
  values[0].val.lVal = 2;
  values[1].val.lpwstr[0] = u'x';
  values[2].val.blob.dwCount = 2;
  values[3].wFlags = CEDB_PROPDELETE;
  for (CEOID target : {record, CEOID{0}}) {
    CEOID written = CeWriteRecordProps(handle_, target, count, values);
    ASSERT_NE(written, 0u);
    EXPECT_EQ(Contents(written), Values({I4(1, 2), Text(2, u"xbc"), Blob(3, kFive, 2)}));
  }
  LocalFree(block);
}

TEST_F(Writes, EntryThatAReadDidNotFindIsNoValue) {
  CEOID record = Write(handle_, 0, {I4(1, 1)});
  SeekTo(handle_, record);
  const CEPROPID kIds[] = {kNumber, kText, kBytes};
  WORD count = 3;
  BYTE* block = nullptr;
  DWORD size = 0;
  ASSERT_EQ(CeReadRecordPropsEx(handle_, CEDB_ALLOWREALLOC, &count, kIds, &block, &size, 0), record);
  CEPROPVAL* values = reinterpret_cast<CEPROPVAL*>(block);
  values[0].val.lVal = 2;
  EXPECT_EQ(CeWriteRecordProps(handle_, record, count, values), record);
  EXPECT_EQ(Contents(record), Values({I4(1, 2)}));
  LocalFree(block);
}

TEST_F(Writes, RecordIsSeenAtOnceThroughEveryHandle) {
  HANDLE other = Open();
  CEOID record = Write(handle_, 0, {I4(1, 1)});
  EXPECT_EQ(SeekTo(other, record), record);
  EXPECT_EQ(ReadAll(other).values, Values({I4(1, 1)}));
  Write(other, record, {I4(1, 2)});
  EXPECT_EQ(Contents(record), Values({I4(1, 2)}));
}

TEST_F(Writes, DatabaseHolds65535RecordsAndNotOneMore) {
  CEOID last = 0;
  for (int i = 0; i < CEDB_MAXNUMRECORDS; i++) {
    last = Write(handle_, 0, {I4(1, i)});
    ASSERT_NE(last, 0u) << "record " << i << ", last error " << GetLastError();
  }
  EXPECT_REFUSED(Write(handle_, 0, {I4(1, 1)}), ERROR_DISK_FULL);
  EXPECT_EQ(Describe(volume_, database_).wNumRecords, CEDB_MAXNUMRECORDS);
  EXPECT_EQ(Write(handle_, last, {I4(1, -1)}), last) << "updates go on";
  EXPECT_EQ(CeDeleteRecord(handle_, last), TRUE);
  EXPECT_NE(Write(handle_, 0, {I4(1, 1)}), 0u) << "a deletion makes room for one";
  EXPECT_REFUSED(Write(handle_, 0, {I4(1, 1)}), ERROR_DISK_FULL);
  EXPECT_NE(CreateDatabase(volume_, u"others"), 0u);
  Remount();
  EXPECT_EQ(Describe(volume_, database_).wNumRecords, CEDB_MAXNUMRECORDS);
}

class Constraints : public DatabaseTest {};

TEST_F(Constraints, UniqueOrderRefusesAKeyThatIsThere) {
  Create({{kNumber, CEDB_SORT_UNIQUE}});
  CEOID one = Write(handle_, 0, {I4(1, 1)});
  CEOID two = Write(handle_, 0, {I4(1, 2)});
  EXPECT_REFUSED(Write(handle_, 0, {I4(1, 1)}), ERROR_ALREADY_EXISTS);
  EXPECT_REFUSED(Write(handle_, two, {I4(1, 1), I4(5, 5)}), ERROR_ALREADY_EXISTS);
  SeekTo(handle_, two);
  EXPECT_EQ(ReadAll(handle_).values, Values({I4(1, 2)})) << "unchanged by the refusal";
  EXPECT_EQ(Write(handle_, one, {I4(1, 1)}), one) << "its own key is no duplicate";
  EXPECT_EQ(Write(handle_, one, {I4(1, 3)}), one);
  EXPECT_EQ(Write(handle_, two, {I4(1, 1)}), two) << "the key is free again";
  EXPECT_EQ(CeDeleteRecord(handle_, two), TRUE);
  EXPECT_NE(Write(handle_, 0, {I4(1, 1)}), 0u);
  EXPECT_EQ(Order(handle_).size(), 2u);
}

TEST_F(Constraints, NonNullOrderRefusesARecordWithoutTheProperty) {
  for (DWORD flag : {CEDB_SORT_NONNULL, CEDB_SORT_UNIQUE}) {
    SCOPED_TRACE(flag == DWORD{CEDB_SORT_UNIQUE} ? "unique implies it" : "non-null");
    Remount();
    CeDeleteDatabaseEx(&volume_, database_);
    Create({{kNumber, flag}});
    EXPECT_REFUSED(Write(handle_, 0, {I4(2, 1)}), ERROR_ACCESS_DENIED);
    EXPECT_REFUSED(Write(handle_, 0, {Deleted(kNumber)}), ERROR_ACCESS_DENIED);
    EXPECT_REFUSED(Write(handle_, 0, {I2(1, 1)}), ERROR_ACCESS_DENIED);
    EXPECT_TRUE(Order(handle_).empty());
    CEOID record = Write(handle_, 0, {I4(1, 1)});
    EXPECT_NE(record, 0u);
    EXPECT_REFUSED(Write(handle_, record, {Deleted(kNumber), I4(2, 2)}), ERROR_ACCESS_DENIED);
    SeekTo(handle_, record);
    EXPECT_EQ(ReadAll(handle_).values, Values({I4(1, 1)}));
    EXPECT_EQ(Write(handle_, record, {I4(2, 2)}), record) << "the property is there already";
  }
}

TEST_F(Constraints, DuplicatesAreJudgedByTheOrder) {
  Create({{kText, CEDB_SORT_UNIQUE | CEDB_SORT_CASEINSENSITIVE}, {Prop(3, CEVT_LPWSTR), CEDB_SORT_UNIQUE}});
  EXPECT_NE(Write(handle_, 0, {Text(2, u"a"), Text(3, u"a")}), 0u);
  EXPECT_REFUSED(Write(handle_, 0, {Text(2, u"A"), Text(3, u"b")}), ERROR_ALREADY_EXISTS);
  EXPECT_NE(Write(handle_, 0, {Text(2, u"\u00E1"), Text(3, u"A")}), 0u) << "case counts in one, accents in both";
  EXPECT_REFUSED(Write(handle_, 0, {Text(2, u"c"), Text(3, u"a")}), ERROR_ALREADY_EXISTS);
}

TEST_F(Constraints, HoldAfterARemountAndForRecordsWrittenBefore) {
  Create({{kNumber, CEDB_SORT_UNIQUE}});
  EXPECT_NE(Write(handle_, 0, {I4(1, 1)}), 0u);
  Remount();
  handle_ = Open();
  EXPECT_REFUSED(Write(handle_, 0, {I4(1, 1)}), ERROR_ALREADY_EXISTS);
  EXPECT_REFUSED(Write(handle_, 0, {I4(2, 1)}), ERROR_ACCESS_DENIED);
  EXPECT_NE(Write(handle_, 0, {I4(1, 2)}), 0u);
}

TEST_F(Constraints, OrdersWithoutThemTakeDuplicatesAndGaps) {
  Create({{kNumber, 0}});
  EXPECT_NE(Write(handle_, 0, {I4(1, 1)}), 0u);
  EXPECT_NE(Write(handle_, 0, {I4(1, 1)}), 0u);
  EXPECT_NE(Write(handle_, 0, {I4(2, 1)}), 0u);
  EXPECT_EQ(Order(handle_).size(), 3u);
}

}  // namespace
