// The deletion log at the end of its numbers: 65535 entries, which is what a database of the store can hold. A record
// that would have to be logged is not deleted then, and nothing is lost.
#include "recset_fixture.h"

namespace {

using enginetest::RecordSetTest;
using enginetest::Texts;

constexpr uint32_t kMostEntries = 65535;

class FullLog : public RecordSetTest {
 protected:
  // Three records that the host knows and one that it does not; a log with room for so many more entries.
  void MakeWithRoomFor(uint32_t entries) {
    Make({MDbFieldText});
    for (const char16_t* name : {u"a", u"b", u"c"}) Add({name});
    Add({u"new"}, false);
    FillLog(kMostEntries - entries);
    SetCounter(1, kMostEntries - entries);
    Reopen();
    ASSERT_EQ(kMostEntries - entries, LogCount());
    ASSERT_EQ(MDbStatusOk, QueryAll());
  }

  // Past the engine and without a flush for each, which would take minutes.
  void FillLog(uint32_t entries) {
    const seam::Unseen unseen;
    MDbChar text[] = u"gone";
    CEPROPVAL values[3] = {};
    values[0].propid = 0x00000012;
    values[0].val.uiVal = RecStateTouched | RecStateDeleted;
    values[1].propid = 0x00040013;
    values[2].propid = 0x0005001F;
    values[2].val.lpwstr = text;
    for (uint32_t number = 0; number < entries; ++number) {
      values[1].val.ulVal = number;
      ASSERT_NE(0u, CeWriteRecordProps(table()->deleteHandle, 0, 3, values));
    }
    ASSERT_TRUE(CeFlushDBVol(&ref()->volume));
  }

  // The file as a later program finds it.
  void ExpectAfterReopening(const Texts& records) {
    ASSERT_EQ(MDbStatusOk, Destroy());
    ASSERT_NO_FATAL_FAILURE(Reopen());
    EXPECT_EQ(records, Column(0));
    EXPECT_EQ(kMostEntries, LogCount());
    EXPECT_EQ(kMostEntries, Counter(1));
  }
};

TEST_F(FullLog, TheLastEntryIsTakenAndADeletionThatNeedsOneMoreIsRefused) {
  MakeWithRoomFor(1);
  EXPECT_EQ(MDbStatusOk, MDbRecsetDelRec(&env, &recset, 0, 0));
  EXPECT_EQ(kMostEntries, LogCount());
  EXPECT_EQ(u"a", StoredLog(kMostEntries - 1).at(5).text);
  EXPECT_EQ(kMostEntries - 1, StoredLog(kMostEntries - 1).at(4).number);
  EXPECT_EQ(MDbStatusFailed, MDbRecsetDelRec(&env, &recset, 0, 0));
  EXPECT_EQ((Texts{u"b", u"c", u"new"}), Contents(0)) << "the record stays";
  ExpectAfterReopening({u"b", u"c", u"new"});
}

TEST_F(FullLog, DeletingAllStopsAtTheFirstRecordThatCannotBeLogged) {
  MakeWithRoomFor(1);
  EXPECT_EQ(MDbStatusFailed, MDbRecsetDelAllRec(&env, &recset, 0));
  ExpectAfterReopening({u"b", u"c", u"new"});
}

TEST_F(FullLog, RecordsThatNeedNoEntryAreStillDeleted) {
  MakeWithRoomFor(0);
  EXPECT_EQ(MDbStatusOk, MDbRecsetDelRec(&env, &recset, 3, 0)) << "one that the host does not know";
  EXPECT_EQ(MDbStatusOk, MDbRecsetDelRec(&env, &recset, 0, 1)) << "one that is not to be logged";
  ExpectAfterReopening({u"b", u"c"});
}

TEST_F(FullLog, TheDatabaseIsEditedAddedToAndSortedAsBefore) {
  MakeWithRoomFor(0);
  EXPECT_EQ(MDbStatusFailed, MDbRecsetDelRec(&env, &recset, 1, 0));
  Edit(1, 0, u"z");
  uint16_t index = 0;
  EXPECT_EQ(MDbStatusOk, MDBRecsetDupRec(&env, &recset, 0, &index));
  ASSERT_EQ(MDbStatusOk, Sort(0));
  EXPECT_EQ((Texts{u"a", u"a", u"c", u"new", u"z"}), Contents(0));
  ExpectAfterReopening({u"a", u"z", u"c", u"new", u"a"});
}

TEST_F(FullLog, ARefusedDeletionThroughAViewLeavesTheRecordInTheTable) {
  MakeWithRoomFor(0);
  ASSERT_EQ(MDbStatusOk, Sort(0, MDbSortDescending));
  ASSERT_EQ((Texts{u"new", u"c", u"b", u"a"}), Contents(0));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetDelRec(&env, &recset, 1, 0));
  ExpectAfterReopening({u"a", u"b", u"c", u"new"});
}

TEST_F(FullLog, RemovingTheTablesEmptiesItAndDeletionsAreLoggedAgain) {
  MakeWithRoomFor(0);
  ASSERT_EQ(MDbStatusOk, Destroy());
  ASSERT_EQ(MDbStatusOk, MDbDataTblClose(&env, ref(), table()));
  EXPECT_EQ(MDbStatusOk, MDbDataTblDelete(&env, ref(), nullptr));
  EXPECT_EQ(MDbStatusOk, MDbDataTblCreate(&env, ref(), nullptr));
  ASSERT_EQ(MDbStatusOk, MDbDataTblOpen(&env, ref(), table(), nullptr));
  Add({u"again"});
  ASSERT_EQ(MDbStatusOk, QueryAll());
  EXPECT_EQ(MDbStatusOk, MDbRecsetDelRec(&env, &recset, 0, 0));
  EXPECT_EQ(1u, LogCount());
  EXPECT_EQ(u"again", StoredLog(0).at(5).text);
}

}  // namespace
