// The life of a record set: reset, valid in direct or in view mode, walked, destroyed.
#include "recset_fixture.h"

namespace {

using enginetest::Calls;
using enginetest::RecordSetTest;
using enginetest::Texts;

class RecordSetLife : public RecordSetTest {
 protected:
  RecordSetLife() {
    Make({MDbFieldText, MDbFieldNumber});
    Add({u"oak", u"1"});
    Add({u"elm", u"2"});
    Add({u"oak", u"3"});
  }
};

TEST_F(RecordSetLife, InitializeGivesEveryFieldItsResetValueAndLeavesTheCriteria) {
  std::memset(&recset, 0xEE, sizeof recset);
  recset.query = {7, 8, u"kept"};
  recset.hasQuery = 9;
  MDbRecsetInitialize(&recset);
  EXPECT_EQ(0, recset.valid);
  EXPECT_EQ(0, recset.hasView);
  EXPECT_EQ(-1, recset.filterField);
  EXPECT_EQ(0, recset.dirty);
  EXPECT_EQ(-1, recset.sortField);
  EXPECT_EQ(1, recset.ascending);
  EXPECT_EQ(0u, recset.record.flags);
  EXPECT_EQ(nullptr, recset.record.block);
  EXPECT_EQ(0, recset.view.open);
  EXPECT_EQ(0u, recset.view.flagFilter);
  EXPECT_EQ(0u, recset.view.viewOid);
  EXPECT_EQ(0xFFFFFFFFu, recset.view.handle);
  EXPECT_EQ(-1, recset.view.index);
  EXPECT_EQ(0u, recset.view.nextSeq);
  EXPECT_EQ(nullptr, recset.keepList);
  EXPECT_EQ(0, recset.keepCount);
  EXPECT_EQ(0u, recset.keepCapacity);
  EXPECT_EQ(7, recset.query.field);
  EXPECT_EQ(8, recset.query.mode);
  EXPECT_EQ(9, recset.hasQuery);
}

TEST_F(RecordSetLife, DestroyOnAHandleThatWasOnlyInitialisedAnswersZeroWithoutAStoreCall) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, Destroy());
  EXPECT_TRUE(seam.StoreTexts().empty());
}

TEST_F(RecordSetLife, AfterDestroyIsFilteredAnswersOne) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  ASSERT_EQ(MDbStatusOk, Destroy());
  uint8_t filtered = 77;
  EXPECT_EQ(MDbStatusFailed, MDbRecsetIsFiltered(&env, &recset, &filtered));
  EXPECT_EQ(77, filtered);
}

TEST_F(RecordSetLife, EveryCallButTheSortDefinitionAndDestroyFailsOnAHandleThatIsNotValid) {
  uint32_t wide = 77;
  uint16_t half = 77;
  uint8_t byte = 77;
  const MDbChar* pointer = nullptr;
  MDbChar text[8] = u"as was";
  uint16_t orders[2] = {77, 77};
  MDbFldOption option = {{77}};
  MDbFldOptionEx option_ex{};
  option_ex.displayOrder = 77;
  MDbSortDef sort = {};
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetRecCount(&env, &recset, &wide));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetInx(&env, &recset, &half));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetSetInx(&env, &recset, 0));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetOpenRec(&env, &recset));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetCloseRec(&env, &recset));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetIsFiltered(&env, &recset, &byte));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetIsFilteredDirty(&env, &recset, &byte));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetSort(&env, &recset, 0, 0));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetFldCount(&env, &recset, &half));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetFldType(&env, &recset, 0, &byte));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetFldNameSize(&env, &recset, 0, &wide));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetFldName(&env, &recset, 0, text, sizeof text));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetFieldMaxSize(&env, &recset, 0, &wide));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetFieldPtr(&env, &recset, 0, &pointer));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetField(&env, &recset, 0, text, sizeof text));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetFieldSize(&env, &recset, 0, &wide));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetSetField(&env, &recset, 0, u"x"));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetNewRec(&env, &recset, &half));
  EXPECT_EQ(MDbStatusFailed, MDBRecsetDupRec(&env, &recset, 0, &half));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetDelRec(&env, &recset, 0, 0));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetDelAllRec(&env, &recset, 1));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetFldOption(&env, &recset, 0, &option));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetFldOptionEx(&env, &recset, 0, &option_ex));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetSetFldOption(&env, &recset, 0, &option));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetSetFldOptionEx(&env, &recset, 0, &option_ex));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetDefOptionEx(&env, &recset, &option_ex, 1));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetDisplayOrders(&env, &recset, orders, 2));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetSetDisplayOrders(&env, &recset, orders));
  EXPECT_TRUE(seam.StoreTexts().empty()) << "nothing is asked of the store";
  EXPECT_EQ(77u, wide);
  EXPECT_EQ(77, half);
  EXPECT_EQ(77, byte);
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetSortDef(&env, &recset, &sort));
  EXPECT_EQ(0xFFFF, sort.field);
  EXPECT_EQ(1, sort.ascending);
}

TEST_F(RecordSetLife, TheSortDefinitionOfNoRecordSetIsAFailure) {
  MDbSortDef sort = {7, 7};
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetSortDef(&env, nullptr, &sort));
  EXPECT_EQ(7, sort.field);
}

// ---- direct mode

TEST_F(RecordSetLife, WithoutCriteriaARecordSetReadsTheDataTableThroughItsCursor) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, QueryAll());
  EXPECT_TRUE(seam.StoreTexts().empty());
  EXPECT_EQ(1, recset.valid);
  EXPECT_EQ(0, recset.hasView);
  EXPECT_EQ(-1, recset.filterField);
  EXPECT_EQ(0, recset.hasQuery);
  EXPECT_EQ(3u, SetCount());
  EXPECT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 2));
  EXPECT_EQ(2, table()->cursor);
  ASSERT_EQ(MDbStatusOk, MDbDataTblCursSetInx(&env, ref(), table(), 1));
  EXPECT_EQ(1, Cursor());
  EXPECT_EQ((Texts{u"1", u"2", u"3"}), Contents(1));
}

TEST_F(RecordSetLife, AQueryOnAValidRecordSetFailsAndChangesNothing) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  EXPECT_EQ(MDbStatusFailed, QueryAll());
  EXPECT_EQ(MDbStatusFailed, Query(1, MDbQueryByValue, u"2"));
  EXPECT_EQ(0, recset.filterField);
  EXPECT_EQ((Texts{u"1", u"3"}), Contents(1));
}

TEST_F(RecordSetLife, AQueryNeedsAnOpenDatabase) {
  ASSERT_EQ(MDbStatusOk, MDbAgentCloseDb(&env));
  EXPECT_EQ(MDbStatusFailed, QueryAll());
  EXPECT_EQ(MDbStatusFailed, Query(0, MDbQueryByWords, u"oak"));
  EXPECT_EQ(0, recset.valid);
}

// ---- cursor and records

TEST_F(RecordSetLife, SettingTheCursorBeyondTheViewSucceedsAndOpeningThereFailsAtTheSeek) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  EXPECT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 2));
  EXPECT_EQ(2, Cursor());
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusFailed, MDbRecsetOpenRec(&env, &recset));
  EXPECT_EQ(Calls{"CeSeekDatabase(VTBL_0, BEGINNING, 2)"}, seam.StoreTexts());
  EXPECT_EQ(0, MDbDataRecIsOpened(&recset.record));
}

TEST_F(RecordSetLife, OpeningAtCursorMinusOneFailsInViewModeWithoutASeek) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, -1));
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusFailed, MDbRecsetOpenRec(&env, &recset));
  EXPECT_TRUE(seam.StoreTexts().empty());
}

TEST_F(RecordSetLife, AViewWithoutAnOpenDatabaseHasNoCursorAndNoCount) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  recset.view.open = 0;
  uint16_t index = 77;
  uint32_t count = 77;
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetInx(&env, &recset, &index));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetSetInx(&env, &recset, 0));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetRecCount(&env, &recset, &count));
  EXPECT_EQ(77, index);
  EXPECT_EQ(77u, count);
  recset.view.open = 1;
}

TEST_F(RecordSetLife, ARecordSetOpensOneRecordAtATime) {
  for (const bool view : {false, true}) {
    SCOPED_TRACE(view ? "view mode" : "direct mode");
    ASSERT_EQ(MDbStatusOk, view ? Query(0, MDbQueryByWords, u"oak") : QueryAll());
    EXPECT_EQ(MDbStatusFailed, CloseRecord());
    ASSERT_NO_FATAL_FAILURE(OpenAt(1));
    EXPECT_EQ(MDbStatusFailed, MDbRecsetOpenRec(&env, &recset));
    EXPECT_EQ(MDbStatusOk, CloseRecord());
    EXPECT_EQ(MDbStatusFailed, CloseRecord());
    ASSERT_EQ(MDbStatusOk, Destroy());
  }
}

TEST_F(RecordSetLife, FieldsOfTheOpenRecordAreTheDataRecords) {
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_NO_FATAL_FAILURE(OpenAt(1));
  MDbChar text[8] = u"as was";
  uint32_t size = 0;
  const MDbChar* pointer = nullptr;
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetField(&env, &recset, 0, text, sizeof text));
  EXPECT_EQ(std::u16string(u"elm"), std::u16string(text));
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFieldSize(&env, &recset, 0, &size));
  EXPECT_EQ(8u, size);
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFieldPtr(&env, &recset, 1, &pointer));
  EXPECT_EQ(std::u16string(u"2"), std::u16string(pointer));
  EXPECT_EQ(MDbStatusOk, CloseRecord());
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetField(&env, &recset, 0, text, sizeof text));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetFieldSize(&env, &recset, 0, &size));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetFieldPtr(&env, &recset, 0, &pointer));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetSetField(&env, &recset, 0, u"x"));
}

TEST_F(RecordSetLife, SchemaCallsAnswerWhatTheSchemaTableDoes) {
  ASSERT_EQ(MDbStatusOk, QueryAll());
  uint16_t count = 0;
  uint8_t type = 0;
  uint32_t size = 0;
  MDbChar name[16] = u"as was";
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFldCount(&env, &recset, &count));
  EXPECT_EQ(2, count);
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFldType(&env, &recset, 1, &type));
  EXPECT_EQ(MDbFieldNumber, type);
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFldNameSize(&env, &recset, 0, &size));
  EXPECT_EQ(16u, size);
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFldName(&env, &recset, 0, name, sizeof name));
  EXPECT_EQ(std::u16string(u"field 0"), std::u16string(name));
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFieldMaxSize(&env, &recset, 0, &size));
  EXPECT_EQ(2049u, size);
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFieldMaxSize(&env, &recset, 1, &size));
  EXPECT_EQ(256u, size);
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetFldType(&env, &recset, 2, &type));
}

// ---- filtered, dirty

TEST_F(RecordSetLife, FilteredAndFilteredDirtyFollowTheCriteriaAndTheAddedRecords) {
  uint8_t filtered = 77;
  uint8_t dirty = 77;
  const auto answers = [&](uint8_t expected_filtered, uint8_t expected_dirty) {
    EXPECT_EQ(MDbStatusOk, MDbRecsetIsFiltered(&env, &recset, &filtered));
    EXPECT_EQ(expected_filtered, filtered);
    EXPECT_EQ(MDbStatusOk, MDbRecsetIsFilteredDirty(&env, &recset, &dirty));
    EXPECT_EQ(expected_dirty, dirty);
  };
  uint16_t index = 0;
  ASSERT_EQ(MDbStatusOk, QueryAll());
  answers(0, 0);
  ASSERT_EQ(MDbStatusOk, MDbRecsetNewRec(&env, &recset, &index));
  answers(0, 0);  // without criteria never dirty
  ASSERT_EQ(MDbStatusOk, Sort(0));
  answers(0, 0);
  ASSERT_EQ(MDbStatusOk, Destroy());
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  answers(1, 0);
  ASSERT_NO_FATAL_FAILURE(Edit(0, 0, u"elm"));
  answers(1, 0);  // an edit is not an addition
  ASSERT_EQ(MDbStatusOk, MDBRecsetDupRec(&env, &recset, 0, &index));
  answers(1, 1);
  ASSERT_EQ(MDbStatusOk, Sort(0));
  answers(1, 1);  // a sort keeps it
  ASSERT_EQ(MDbStatusOk, Destroy());
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  answers(1, 0);  // a query clears it
  ASSERT_EQ(MDbStatusOk, MDbRecsetNewRec(&env, &recset, &index));
  answers(1, 1);
}

// ---- destroy

TEST_F(RecordSetLife, DestroyClosesTheRecordThenTheViewDeletesItAndFreesTheKeepList) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  uint16_t index = 0;
  ASSERT_EQ(MDbStatusOk, MDbRecsetNewRec(&env, &recset, &index));
  ASSERT_NO_FATAL_FAILURE(OpenAt(0));
  const MDbChar* text = nullptr;
  ASSERT_EQ(MDbStatusOk, MDbRecsetGetFieldPtr(&env, &recset, 0, &text));
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, Destroy());
  const Calls texts = seam.Texts();
  ASSERT_EQ(6u, texts.size());
  EXPECT_EQ(0u, texts.at(0).find("LocalFree(")) << "the open record's block";
  EXPECT_EQ((Calls{"CloseHandle(VTBL_0)", R"(CeOpenDatabaseEx(vol1, oid=0, name="VTBL_0", sort=0, flags=0, null))",
                   "CloseHandle(VTBL_0)", "CeDeleteDatabaseEx(vol1, oid=#1)", "LocalFree(1024)"}),
            Calls(texts.begin() + 1, texts.end()));
  EXPECT_EQ(0, recset.valid);
  EXPECT_EQ(nullptr, recset.keepList);
  EXPECT_EQ(0u, recset.view.viewOid);
}

TEST_F(RecordSetLife, DestroyInDirectModeMakesNoStoreCall) {
  ASSERT_EQ(MDbStatusOk, QueryAll());
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, Destroy());
  EXPECT_TRUE(seam.StoreTexts().empty());
}

TEST_F(RecordSetLife, DestroyGoesOnAfterAFailureAndReturnsTheFirst) {
  const struct {
    const char* why;
    const char* call;
    size_t n;
    size_t deletions;
  } rows[] = {{"the view does not close: it is not deleted", "CloseHandle", 0, 0},
              {"the view cannot be opened for its deletion", "CeOpenDatabaseEx", 0, 0},
              {"the deletion", "CeDeleteDatabaseEx", 0, 1}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
    uint16_t index = 0;
    ASSERT_EQ(MDbStatusOk, MDbRecsetNewRec(&env, &recset, &index));
    const HANDLE view = recset.view.handle;
    {
      seam::PlatformSeam seam;
      seam.Fail(row.call, row.n);
      EXPECT_EQ(MDbStatusFailed, Destroy());
      EXPECT_EQ(row.deletions, seam.CountOf("CeDeleteDatabaseEx"));
      EXPECT_EQ(1u, seam.CountOf("LocalFree")) << "the keep list goes all the same";
    }
    EXPECT_EQ(0, recset.valid);
    EXPECT_EQ(nullptr, recset.keepList);
    if (row.deletions == 0 && std::string(row.call) == "CloseHandle") {
      EXPECT_TRUE(CloseHandle(view));
    }
  }
}

TEST_F(RecordSetLife, DestroyAfterTheDatabaseWasClosedAnswersOneAndResets) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  ASSERT_EQ(MDbStatusOk, MDbAgentCloseDb(&env));
  EXPECT_EQ(MDbStatusFailed, Destroy());
  EXPECT_EQ(0, recset.valid);
  ASSERT_NO_FATAL_FAILURE(OpenDatabase());
  EXPECT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"elm")) << "a view that was left in the file is no obstacle";
  EXPECT_EQ(Texts{u"2"}, Contents(1));
}

}  // namespace
