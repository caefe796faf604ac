// The log of deletions: what an entry holds, its numbers, how entries are opened and counted, and what is left when a
// step fails.
#include "data_record.h"
#include "record_fixture.h"
#include "record_writes.h"

namespace {

using enginetest::Calls;
using enginetest::OpenedRecord;
using enginetest::RecordTest;
using enginetest::Texts;

class DeletionLog : public RecordTest {
 protected:
  DeletionLog() { MakeTextFields(2); }

  MDbStatus Delete(uint32_t oid) { return mdb::DeleteRecord(&env, ref(), table(), &env.schemaTbl, &oid, 0); }
  MDbStatus Open(MDbDataRec* record, int16_t position, const uint32_t* oid = nullptr) {
    return MDbDeleteTblOpenRec(&env, ref(), table(), record, position, oid);
  }
  MDbStatus Load(MDbDataRec* record, bool with_system) {
    return mdb::LoadRecord(&env, ref(), table(), &env.schemaTbl, record, with_system);
  }
};

TEST_F(DeletionLog, ThreeLoggedRecordsOfAFreshFileAreNumberedFromZeroAndTheCounterIsThree) {
  for (const char16_t* text : {u"a", u"b", u"c"}) ASSERT_EQ(MDbStatusOk, Delete(Add({text, u""})));
  EXPECT_EQ(3u, LogCount());
  for (int position = 0; position < 3; ++position) {
    EXPECT_EQ(static_cast<uint64_t>(position), StoredLog(position).at(4).number);
  }
  EXPECT_EQ(3u, Counter(1));
}

TEST_F(DeletionLog, AnEntryIsTheRecordWithItsDeletionNumberAndItsStateMarkedAsDeleted) {
  Add({u"x", u""});
  const uint32_t oid = Add({u"Anna", u"b"});
  {
    OpenedRecord record(&env, oid);
    ASSERT_EQ(MDbStatusOk, mdb::WriteMark(*table(), *record.get(), 1));
    ASSERT_EQ(MDbStatusOk, mdb::WriteSortValue(*table(), *record.get(), -77));
  }
  const auto live = StoredLive(oid);
  ASSERT_EQ(1u, live.at(4).number);
  ASSERT_EQ(MDbStatusOk, Delete(oid));
  const auto entry = StoredLog(0);
  ASSERT_EQ(live.size(), entry.size());
  for (size_t i = 0; i < live.size(); ++i) EXPECT_EQ(live.at(i).id, entry.at(i).id);
  EXPECT_EQ(3u, entry.at(0).number);
  EXPECT_EQ(1u, entry.at(1).number);
  EXPECT_EQ((std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}), entry.at(2).bytes);
  EXPECT_EQ(-77, static_cast<int32_t>(entry.at(3).number));
  EXPECT_EQ(0u, entry.at(4).number) << "the deletion number, not the creation number";
  EXPECT_EQ(u"Anna", entry.at(5).text);
  EXPECT_EQ(u"b", entry.at(6).text);
}

TEST_F(DeletionLog, ARecordWithFewerFieldsThanTheSchemaIsLoggedWithThoseItHas) {
  ASSERT_EQ(MDbStatusOk, Delete(Add({u"alone"})));
  EXPECT_EQ(0u, Count());
  const std::vector<seam::Property> entry = StoredLog(0);
  ASSERT_EQ(6u, entry.size());
  EXPECT_EQ(0x5001Fu, entry[5].id);
  EXPECT_EQ(u"alone", entry[5].text);
}

TEST_F(DeletionLog, StatesZeroAndOneAreBothLoggedAsThree) {
  const uint32_t untouched = Add({u"a", u""});
  const uint32_t touched = Add({u"b", u""});
  {
    OpenedRecord record(&env, touched);
    ASSERT_EQ(MDbStatusOk, mdb::WriteField(&env, ref(), table(), record.get(), 1, u"c"));
  }
  ASSERT_EQ(1u, StoredLive(touched).at(0).number);
  ASSERT_EQ(MDbStatusOk, Delete(untouched));
  ASSERT_EQ(MDbStatusOk, Delete(touched));
  EXPECT_EQ(3u, StoredLog(0).at(0).number);
  EXPECT_EQ(3u, StoredLog(1).at(0).number);
}

TEST_F(DeletionLog, ManyFieldsAreLoggedInCallsOfTen) {
  ASSERT_EQ(MDbStatusOk, MDbSchemaTblDelete(&env, ref()));
  const std::vector<enginetest::Field> fields(20, {MDbFieldText, u"text"});
  const auto definitions = enginetest::Definitions(fields);
  const std::vector<const MDbChar*> names(20, u"text");
  ASSERT_EQ(MDbStatusOk, MDbSchemaTblCreateEx(&env, ref(), definitions.data(), names.data(), 20));
  const uint32_t oid = Add(Texts(20, u"text"));
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Delete(oid));
  std::vector<size_t> counts;
  for (const seam::Call& call : seam.CallsOf("CeWriteRecordProps")) {
    if (call.text.find("DELT_0") != std::string::npos) counts.push_back(call.properties.size());
  }
  EXPECT_EQ((std::vector<size_t>{10, 10, 5}), counts);
  EXPECT_EQ(25u, StoredLog(0).size());
}

TEST_F(DeletionLog, LoggingNeedsARecordLoadedWithItsSystemProperties) {
  OpenedRecord record(&env, Add({u"a", u""}));
  {
    seam::PlatformSeam seam;
    EXPECT_EQ(MDbStatusFailed, mdb::LogDeletion(ref(), table(), record.get()));
    EXPECT_TRUE(seam.Texts().empty());
  }
  ASSERT_EQ(MDbStatusOk, Load(record.get(), false));
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusFailed, mdb::LogDeletion(ref(), table(), record.get()));
  EXPECT_TRUE(seam.Texts().empty());
}

TEST_F(DeletionLog, LoggingRestoresTheLoadedValuesWhetherOrNotItSucceeds) {
  OpenedRecord record(&env, Add({u"a", u""}));
  SetCounter(1, 41);
  ASSERT_EQ(MDbStatusOk, Load(record.get(), true));
  const auto* loaded = static_cast<const CEPROPVAL*>(record->properties);
  const auto expect_restored = [&] {
    EXPECT_EQ(0, loaded[0].val.uiVal);
    EXPECT_EQ(0u, loaded[4].val.ulVal);
  };
  for (const size_t failing_write : {size_t{0}, size_t{1}}) {
    seam::PlatformSeam seam;
    seam.Fail("CeWriteRecordProps", failing_write);
    EXPECT_EQ(MDbStatusFailed, mdb::LogDeletion(ref(), table(), record.get()));
    expect_restored();
  }
  EXPECT_EQ(MDbStatusOk, mdb::LogDeletion(ref(), table(), record.get()));
  expect_restored();
  EXPECT_EQ(42u, Counter(1));
}

TEST_F(DeletionLog, ACounterAtFFFFFFFERenumbersTheEntriesAndTheNewOneReceivesTheirCount) {
  for (const char16_t* text : {u"a", u"b"}) ASSERT_EQ(MDbStatusOk, Delete(Add({text, u""})));
  SetCounter(1, 0xFFFFFFFE);
  const uint32_t oid = Add({u"c", u""});
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Delete(oid));
  const Calls writes = seam.Texts({"CeWriteRecordProps"});
  ASSERT_EQ(5u, writes.size());
  EXPECT_NE(std::string::npos, writes.at(0).find("(DELT_0, ")) << writes.at(0);
  EXPECT_NE(std::string::npos, writes.at(0).find("[0x40013=0])")) << writes.at(0);
  EXPECT_NE(std::string::npos, writes.at(1).find("[0x40013=1])")) << writes.at(1);
  EXPECT_NE(std::string::npos, writes.at(2).find("[0x20013=2, 0x10013=0x40001])")) << writes.at(2);
  EXPECT_NE(std::string::npos, writes.at(4).find("[0x20013=3, 0x10013=0x40001])")) << writes.at(4);
  for (int position = 0; position < 3; ++position) {
    EXPECT_EQ(static_cast<uint64_t>(position), StoredLog(position).at(4).number);
  }
  EXPECT_EQ(3u, Counter(1));
}

TEST_F(DeletionLog, AFailedLogWriteLeavesTheRecordInPlace) {
  const uint32_t oid = Add({u"a", u""});
  seam::PlatformSeam seam;
  seam.Fail("CeWriteRecordProps");
  EXPECT_EQ(MDbStatusFailed, Delete(oid));
  EXPECT_EQ(0u, seam.CountOf("CeDeleteRecord"));
  EXPECT_EQ(1u, Count());
  EXPECT_EQ(0u, LogCount());
  EXPECT_EQ(0u, Counter(1));
}

TEST_F(DeletionLog, APartlyWrittenEntryStays) {
  ASSERT_EQ(MDbStatusOk, MDbSchemaTblDelete(&env, ref()));
  const std::vector<enginetest::Field> fields(6, {MDbFieldText, u"text"});
  const auto definitions = enginetest::Definitions(fields);
  const std::vector<const MDbChar*> names(6, u"text");
  ASSERT_EQ(MDbStatusOk, MDbSchemaTblCreateEx(&env, ref(), definitions.data(), names.data(), 6));
  const uint32_t oid = Add(Texts(6, u"text"));
  {
    seam::PlatformSeam seam;
    seam.Fail("CeWriteRecordProps", 1);
    EXPECT_EQ(MDbStatusFailed, Delete(oid));
  }
  EXPECT_EQ(1u, Count());
  EXPECT_EQ(1u, LogCount());
  EXPECT_EQ(10u, StoredLog(0).size());
  EXPECT_EQ(0u, Counter(1));
}

// ---- opening and counting

TEST_F(DeletionLog, OpeningEntryZeroOfAnEmptyLogFails) {
  MDbDataRec record;
  MDbDataRecInitialize(&record);
  EXPECT_EQ(MDbStatusFailed, Open(&record, 0));
  EXPECT_EQ(0, MDbDataRecIsOpened(&record));
}

TEST_F(DeletionLog, AnEntryIsOpenedByPositionOrIdentifierWhateverTheCursor) {
  for (const char16_t* text : {u"a", u"b"}) ASSERT_EQ(MDbStatusOk, Delete(Add({text, u""})));
  ASSERT_EQ(MDbStatusOk, MDbDataTblCursSetInx(&env, ref(), table(), 0));
  MDbDataRec record;
  MDbDataRecInitialize(&record);
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Open(&record, 1));
  EXPECT_EQ(5u, record.flags);
  const uint32_t oid = record.oid;
  MDbChar text[8] = u"as was";
  EXPECT_EQ(MDbStatusOk, MDbDataRecReadField(&env, ref(), table(), &record, 0, text, sizeof text));
  EXPECT_EQ(std::u16string(u"b"), std::u16string(text));
  EXPECT_EQ(MDbStatusFailed, Open(&record, 0)) << "it is open";
  ASSERT_EQ(MDbStatusOk, MDbDataTblCloseRec(&env, ref(), table(), &record));
  ASSERT_EQ(MDbStatusOk, Open(&record, 0, &oid));
  EXPECT_EQ(oid, record.oid);
  ASSERT_EQ(MDbStatusOk, MDbDataTblCloseRec(&env, ref(), table(), &record));
  EXPECT_EQ((Calls{"CeSeekDatabase(DELT_0, BEGINNING, 1)", "CeSeekDatabase(DELT_0, CEOID, oid=#1)"}),
            seam.Texts({"CeSeekDatabase"}));
  EXPECT_EQ(MDbStatusFailed, Open(&record, 2));
  EXPECT_EQ(MDbStatusFailed, Open(&record, -1));
  const uint32_t unknown = oid + 1000;
  EXPECT_EQ(MDbStatusFailed, Open(&record, 0, &unknown));
}

TEST_F(DeletionLog, AClosedTableHasNoEntriesToOpenOrCount) {
  ASSERT_EQ(MDbStatusOk, Delete(Add({u"a", u""})));
  ASSERT_EQ(MDbStatusOk, MDbDataTblClose(&env, ref(), table()));
  MDbDataRec record;
  MDbDataRecInitialize(&record);
  uint32_t count = 77;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusFailed, Open(&record, 0));
  EXPECT_EQ(MDbStatusFailed, MDbDeleteTblGetRecCount(&env, ref(), table(), &count));
  EXPECT_TRUE(seam.Texts().empty());
  EXPECT_EQ(77u, count);
}

TEST_F(DeletionLog, TheCountIsTheLogsSixteenBitRecordCount) {
  ASSERT_EQ(MDbStatusOk, Delete(Add({u"a", u""})));
  seam::PlatformSeam seam;
  EXPECT_EQ(1u, LogCount());
  EXPECT_EQ(table()->deleteOid, seam.CallsOf("CeOidGetInfoEx").at(0).arguments.at(1));
  seam.Alter("CeOidGetInfoEx", 0, [](void* info) { static_cast<CEOIDINFO*>(info)->infDatabase.wNumRecords = 0xFFFF; });
  EXPECT_EQ(65535u, LogCount());
  uint32_t count = 77;
  seam.Fail("CeOidGetInfoEx");
  EXPECT_EQ(MDbStatusFailed, MDbDeleteTblGetRecCount(&env, ref(), table(), &count));
  EXPECT_EQ(77u, count);
}

// ---- what empties it

TEST_F(DeletionLog, DeletingAllRecordsLeavesTheLogsCountUnchanged) {
  ASSERT_EQ(MDbStatusOk, Delete(Add({u"a", u""})));
  Add({u"b", u""});
  ASSERT_EQ(MDbStatusOk, mdb::DeleteAllRecords(&env, ref(), table()));
  EXPECT_EQ(1u, LogCount());
  EXPECT_EQ(1u, Counter(1));
}

TEST_F(DeletionLog, DeletingAndCreatingThePairEmptiesItAndItsCounter) {
  ASSERT_EQ(MDbStatusOk, Delete(Add({u"a", u""})));
  ASSERT_EQ(MDbStatusOk, MDbDataTblClose(&env, ref(), table()));
  ASSERT_EQ(MDbStatusOk, MDbDataTblDelete(&env, ref(), nullptr));
  ASSERT_EQ(MDbStatusOk, MDbDataTblCreate(&env, ref(), nullptr));
  ASSERT_EQ(MDbStatusOk, MDbDataTblOpen(&env, ref(), table(), nullptr));
  EXPECT_EQ(0u, LogCount());
  EXPECT_EQ(0u, Counter(1));
}

TEST_F(DeletionLog, ItOutlivesClosingTheFile) {
  ASSERT_EQ(MDbStatusOk, Delete(Add({u"a", u"b"})));
  ASSERT_NO_FATAL_FAILURE(Reopen());
  EXPECT_EQ(1u, LogCount());
  EXPECT_EQ(u"b", StoredLog(0).at(6).text);
}

}  // namespace
