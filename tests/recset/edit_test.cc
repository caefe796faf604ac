// Editing through a record set: fields, new and duplicated records, deletions, and what each leaves in the view, the
// cursor and the list of kept records.
#include "recset_fixture.h"

namespace {

using enginetest::Calls;
using enginetest::RecordSetTest;
using enginetest::Texts;

class EditSet : public RecordSetTest {
 protected:
  EditSet() {
    Make({MDbFieldText, MDbFieldText});
    Add({u"oak", u"1"});
    Add({u"elm", u"2"});
    Add({u"oak", u"3"});
    Add({u"oak", u"4"}, false);
  }
  MDbStatus New(uint16_t* index) { return MDbRecsetNewRec(&env, &recset, index); }
  MDbStatus Duplicate(int16_t source, uint16_t* index) { return MDBRecsetDupRec(&env, &recset, source, index); }
  MDbStatus Delete(int16_t index, uint32_t no_log = 0) { return MDbRecsetDelRec(&env, &recset, index, no_log); }
  MDbStatus DeleteAll(uint8_t no_log) { return MDbRecsetDelAllRec(&env, &recset, no_log); }
  void QueryOaks() { ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak")); }
};

// ---- fields

TEST_F(EditSet, EditingTheFilteredFieldKeepsTheRecordInViewAfterASort) {
  QueryOaks();
  ASSERT_NO_FATAL_FAILURE(Edit(0, 0, u"birch"));
  EXPECT_EQ(1, recset.keepCount);
  EXPECT_EQ((Texts{u"birch", u"oak", u"oak"}), Contents(0));
  ASSERT_EQ(MDbStatusOk, Sort(0));
  EXPECT_EQ((Texts{u"birch", u"oak", u"oak"}), Contents(0));
}

TEST_F(EditSet, EditingAnotherFieldDoesNotPinTheRecord) {
  QueryOaks();
  ASSERT_NO_FATAL_FAILURE(Edit(0, 1, u"changed"));
  EXPECT_EQ(0, recset.keepCount);
  EXPECT_EQ(nullptr, recset.keepList);
}

TEST_F(EditSet, NothingIsPinnedInDirectModeOrWithoutCriteria) {
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_NO_FATAL_FAILURE(Edit(0, 0, u"birch"));
  EXPECT_EQ(0, recset.keepCount);
  ASSERT_EQ(MDbStatusOk, Sort(0));
  ASSERT_NO_FATAL_FAILURE(Edit(0, 0, u"ash"));
  EXPECT_EQ(0, recset.keepCount);
}

TEST_F(EditSet, AFailedWritePinsNothingAndMissingMemoryForThePinIsAFailureOfTheWrittenEdit) {
  QueryOaks();
  ASSERT_NO_FATAL_FAILURE(OpenAt(0));
  {
    seam::PlatformSeam seam;
    seam.Fail("CeWriteRecordProps");
    EXPECT_EQ(MDbStatusFailed, MDbRecsetSetField(&env, &recset, 0, u"birch"));
    EXPECT_EQ(0, recset.keepCount);
  }
  {
    seam::PlatformSeam seam;
    seam.Fail("LocalAlloc");
    EXPECT_EQ(MDbStatusFailed, MDbRecsetSetField(&env, &recset, 0, u"birch"));
  }
  EXPECT_EQ(MDbStatusOk, CloseRecord());
  EXPECT_EQ((Texts{u"birch", u"oak", u"oak"}), Contents(0));
  EXPECT_EQ(0, recset.keepCount);
}

// ---- new records

TEST_F(EditSet, ANewRecordInViewModeIsTheLastOfTheViewAndIsKeptThere) {
  QueryOaks();
  uint16_t index = 77;
  ASSERT_EQ(MDbStatusOk, New(&index));
  EXPECT_EQ(3, index);
  EXPECT_EQ(4u, SetCount());
  EXPECT_EQ(1, recset.dirty);
  EXPECT_EQ(1, recset.keepCount);
  EXPECT_EQ((Texts{u"1", u"3", u"4", u""}), Contents(1));
  ASSERT_EQ(MDbStatusOk, Sort(1));
  EXPECT_EQ((Texts{u"", u"1", u"3", u"4"}), Contents(1));
}

TEST_F(EditSet, ANewRecordInDirectModeIsTheLastOfTheDataTable) {
  ASSERT_EQ(MDbStatusOk, QueryAll());
  uint16_t index = 77;
  ASSERT_EQ(MDbStatusOk, New(&index));
  EXPECT_EQ(4, index);
  EXPECT_EQ(1, recset.dirty);
  EXPECT_EQ(nullptr, recset.keepList);
}

TEST_F(EditSet, ANewRecordIsCreatedThenAppendedToTheViewThenKept) {
  QueryOaks();
  seam::PlatformSeam seam;
  uint16_t index = 0;
  ASSERT_EQ(MDbStatusOk, New(&index));
  Calls steps;
  for (const seam::Call& call : seam.calls()) {
    if (call.name == "CeFlushDBVol" || call.name == "LocalReAlloc") steps.push_back(call.name);
    if (call.name == "CeWriteRecordProps") steps.push_back(call.text.substr(0, call.text.find(',')));
  }
  EXPECT_EQ((Calls{"CeWriteRecordProps(DATA_0", "CeWriteRecordProps(OBJG_0", "CeFlushDBVol",
                   "CeWriteRecordProps(VTBL_0", "LocalReAlloc"}),
            steps);
  EXPECT_EQ("[19=3, 0x10013=", seam.CallsOf("CeWriteRecordProps")
                                   .at(2)
                                   .text.substr(seam.CallsOf("CeWriteRecordProps").at(2).text.find('['), 15));
}

TEST_F(EditSet, AStepThatFailsForANewRecordSaysWhatItLeaves) {
  const struct {
    const char* why;
    const char* call;
    size_t n;
    uint8_t dirty;
    bool index_written;
    uint32_t added;
    uint32_t shown;
  } rows[] = {{"the record", "CeWriteRecordProps", 0, 0, false, 0, 0},
              {"the view record: dirty all the same", "CeWriteRecordProps", 2, 1, false, 1, 0},
              {"memory for keeping it: the index is written", "LocalReAlloc", 0, 1, true, 1, 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    QueryOaks();
    const uint32_t live = Count();
    const uint32_t shown = SetCount();
    uint16_t index = 0xABCD;
    {
      seam::PlatformSeam seam;
      seam.Fail(row.call, row.n);
      EXPECT_EQ(MDbStatusFailed, New(&index));
    }
    EXPECT_EQ(row.dirty, recset.dirty);
    EXPECT_EQ(row.index_written ? shown : 0xABCDu, index);
    EXPECT_EQ(0, recset.keepCount);
    EXPECT_EQ(row.added, Count() - live);
    EXPECT_EQ(row.shown, SetCount() - shown);
    ASSERT_EQ(MDbStatusOk, Destroy());
  }
}

TEST_F(EditSet, TheRecordLimitIsStatusEight) {
  for (const bool view : {false, true}) {
    ASSERT_EQ(MDbStatusOk, view ? Query(0, MDbQueryByWords, u"oak") : QueryAll());
    uint16_t index = 77;
    const auto full = [](void* info) { static_cast<CEOIDINFO*>(info)->infDatabase.wNumRecords = 5000; };
    seam::PlatformSeam seam;
    seam.Alter("CeOidGetInfoEx", 0, full);
    EXPECT_EQ(MDbStatusRecordLimit, New(&index));
    seam.Alter("CeOidGetInfoEx", 0, full);
    EXPECT_EQ(MDbStatusRecordLimit, Duplicate(0, &index));
    EXPECT_EQ(77, index);
    EXPECT_EQ(0, recset.dirty);
    ASSERT_EQ(MDbStatusOk, Destroy());
  }
}

// ---- duplicates

TEST_F(EditSet, ADuplicateHasTheFieldsANewStateAndAnInfoBlockOfZeros) {
  for (const bool view : {false, true}) {
    SCOPED_TRACE(view ? "view mode" : "direct mode");
    ASSERT_EQ(MDbStatusOk, view ? Query(0, MDbQueryByWords, u"oak") : QueryAll());
    ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 1));
    const uint32_t before = SetCount();
    uint16_t index = 77;
    ASSERT_EQ(MDbStatusOk, Duplicate(2, &index));
    EXPECT_EQ(before, index);
    EXPECT_EQ(1, Cursor()) << "the cursor is as before";
    EXPECT_EQ(0, MDbDataRecIsOpened(&recset.record));
    EXPECT_EQ(1, recset.dirty);
    EXPECT_EQ(view ? 1 : 0, recset.keepCount);
    ASSERT_NO_FATAL_FAILURE(OpenAt(static_cast<int16_t>(index)));
    const auto stored = StoredLive(recset.record.oid);
    EXPECT_EQ(5u, stored.at(0).number);
    EXPECT_EQ(std::vector<uint8_t>(10, 0), stored.at(2).bytes);
    EXPECT_EQ(u"oak", stored.at(5).text);
    EXPECT_EQ(view ? u"4" : u"3", stored.at(6).text);
    ASSERT_EQ(MDbStatusOk, Destroy());
  }
}

TEST_F(EditSet, ADuplicateOfAnIndexThatIsNotThereRestoresTheCursor) {
  for (const bool view : {false, true}) {
    SCOPED_TRACE(view ? "view mode" : "direct mode");
    ASSERT_EQ(MDbStatusOk, view ? Query(0, MDbQueryByWords, u"oak") : QueryAll());
    ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 1));
    for (const int16_t source : {int16_t{-1}, int16_t{4}, int16_t{32767}, int16_t{-32768}}) {
      uint16_t index = 77;
      EXPECT_EQ(MDbStatusFailed, Duplicate(source, &index)) << source;
      EXPECT_EQ(1, Cursor());
      EXPECT_EQ(77, index);
    }
    EXPECT_EQ(0, recset.dirty);
    ASSERT_EQ(MDbStatusOk, Destroy());
  }
  EXPECT_EQ(4u, Count());
}

TEST_F(EditSet, ADuplicateWithARecordOpenFailsAndLeavesThatRecordOpen) {
  QueryOaks();
  ASSERT_NO_FATAL_FAILURE(OpenAt(1));
  uint16_t index = 77;
  EXPECT_EQ(MDbStatusFailed, Duplicate(0, &index));
  EXPECT_EQ(1, MDbDataRecIsOpened(&recset.record));
  EXPECT_EQ(1, Cursor());
  EXPECT_EQ(MDbStatusOk, CloseRecord());
}

TEST_F(EditSet, EveryFailureOfADuplicateClosesTheRecordRestoresTheCursorAndFreesItsMemory) {
  for (const bool view : {false, true}) {
    SCOPED_TRACE(view ? "view mode" : "direct mode");
    ASSERT_EQ(MDbStatusOk, view ? Query(0, MDbQueryByWords, u"oak") : QueryAll());
    ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 1));
    uint16_t index = 77;
    ASSERT_EQ(MDbStatusOk, Duplicate(0, &index));  // so that the keep list exists
    const size_t blocks = seam::LiveBlocks();
    size_t n = 0;
    for (; n < 200; ++n) {
      SCOPED_TRACE("call " + std::to_string(n));
      seam::PlatformSeam seam;
      seam.FailAny(n);
      const MDbStatus status = Duplicate(0, &index);
      if (!seam.FaultHappened()) break;
      EXPECT_TRUE(status == MDbStatusFailed || status == MDbStatusOk);
      EXPECT_EQ(1, Cursor());
      EXPECT_EQ(0, MDbDataRecIsOpened(&recset.record));
      EXPECT_EQ(blocks, seam::LiveBlocks());
    }
    EXPECT_LT(n, 200u);
    ASSERT_EQ(MDbStatusOk, Destroy());
  }
}

TEST_F(EditSet, WithoutMemoryForItsFieldPointersADuplicateIsAFailureAndAddsNothing) {
  QueryOaks();
  ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 1));
  const size_t pointers = 2 * sizeof(const MDbChar*);
  size_t n = 0;
  {
    seam::PlatformSeam seam;
    uint16_t index = 0;
    ASSERT_EQ(MDbStatusOk, Duplicate(0, &index));
    const Calls allocations = seam.Texts({"LocalAlloc"});
    const std::string wanted = "LocalAlloc(flags=64, " + std::to_string(pointers) + ")";
    while (n < allocations.size() && allocations.at(n) != wanted) ++n;
    ASSERT_LT(n, allocations.size()) << "one pointer per field";
  }
  const uint32_t live = Count();
  const uint32_t shown = SetCount();
  uint16_t index = 77;
  seam::PlatformSeam seam;
  seam.Fail("LocalAlloc", n);
  EXPECT_EQ(MDbStatusFailed, Duplicate(0, &index));
  EXPECT_EQ(77, index);
  EXPECT_EQ(live, Count());
  EXPECT_EQ(shown, SetCount());
  EXPECT_EQ(1, Cursor());
  EXPECT_EQ(0, MDbDataRecIsOpened(&recset.record));
}

// ---- deletions

TEST_F(EditSet, DeletingWithARecordOpenIsRefusedAndDeletesNothing) {
  for (const bool view : {false, true}) {
    ASSERT_EQ(MDbStatusOk, view ? Query(0, MDbQueryByWords, u"oak") : QueryAll());
    ASSERT_NO_FATAL_FAILURE(OpenAt(0));
    seam::PlatformSeam seam;
    EXPECT_EQ(MDbStatusFailed, Delete(1));
    EXPECT_EQ(MDbStatusFailed, DeleteAll(0));
    EXPECT_EQ(MDbStatusFailed, DeleteAll(1));
    EXPECT_TRUE(seam.StoreTexts().empty());
    EXPECT_EQ(4u, Count());
    EXPECT_EQ(MDbStatusOk, CloseRecord());
    ASSERT_EQ(MDbStatusOk, Destroy());
  }
}

TEST_F(EditSet, AfterAnyDeletionTheCursorIsMinusOne) {
  for (const bool view : {false, true}) {
    SCOPED_TRACE(view ? "view mode" : "direct mode");
    while (Count() < 4) Add({u"oak", u"more"});
    ASSERT_EQ(MDbStatusOk, view ? Query(0, MDbQueryByWords, u"oak") : QueryAll());
    ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 0));
    ASSERT_EQ(MDbStatusOk, Delete(0));
    EXPECT_EQ(0xFFFF, Cursor());
    ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 0));
    EXPECT_EQ(MDbStatusFailed, Delete(3));
    EXPECT_EQ(0, Cursor()) << "a deletion that failed leaves it";
    ASSERT_EQ(MDbStatusOk, DeleteAll(0));
    EXPECT_EQ(0xFFFF, Cursor());
    ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 0));
    ASSERT_EQ(MDbStatusOk, DeleteAll(1));
    EXPECT_EQ(0xFFFF, Cursor()) << "also when there was nothing to delete";
    ASSERT_EQ(MDbStatusOk, Destroy());
  }
}

TEST_F(EditSet, ADeletionTakesTheRecordOutOfTheViewTheTableAndTheKeepList) {
  QueryOaks();
  ASSERT_NO_FATAL_FAILURE(Edit(1, 0, u"birch"));
  ASSERT_EQ(1, recset.keepCount);
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Delete(1));
  EXPECT_EQ((Texts{u"1", u"4"}), Contents(1));
  EXPECT_EQ(3u, Count());
  EXPECT_EQ(0, recset.keepCount);
  Calls deletions;
  for (const std::string& text : seam.Texts({"CeDeleteRecord"})) deletions.push_back(text.substr(0, text.find(',')));
  EXPECT_EQ((Calls{"CeDeleteRecord(VTBL_0", "CeDeleteRecord(DATA_0"}), deletions);
}

TEST_F(EditSet, TheFlagOfADeletionKeepsItOutOfTheLog) {
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_EQ(MDbStatusOk, Delete(0, 0));
  EXPECT_EQ(1u, LogCount());
  ASSERT_EQ(MDbStatusOk, Delete(0, 1));
  EXPECT_EQ(1u, LogCount());
  ASSERT_EQ(MDbStatusOk, Delete(1, 0));
  EXPECT_EQ(1u, LogCount()) << "the host never saw that one";
  ASSERT_EQ(MDbStatusOk, Destroy());
  QueryOaks();
  ASSERT_EQ(MDbStatusOk, Delete(0, 0));
  EXPECT_EQ(2u, LogCount());
}

TEST_F(EditSet, AnyNonZeroFlagKeepsADeletionOutOfTheLog) {
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_EQ(MDbStatusOk, Delete(0, 0x80));
  EXPECT_EQ(0u, LogCount());
}

TEST_F(EditSet, DeletingAllOfAFilteredViewDeletesOnlyTheRecordsInIt) {
  for (const uint8_t no_log : {uint8_t{0}, uint8_t{1}}) {
    Add({u"oak", u"5"});
    QueryOaks();
    const uint32_t logged = LogCount();
    seam::PlatformSeam seam;
    ASSERT_EQ(MDbStatusOk, DeleteAll(no_log));
    EXPECT_EQ(0u, seam.CountOf("CeDeleteDatabaseEx"));
    EXPECT_EQ(0u, SetCount());
    EXPECT_EQ(Texts{u"elm"}, Column(0));
    EXPECT_EQ(no_log != 0, LogCount() == logged);
    ASSERT_EQ(MDbStatusOk, Destroy());
  }
}

TEST_F(EditSet, DeletingAllInDirectModeWithTheFlagRecreatesTheLiveRecordsAtOnce) {
  ASSERT_EQ(MDbStatusOk, QueryAll());
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, DeleteAll(1));
  EXPECT_EQ(0u, seam.CountOf("CeDeleteRecord"));
  EXPECT_EQ(1u, seam.CountOf("CeDeleteDatabaseEx"));
  EXPECT_EQ(0u, Count());
  EXPECT_EQ(0u, LogCount());
}

TEST_F(EditSet, DeletingAllInDirectModeWithoutTheFlagDeletesRecordZeroThatManyTimes) {
  ASSERT_EQ(MDbStatusOk, QueryAll());
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, DeleteAll(0));
  EXPECT_EQ(4u, seam.CountOf("CeDeleteRecord"));
  EXPECT_EQ(4u, seam.CountOf("CeFlushDBVol"));
  Calls seeks;
  for (const std::string& text : seam.Texts({"CeSeekDatabase"})) {
    if (text.find("(DATA_0") != std::string::npos) seeks.push_back(text);
  }
  EXPECT_EQ(Calls(4, "CeSeekDatabase(DATA_0, BEGINNING, 0)"), seeks);
  EXPECT_EQ(0u, Count());
  EXPECT_EQ(3u, LogCount());
}

TEST_F(EditSet, DeletingAllStopsAtTheFirstFailureAndLeavesTheKeepListAndTheCursor) {
  QueryOaks();
  ASSERT_NO_FATAL_FAILURE(Edit(0, 0, u"birch"));
  ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 2));
  seam::PlatformSeam seam;
  seam.Fail("CeDeleteRecord", 3);  // the second data record
  EXPECT_EQ(MDbStatusFailed, DeleteAll(0));
  EXPECT_EQ(1, recset.keepCount);
  EXPECT_EQ(2, recset.view.index);
  EXPECT_EQ(1u, SetCount());
  EXPECT_EQ(3u, Count());
}

}  // namespace
