// The pair of databases that hold a file's records: made, opened, counted, closed, deleted, and the creation counter's
// cache. What the platform is told, in which order, is part of what is tested. Sorting stands in
// data_table_sort_test.cc.
#include "record_fixture.h"

namespace {

using enginetest::Calls;
using enginetest::Recipe;
using enginetest::RecordTest;

constexpr uint16_t kLiveOnly = 1;

// A file with fields but without records' databases, its volume open in the environment's reference.
class DataTable : public RecordTest {
 protected:
  DataTable() {
    Recipe recipe;
    recipe.fields = {{MDbFieldText, u"name"}};
    recipe.data_table = false;
    CreateDatabase(recipe);
    EXPECT_EQ(MDbStatusOk, MDbOpen(&env, path.c_str(), ref()));
  }

  MDbStatus Create(const uint16_t* options = nullptr) { return MDbDataTblCreate(&env, ref(), options); }
  MDbStatus Delete(const uint16_t* options = nullptr) { return MDbDataTblDelete(&env, ref(), options); }
  MDbStatus Open(const uint32_t* property = nullptr) { return MDbDataTblOpen(&env, ref(), table(), property); }
  MDbStatus Close() { return MDbDataTblClose(&env, ref(), table()); }
  void ExpectReset() {
    EXPECT_EQ(0u, table()->opened);
    EXPECT_EQ(0u, table()->dataHandle);
    EXPECT_EQ(0u, table()->dataOid);
    EXPECT_EQ(-1, table()->cursor);
    EXPECT_EQ(0u, table()->deleteHandle);
    EXPECT_EQ(0u, table()->deleteOid);
    EXPECT_EQ(0xFFFFFFFFu, table()->creationSeqCache);
  }
};

const Calls kCreateLive = {R"(CeCreateDatabaseEx(vol1, flags=7, name="DATA_0", type=0x44415441, sorts=[0x40013:0]))"};
const Calls kCreateLog = {R"(CeCreateDatabaseEx(vol1, flags=3, name="DELT_0", type=0x44454C54))"};
const Calls kResetLiveCounter = {"CeSeekDatabase(OBJG_0, VALUEFIRSTEQUAL, 0x10013=0x40000)",
                                 "CeWriteRecordProps(OBJG_0, oid=0, [0x20013=0, 0x10013=0x40000])"};
const Calls kResetLogCounter = {"CeSeekDatabase(OBJG_0, VALUEFIRSTEQUAL, 0x10013=0x40001)",
                                "CeWriteRecordProps(OBJG_0, oid=0, [0x20013=0, 0x10013=0x40001])"};
const Calls kOpenInCreationOrder = {R"(CeOpenDatabaseEx(vol1, oid=0, name="DATA_0", sort=0x40013, flags=0, null))",
                                    R"(CeOpenDatabaseEx(vol1, oid=0, name="DELT_0", sort=0, flags=0, null))"};

Calls Joined(std::initializer_list<Calls> parts) {
  Calls joined;
  for (const Calls& part : parts) joined.insert(joined.end(), part.begin(), part.end());
  return joined;
}

TEST_F(DataTable, CreateMakesTheLiveRecordsThenTheLogThenResetsBothCounters) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, Create());
  EXPECT_EQ(Joined({kCreateLive, kCreateLog, kResetLiveCounter, kResetLogCounter}), seam.StoreTexts());
  EXPECT_EQ(0u, Counter(0));
  EXPECT_EQ(0u, Counter(1));
}

TEST_F(DataTable, CreateWithOptionsBitZeroSetMakesOnlyTheLiveRecordsAndResetsOnlyTheirCounter) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, Create(&kLiveOnly));
  EXPECT_EQ(Joined({kCreateLive, kResetLiveCounter}), seam.StoreTexts());
}

TEST_F(DataTable, CreateLooksAtOptionsBitZeroAlone) {
  const uint16_t others = 0xFFFE;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, Create(&others));
  EXPECT_EQ(2u, seam.CountOf("CeCreateDatabaseEx"));
}

TEST_F(DataTable, CreateOverwritesCountersThatExist) {
  ASSERT_EQ(MDbStatusOk, Create());
  SetCounter(0, 70);
  SetCounter(1, 80);
  ASSERT_EQ(MDbStatusOk, Delete(&kLiveOnly));
  ASSERT_EQ(MDbStatusOk, Create(&kLiveOnly));
  EXPECT_EQ(0u, Counter(0));
  EXPECT_EQ(80u, Counter(1));
}

TEST_F(DataTable, AFailingStepOfCreateEndsItAtOnceAndUndoesNothing) {
  const struct {
    const char* why;
    const char* call;
    size_t n;
    size_t databases;
    size_t counters;
  } rows[] = {{"the live records", "CeCreateDatabaseEx", 0, 0, 0},
              {"the log", "CeCreateDatabaseEx", 1, 1, 0},
              {"the live records' counter", "CeWriteRecordProps", 0, 2, 0},
              {"the log's counter", "CeWriteRecordProps", 1, 2, 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    seam::PlatformSeam seam;
    seam.Fail(row.call, row.n);
    EXPECT_EQ(MDbStatusFailed, Create());
    EXPECT_EQ(row.n + 1, seam.CountOf(row.call));
    size_t created = 0;
    for (const auto& call : seam.CallsOf("CeCreateDatabaseEx")) created += !call.failed;
    EXPECT_EQ(row.databases, created);
    size_t written = 0;
    for (const auto& call : seam.CallsOf("CeWriteRecordProps")) written += !call.failed;
    EXPECT_EQ(row.counters, written);
    EXPECT_EQ(0u, seam.CountOf("CeDeleteDatabaseEx"));
    (void)Delete();  // whatever there is
  }
}

TEST_F(DataTable, CreateOnAReferenceThatIsNotMountedFails) {
  MDbRef closed;
  MDbRefInitialize(&closed);
  closed.volume = {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF};
  EXPECT_EQ(MDbStatusFailed, MDbDataTblCreate(&env, &closed, nullptr));
}

TEST_F(DataTable, DeleteOpensEachByNameClosesItAndDeletesIt) {
  ASSERT_EQ(MDbStatusOk, Create());
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, Delete());
  const Calls expected = {R"(CeOpenDatabaseEx(vol1, oid=0, name="DATA_0", sort=0, flags=0, null))",
                          "CloseHandle(DATA_0)",
                          "CeDeleteDatabaseEx(vol1, oid=#1)",
                          R"(CeOpenDatabaseEx(vol1, oid=0, name="DELT_0", sort=0, flags=0, null))",
                          "CloseHandle(DELT_0)",
                          "CeDeleteDatabaseEx(vol1, oid=#2)"};
  EXPECT_EQ(expected, seam.StoreTexts());
  EXPECT_EQ(MDbStatusFailed, Open());
}

TEST_F(DataTable, DeleteWithOptionsBitZeroSetKeepsTheLog) {
  ASSERT_EQ(MDbStatusOk, Create());
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, Delete(&kLiveOnly));
  EXPECT_EQ(1u, seam.CountOf("CeDeleteDatabaseEx"));
  EXPECT_EQ(MDbStatusOk, Create(&kLiveOnly));
  EXPECT_EQ(MDbStatusOk, Open());
}

TEST_F(DataTable, DeleteTriesBothAndReturnsTheFirstFailure) {
  ASSERT_EQ(MDbStatusOk, Create());
  {
    seam::PlatformSeam seam;
    seam.Fail("CeOpenDatabaseEx", 0);
    EXPECT_EQ(MDbStatusFailed, Delete());
    EXPECT_EQ(1u, seam.CountOf("CeDeleteDatabaseEx")) << "the log goes all the same";
  }
  EXPECT_EQ(MDbStatusFailed, Delete()) << "the log is missing";
  EXPECT_EQ(MDbStatusFailed, Delete(&kLiveOnly)) << "and so are the live records, deleted by the call before";
}

TEST_F(DataTable, OpenWithANullSortPropertyOpensInCreationOrder) {
  ASSERT_EQ(MDbStatusOk, Create());
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, Open());
  EXPECT_EQ(kOpenInCreationOrder, seam.StoreTexts());
  EXPECT_NE(0u, table()->opened);
  EXPECT_NE(0u, table()->dataOid);
  EXPECT_NE(0u, table()->deleteOid);
  EXPECT_EQ(1, MDbDataTblIsOpened(&env, ref(), table()));
}

TEST_F(DataTable, OpenWithTheSortValuesPropertyOpensInItsOrder) {
  ASSERT_EQ(MDbStatusOk, Create());
  const uint32_t sort_value = 0x00030003;
  seam::PlatformSeam seam;
  (void)Open(&sort_value);  // 1: there is no such order yet; data_table_sort_test.cc makes one
  EXPECT_EQ(R"(CeOpenDatabaseEx(vol1, oid=0, name="DATA_0", sort=0x30003, flags=0, null))", seam.StoreTexts().at(0));
}

TEST_F(DataTable, OpenOnAnOpenTableFailsWithoutAPlatformCall) {
  ASSERT_EQ(MDbStatusOk, Create());
  ASSERT_EQ(MDbStatusOk, Open());
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusFailed, Open());
  EXPECT_TRUE(seam.Texts().empty());
}

TEST_F(DataTable, AFailingOpenOfTheLiveRecordsOpensNothing) {
  ASSERT_EQ(MDbStatusOk, Create());
  seam::PlatformSeam seam;
  seam.Fail("CeOpenDatabaseEx", 0);
  EXPECT_EQ(MDbStatusFailed, Open());
  EXPECT_EQ(1u, seam.CountOf("CeOpenDatabaseEx"));
  EXPECT_EQ(0u, table()->opened);
}

TEST_F(DataTable, AFailingOpenOfTheLogLeavesTheLiveHandleInTheRecord) {
  ASSERT_EQ(MDbStatusOk, Create());
  {
    seam::PlatformSeam seam;
    seam.Fail("CeOpenDatabaseEx", 1);
    EXPECT_EQ(MDbStatusFailed, Open());
  }
  EXPECT_EQ(0u, table()->opened);
  EXPECT_EQ(0, MDbDataTblIsOpened(&env, ref(), table()));
  ASSERT_NE(0u, table()->dataHandle);
  EXPECT_TRUE(CloseHandle(table()->dataHandle));
  MDbDataTblInitialize(table());
}

TEST_F(DataTable, CloseClosesTheLiveRecordsFirstAndResetsTheHandleRecord) {
  ASSERT_EQ(MDbStatusOk, Create());
  ASSERT_EQ(MDbStatusOk, Open());
  ASSERT_EQ(MDbStatusOk, StartCreationSeqCache(&env, ref(), table()));
  ASSERT_EQ(MDbStatusOk, MDbDataTblCursSetInx(&env, ref(), table(), 3));
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, Close());
  EXPECT_EQ((Calls{"CloseHandle(DATA_0)", "CloseHandle(DELT_0)"}), seam.StoreTexts());
  ExpectReset();
}

TEST_F(DataTable, CloseOnAClosedTableFailsWithoutAPlatformCall) {
  ASSERT_EQ(MDbStatusOk, Create());
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusFailed, Close());
  EXPECT_TRUE(seam.Texts().empty());
}

TEST_F(DataTable, AFailingCloseOfEitherHandleFailsAndKeepsTheRecord) {
  ASSERT_EQ(MDbStatusOk, Create());
  ASSERT_EQ(MDbStatusOk, Open());
  {
    seam::PlatformSeam seam;
    seam.Fail("CloseHandle", 0);
    EXPECT_EQ(MDbStatusFailed, Close());
    EXPECT_NE(0u, table()->opened);
  }
  {
    seam::PlatformSeam seam;
    seam.Fail("CloseHandle", 1);
    EXPECT_EQ(MDbStatusFailed, Close());
    EXPECT_NE(0u, table()->opened);
  }
  EXPECT_TRUE(CloseHandle(table()->deleteHandle));
  MDbDataTblInitialize(table());
}

TEST_F(DataTable, IsOpenedAnswersTheOpenedField) {
  EXPECT_EQ(0, MDbDataTblIsOpened(&env, ref(), table()));
  ASSERT_EQ(MDbStatusOk, Create());
  ASSERT_EQ(MDbStatusOk, Open());
  EXPECT_EQ(1, MDbDataTblIsOpened(&env, ref(), table()));
  ASSERT_EQ(MDbStatusOk, Close());
  EXPECT_EQ(0, MDbDataTblIsOpened(&env, ref(), table()));
}

TEST_F(DataTable, RecordCountAsksForTheLiveDatabasesInformation) {
  ASSERT_EQ(MDbStatusOk, Create());
  ASSERT_EQ(MDbStatusOk, Open());
  Add({u"one"});
  Add({u"two"});
  seam::PlatformSeam seam;
  EXPECT_EQ(2u, Count());
  EXPECT_EQ(Calls{"CeOidGetInfoEx(vol1, oid=#1)"}, seam.StoreTexts());
  EXPECT_EQ(table()->dataOid, seam.calls().at(0).arguments.at(1));
}

TEST_F(DataTable, RecordCountIsASixteenBitQuantity) {
  ASSERT_EQ(MDbStatusOk, Create());
  ASSERT_EQ(MDbStatusOk, Open());
  seam::PlatformSeam seam;
  seam.Alter("CeOidGetInfoEx", 0, [](void* info) { static_cast<CEOIDINFO*>(info)->infDatabase.wNumRecords = 0xFFFF; });
  EXPECT_EQ(65535u, Count());
}

TEST_F(DataTable, RecordCountFailsOnAClosedTableAFailingCallAndAnObjectThatIsNoDatabase) {
  ASSERT_EQ(MDbStatusOk, Create());
  uint32_t count = 77;
  EXPECT_EQ(MDbStatusFailed, MDbDataTblGetRecCount(&env, ref(), table(), &count));
  ASSERT_EQ(MDbStatusOk, Open());
  seam::PlatformSeam seam;
  seam.Fail("CeOidGetInfoEx");
  EXPECT_EQ(MDbStatusFailed, MDbDataTblGetRecCount(&env, ref(), table(), &count));
  seam.Alter("CeOidGetInfoEx", 0, [](void* info) { static_cast<CEOIDINFO*>(info)->wObjType = OBJTYPE_RECORD; });
  EXPECT_EQ(MDbStatusFailed, MDbDataTblGetRecCount(&env, ref(), table(), &count));
  EXPECT_EQ(77u, count);
}

TEST_F(DataTable, CursorIndexMinusOneReadsBackAsFFFF) {
  uint16_t index = 0;
  EXPECT_EQ(MDbStatusOk, MDbDataTblCursSetInx(&env, ref(), table(), -1));
  EXPECT_EQ(-1, table()->cursor) << "stored sign-extended";
  EXPECT_EQ(MDbStatusOk, MDbDataTblCursGetInx(&env, ref(), table(), &index));
  EXPECT_EQ(0xFFFF, index);
}

TEST_F(DataTable, TheCursorTakesAnyIndexAlsoOnAClosedTable) {
  for (const int16_t wanted : {int16_t{0}, int16_t{5000}, int16_t{32767}, int16_t{-32768}}) {
    uint16_t index = 1;
    EXPECT_EQ(MDbStatusOk, MDbDataTblCursSetInx(&env, ref(), table(), wanted));
    EXPECT_EQ(MDbStatusOk, MDbDataTblCursGetInx(&env, ref(), table(), &index));
    EXPECT_EQ(static_cast<uint16_t>(wanted), index);
    EXPECT_EQ(wanted, table()->cursor);
  }
}

TEST_F(DataTable, TheCreationCounterIsCachedInTheHandleRecordUntilTheTableIsClosed) {
  ASSERT_EQ(MDbStatusOk, Create());
  ASSERT_EQ(MDbStatusOk, Open());
  SetCounter(0, 41);
  EXPECT_EQ(MDbStatusOk, StartCreationSeqCache(&env, ref(), table()));
  EXPECT_EQ(41u, table()->creationSeqCache);
  Add({u"one"});
  Add({u"two"});
  EXPECT_EQ(43u, table()->creationSeqCache);
  EXPECT_EQ(41u, Counter(0)) << "not written per record";
  EXPECT_EQ(MDbStatusOk, EndCreationSeqCache(&env, ref(), table()));
  EXPECT_EQ(43u, Counter(0));
  EXPECT_EQ(43u, table()->creationSeqCache) << "stays in force";
  Add({u"three"});
  EXPECT_EQ(43u, Counter(0));
  EXPECT_EQ(MDbStatusOk, EndCreationSeqCache(&env, ref(), table()));
  EXPECT_EQ(44u, Counter(0));
}

TEST_F(DataTable, TheCreationCountersCachePassesTheCataloguesFailuresOn) {
  ASSERT_EQ(MDbStatusOk, Create());
  ASSERT_EQ(MDbStatusOk, Open());
  seam::PlatformSeam seam;
  seam.Fail("CeReadRecordPropsEx");
  EXPECT_EQ(MDbStatusFailed, StartCreationSeqCache(&env, ref(), table()));
  EXPECT_EQ(0xFFFFFFFFu, table()->creationSeqCache);
  seam.Fail("CeWriteRecordProps");
  EXPECT_EQ(MDbStatusFailed, EndCreationSeqCache(&env, ref(), table()));
}

}  // namespace
